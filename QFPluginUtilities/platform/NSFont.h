#pragma once

#include "platform/QFExport.h"

#include <QMetaType>
#include <QString>

/// Trait bits as the font manager answers them.
enum NSFontTraitMask : quint32 { NSItalicFontMask = 1, NSBoldFontMask = 2 };

/// A font by its names, size and traits. Kept apart from QFont, which knows no PostScript names and resolves
/// the family it was given; views build a QFont from this record.
struct NSFont
{
    QString fontName;    ///< PostScript name, such as "Georgia-BoldItalic"
    QString familyName;  ///< such as "Georgia"; nil when unknown
    float pointSize = 0; ///< points
    quint32 traits = 0;  ///< NSFontTraitMask bits

    QF_EXPORT friend bool operator==(const NSFont &a, const NSFont &b);

    [[nodiscard]] bool isBold() const { return (traits & NSBoldFontMask) != 0; }
    [[nodiscard]] bool isItalic() const { return (traits & NSItalicFontMask) != 0; }

    /// The font of a PostScript name, with family and traits read from the name's usual build
    /// ("TimesNewRomanPS-BoldItalicMT" is family "Times New Roman", bold and italic). Known names of the
    /// web-safe families give their family; of any other name the part before the hyphen is the family.
    [[nodiscard]] QF_EXPORT static NSFont fontWithName(const QString &fontName, float size);

    /// The user's font for running text, at `size` or, for 0, at its own size. "Helvetica", 12 points, unless
    /// `setUserFont` chose another. Any thread.
    [[nodiscard]] QF_EXPORT static NSFont userFontOfSize(float size);
    /// Chooses the font against which exports compare; for the whole process.
    QF_EXPORT static void setUserFont(const NSFont &font);

    /// Size of menus and controls: 13 points.
    [[nodiscard]] static constexpr float systemFontSize() { return 13; }
};

Q_DECLARE_METATYPE(NSFont)
