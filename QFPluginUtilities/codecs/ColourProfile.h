#pragma once

#include <QByteArray>
#include <QImage>

#include <memory>

/// Conversion of pixels from the colours of an embedded ICC profile to sRGB. Immutable; any thread.
class ColourTransform
{
public:
    /// What the pixels are. The inks of CMYK are 0 (none) to 255, or the other way round.
    enum class From : quint8 { RGB, Grey, CMYK, InvertedCMYK };

    /// nullptr when pixels can stay as they are: the profile is sRGB to within a step, or it is broken, for
    /// other pixels, or above 16 MB. Transforms used last are kept.
    [[nodiscard]] static std::shared_ptr<const ColourTransform> toSRGB(const QByteArray &profile, From from);

    ~ColourTransform();
    ColourTransform(const ColourTransform &) = delete;
    ColourTransform &operator=(const ColourTransform &) = delete;

    /// Converts pixels that are not premultiplied, in place; alpha stays. Grey is taken from the blue
    /// component. Not for CMYK.
    void apply(QRgb *pixels, int count) const;
    /// The same for all pixels of an image with 32 bits a pixel.
    void apply(QImage &image) const;
    /// Opaque pixels from four bytes each.
    void applyToCMYK(const uchar *pixels, QRgb *result, int count) const;

private:
    ColourTransform(void *transform, From from) : _transform(transform), _from(from) {}
    [[nodiscard]] static std::shared_ptr<const ColourTransform> made(const QByteArray &profile, From from);
    [[nodiscard]] bool changesColours() const;

    void *_transform;
    From _from;
};
