#pragma once

#include "platform/NSAttributeDictionary.h"
#include "platform/NSRange.h"

#include <QList>
#include <QString>

#include <optional>
#include <span>

class NSMutableAttributedString;

/// Styled text: a string of UTF-16 units in which every index carries an attribute dictionary. Immutable and
/// implicitly shared. Kept in one canonical form (runs sorted, without gaps, neighbours different), so that
/// equality is cheap and the longest effective range of an index is its run.
class QF_EXPORT NSAttributedString
{
public:
    /// A run starts here and ends where the next one starts, or with the text.
    struct Run
    {
        quint32 start = 0;
        NSAttributeDictionary attributes;

        friend bool operator==(const Run &, const Run &) = default;
    };

    NSAttributedString() = default;
    /// Texts are limited to 2^32 - 1 units; what lies behind is cut off.
    explicit NSAttributedString(const QString &string, const NSAttributeDictionary &attributes = {});

    [[nodiscard]] qsizetype length() const { return _string.size(); }
    [[nodiscard]] bool isEmpty() const { return _string.isEmpty(); }
    [[nodiscard]] const QString &string() const { return _string; }

    /// All runs in order, for walks over the whole text: linear, with no search. Empty for an empty text.
    [[nodiscard]] const QList<Run> &runs() const { return _runs; }
    /// The range of the run with this number.
    [[nodiscard]] NSRange rangeOfRun(qsizetype run) const;
    /// Number of the run that holds `index`; binary search. `index` must lie in the text.
    [[nodiscard]] qsizetype runAtIndex(qsizetype index) const;

    /// The dictionary at `index`, with the longest range over which it is equal, clipped to `inRange`.
    /// Beyond the text: an empty dictionary and a range that is not found.
    [[nodiscard]] NSAttributeDictionary attributesAtIndex(qsizetype index,
                                                          NSRange *longestEffectiveRange = nullptr,
                                                          std::optional<NSRange> inRange = {}) const;
    /// The same for the value of one key (nil where absent). Linear in the runs of the range found.
    [[nodiscard]] QVariant attribute(NSAttributeKey key, qsizetype index,
                                     NSRange *longestEffectiveRange = nullptr,
                                     std::optional<NSRange> inRange = {}) const;

    /// The styled text of a range; the range is clipped to the text.
    [[nodiscard]] NSAttributedString attributedSubstringFromRange(NSRange range) const;
    [[nodiscard]] NSMutableAttributedString mutableCopy() const;

    /// Same units and same attributes at every index.
    QF_EXPORT friend bool operator==(const NSAttributedString &a, const NSAttributedString &b);

protected:
    QString _string;
    QList<Run> _runs;
};

Q_DECLARE_TYPEINFO(NSAttributedString::Run, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(NSAttributedString)

/// Styled text that can be changed. Ranges are clipped to the text. An edit costs one splice of the run
/// array: linear in the runs behind it, but a plain memory move.
class QF_EXPORT NSMutableAttributedString : public NSAttributedString
{
public:
    using NSAttributedString::NSAttributedString;
    explicit NSMutableAttributedString(const NSAttributedString &text) : NSAttributedString(text) {}

    /// Replaces all attributes of the range.
    void setAttributes(const NSAttributeDictionary &attributes, NSRange range);
    /// Sets one attribute over the range and keeps the others; a nil value removes it.
    void addAttribute(NSAttributeKey key, const QVariant &value, NSRange range);
    void removeAttribute(NSAttributeKey key, NSRange range) { addAttribute(key, {}, range); }

    /// Replaces the units of the range; the new text takes the attributes of `text`.
    void replaceCharactersInRange(NSRange range, const NSAttributedString &text);
    /// Replaces the units of the range; the new text takes the attributes of the range's first unit or, for
    /// an empty range, of the unit before it, or else of the unit behind it.
    void replaceCharactersInRange(NSRange range, const QString &text);

    /// Appends; amortised constant for each run, so that building a text is linear.
    void append(const QString &text, const NSAttributeDictionary &attributes);
    void append(const NSAttributedString &text);
    /// Makes room for appends to come.
    void reserve(qsizetype units, qsizetype runs);

    /// An immutable text with the same content, without copying it.
    [[nodiscard]] NSAttributedString copy() const { return *this; }

private:
    void replaceRuns(NSRange replaced, qsizetype insertedLength, std::span<const Run> inserted);
};
