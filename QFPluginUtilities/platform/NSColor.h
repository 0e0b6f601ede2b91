#pragma once

#include "platform/QFExport.h"

#include <QMetaType>

#include <optional>

/// Colour spaces that the system tells apart. A pattern has no components and converts to nothing.
enum class NSColorSpaceName : quint8 { CalibratedRGB, DeviceRGB, CalibratedWhite, DeviceWhite, Pattern };

/// The space that exporting and drawing convert to, "NSCalibratedRGBColorSpace".
inline constexpr NSColorSpaceName NSCalibratedRGBColorSpace = NSColorSpaceName::CalibratedRGB;

/// A colour of four 32-bit floats. Kept apart from QColor, whose 16-bit components read 0.5 back as 128/255
/// where truncation demands 127. In the white spaces `red` holds the white and green and blue equal it.
struct NSColor
{
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 1;
    NSColorSpaceName space = NSColorSpaceName::CalibratedRGB;

    friend bool operator==(const NSColor &, const NSColor &) = default;

    [[nodiscard]] static NSColor calibratedRGB(float red, float green, float blue, float alpha = 1)
    {
        return {red, green, blue, alpha, NSColorSpaceName::CalibratedRGB};
    }
    [[nodiscard]] static NSColor calibratedWhite(float white, float alpha = 1)
    {
        return {white, white, white, alpha, NSColorSpaceName::CalibratedWhite};
    }
    [[nodiscard]] static NSColor blackColor() { return calibratedWhite(0); }
    [[nodiscard]] static NSColor whiteColor() { return calibratedWhite(1); }
    /// The platform's light grey is two thirds, unlike Qt's 0.7529.
    [[nodiscard]] static NSColor lightGrayColor() { return calibratedWhite(2.0F / 3.0F); }

    /// This colour in another space; nothing when it cannot be converted (patterns). Components are
    /// unchanged: all convertible spaces here share primaries and white.
    [[nodiscard]] QF_EXPORT std::optional<NSColor> colorUsingColorSpaceName(NSColorSpaceName wanted) const;
};

Q_DECLARE_METATYPE(NSColor)
