#pragma once

#include "media/NSImage.h"

#include <QBuffer>
#include <QImage>

#include <memory>

/// Every pixel says where it is: red grows to the right, green downwards, in steps that JPEG keeps apart.
inline QImage pictureOf(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y,
                           qRgb(x * 255 / std::max(width - 1, 1), y * 255 / std::max(height - 1, 1), 60));
    }
    return image;
}

inline QByteArray fileOf(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, 95);
    return bytes;
}

inline NSImagePtr nsImageOf(const QImage &image)
{
    return std::make_shared<NSImage>(image);
}

/// Largest difference of a component over all pixels; 255 for different sizes.
inline int difference(const QImage &a, const QImage &b)
{
    if (a.size() != b.size())
        return 255;
    int worst = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            worst = std::max({worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                              std::abs(qBlue(p) - qBlue(q)), std::abs(qAlpha(p) - qAlpha(q))});
        }
    }
    return worst;
}
