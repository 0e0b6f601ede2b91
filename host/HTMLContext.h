#pragma once

#include "host/CharacterStyle.h"
#include "host/HTMLElements.h"
#include "host/HTMLTokenizer.h"
#include "host/StyledTextBuilder.h"

/// What holds for text inside the elements that are open.
struct HTMLContext
{
    CharacterStyle style;
    NSTextAlignment alignment = NSTextAlignment::Left;
    NSWritingDirection direction = NSWritingDirection::Natural;
    bool keepsWhitespace = false;
    bool isHidden = false;

    /// The context of the body of a document.
    [[nodiscard]] static HTMLContext ofBody();

    /// The context inside an element: what the element stands for by itself, then its presentational
    /// attributes, then its style attribute. `tag` is at that element's start tag.
    [[nodiscard]] HTMLContext inside(HTMLElement element, const HTMLTokenizer &tag, bool inCell) const;

private:
    void applyElement(HTMLElement element, const HTMLTokenizer &tag, bool inCell);
    void applyAttributes(HTMLElement element, const HTMLTokenizer &tag);
    void applyDeclaration(QStringView property, QStringView value);
    void applyFontShorthand(QStringView value);
    void setAlignment(QStringView name);
    void setDirection(QStringView name);
};

[[nodiscard]] StyledTextBuilder::TableLook tableLook(const HTMLTokenizer &tag);
[[nodiscard]] StyledTextBuilder::CellLook cellLook(const HTMLTokenizer &tag);
