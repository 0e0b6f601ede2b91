#pragma once

#include "export/QFWebSafeFonts.h"
#include "platform/NSAttributeDictionary.h"
#include "platform/NSColor.h"
#include "platform/NSFont.h"
#include "platform/NSParagraphStyle.h"
#include "platform/NSTextAttachment.h"

#include <QString>
#include <QVariantMap>

#include <array>
#include <optional>
#include <vector>

/// What runs are compared against, and how unknown fonts are written; one for a whole export.
struct CVHTMLStyleDefaults
{
    QString familyName;
    float pointSize = 0;
    bool allowWebUnsafeFonts = false;
};

/// The elements around a run that express its font, colour and underline.
struct CVHTMLCharacterStyle
{
    QString opening; ///< `span` with its style, then `strong`, `em`, `u` as they apply
    QString closing; ///< the same in reverse
};

/// What the character style of a run depends on. Pointers point into the run's dictionary.
struct CVHTMLLooks
{
    const NSFont *font = nullptr;
    const NSColor *color = nullptr;
    bool isUnderlined = false;

    [[nodiscard]] bool isLike(const CVHTMLLooks &other) const;
};

[[nodiscard]] CVHTMLCharacterStyle characterStyle(const CVHTMLLooks &looks,
                                                  const CVHTMLStyleDefaults &defaults);

/// The alignment that a paragraph asks for: natural is left or right by writing direction; nothing when the
/// direction is natural too, which leaves an open paragraph alone.
[[nodiscard]] std::optional<NSTextAlignment> resolvedAlignment(const NSParagraphStyle &style);

/// All that an export needs to know of an attribute dictionary. Pointers point into `attributes`; a value of
/// a wrong type counts as absent.
struct CVHTMLRunStyle
{
    CVHTMLRunStyle() = default;
    /// Reads the dictionary in one pass; the character style is for the cache to set.
    explicit CVHTMLRunStyle(const NSAttributeDictionary &attributes);

    NSAttributeDictionary attributes;
    CVHTMLLooks looks;
    CVHTMLCharacterStyle character;
    const QVariantMap *directive = nullptr;
    bool isRaw = false;
    const NSParagraphStyle *paragraphStyle = nullptr;
    NSTextTableBlock *cell = nullptr; ///< the first text block, if it belongs to a table
    std::optional<NSTextAlignment> alignment;
    const QVariant *link = nullptr; ///< of whatever type: the end tag follows in any case
    const NSTextAttachmentPtr *attachment = nullptr;
};

/// Run styles by the address of their dictionary, so that texts whose runs share dictionaries have them
/// worked out once. Holds a limited number and forgets the rest.
class CVHTMLRunStyleCache
{
public:
    /// For a text with so many runs.
    CVHTMLRunStyleCache(CVHTMLStyleDefaults defaults, qsizetype runs);

    /// Valid until the next call.
    [[nodiscard]] const CVHTMLRunStyle &styleFor(const NSAttributeDictionary &attributes)
    {
        Slot &slot = _slots[slotOf(attributes.address())];
        if (!slot.isUsed || slot.style.attributes.address() != attributes.address()) [[unlikely]]
            fill(slot, attributes);
        return slot.style;
    }

private:
    struct Slot
    {
        bool isUsed = false;
        CVHTMLRunStyle style;
    };

    [[nodiscard]] size_t slotOf(const void *address) const
    {
        // Fibonacci hashing: the upper bits of a product with 2^64 divided by the golden ratio.
        return (reinterpret_cast<quintptr>(address) * Q_UINT64_C(0x9E3779B97F4A7C15)) >> _shift;
    }
    struct KnownCharacterStyle
    {
        NSAttributeDictionary attributes; ///< keeps the looks alive
        CVHTMLLooks looks;
        CVHTMLCharacterStyle style;
    };

    void fill(Slot &slot, const NSAttributeDictionary &attributes);
    [[nodiscard]] CVHTMLCharacterStyle knownCharacterStyle(const CVHTMLRunStyle &style);

    std::array<KnownCharacterStyle, 8> _known;
    size_t _nextKnown = 0;
    CVHTMLStyleDefaults _defaults;
    unsigned _shift; ///< 64 less the bits of a slot's number
    std::vector<Slot> _slots;
};
