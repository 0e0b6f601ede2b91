#pragma once

#include "platform/QFExport.h"

#include <QString>

/// The key of a text attribute, interned: comparing two keys compares two numbers. A key made of a name is
/// the same for the life of the process. At most 65,535 different names exist; beyond that a new name gives
/// the null key, which no dictionary stores. Any thread.
class QF_EXPORT NSAttributeKey
{
public:
    constexpr NSAttributeKey() = default;
    /// Interns `name`; the null key for an empty name. Cost: one hash look-up under a lock.
    explicit NSAttributeKey(QStringView name);

    [[nodiscard]] constexpr bool isNull() const { return _id == 0; }
    /// The literal key string; nil for the null key.
    [[nodiscard]] QString name() const;

    friend constexpr bool operator==(NSAttributeKey, NSAttributeKey) = default;
    friend constexpr bool operator<(NSAttributeKey a, NSAttributeKey b) { return a._id < b._id; }

    /// For the constants below: the n-th name of the built-in table, from 1.
    static constexpr NSAttributeKey builtIn(quint16 n)
    {
        NSAttributeKey key;
        key._id = n;
        return key;
    }

private:
    quint16 _id = 0;
};

inline constexpr NSAttributeKey NSFontAttributeName = NSAttributeKey::builtIn(1);            ///< "NSFont"
inline constexpr NSAttributeKey NSForegroundColorAttributeName = NSAttributeKey::builtIn(2); ///< "NSColor"
inline constexpr NSAttributeKey NSUnderlineStyleAttributeName = NSAttributeKey::builtIn(3); ///< "NSUnderline"
inline constexpr NSAttributeKey NSParagraphStyleAttributeName =
    NSAttributeKey::builtIn(4);                                                   ///< "NSParagraphStyle"
inline constexpr NSAttributeKey NSLinkAttributeName = NSAttributeKey::builtIn(5); ///< "NSLink"
inline constexpr NSAttributeKey NSAttachmentAttributeName = NSAttributeKey::builtIn(6); ///< "NSAttachment"
inline constexpr NSAttributeKey NSToolTipAttributeName = NSAttributeKey::builtIn(7);    ///< "NSToolTip"
/// A markup directive dictionary; the literal starts with the k.
inline constexpr NSAttributeKey kQFTextViewMarkupDirectivesAttributeName =
    NSAttributeKey::builtIn(8); ///< "kQFTextViewMarkupDirectivesAttribute"
/// A boolean number: the run is raw markup. The literal, unlike its neighbour's, has no k.
inline constexpr NSAttributeKey kQFTextViewIgnoreFormattingAttributeName =
    NSAttributeKey::builtIn(9); ///< "QFTextViewIgnoreFormattingAttribute"
