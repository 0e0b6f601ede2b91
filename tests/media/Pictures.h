#pragma once

#include "media/NSImage.h"
#include "tests/codecs/TestPictures.h"
#include "tests/imaging/Pictures.h"

#include <memory>

/// Every pixel says where it is: red grows to the right, green downwards.
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
    return TestPictures::file(image, format, 95);
}

inline NSImagePtr nsImageOf(const QImage &image)
{
    return std::make_shared<NSImage>(image);
}
