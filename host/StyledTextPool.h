#pragma once

#include "host/CharacterStyle.h"
#include "platform/NSAttributeDictionary.h"

#include <QHash>
#include <QList>

#include <compare>

/// Makes attribute dictionaries, one for each combination of values, so that all runs that look the same
/// share one.
class StyledTextPool
{
public:
    /// Stands for a character style.
    using StyleID = int;
    /// Stands for a paragraph style.
    using ParagraphID = int;

    /// The ID of a style; styles that differ only in their links differ.
    [[nodiscard]] StyleID style(const CharacterStyle &style);
    [[nodiscard]] const CharacterStyle &styleOf(StyleID id) const { return _styles.at(id).style; }
    /// The same style without its link.
    [[nodiscard]] StyleID styleWithoutLink(StyleID id);
    [[nodiscard]] ParagraphID paragraph(const NSParagraphStyle &paragraph);

    [[nodiscard]] NSAttributeDictionary dictionary(StyleID style, ParagraphID paragraph);
    /// Raw markup in a paragraph.
    [[nodiscard]] NSAttributeDictionary rawDictionary(ParagraphID paragraph);

private:
    struct Style
    {
        CharacterStyle style;
        NSAttributeDictionary attributes; ///< without a paragraph
    };

    QList<Style> _styles;
    QHash<size_t, QList<StyleID>> _styleIDs; ///< by hash
    QList<QVariant> _paragraphs;
    QHash<size_t, QList<ParagraphID>> _paragraphIDs; ///< by hash
    QHash<std::pair<int, int>, NSAttributeDictionary> _dictionaries;
};
