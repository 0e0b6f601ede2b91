#pragma once

#include <QImage>
#include <QRandomGenerator>

#include <algorithm>
#include <cmath>

/// Pictures that are drawn in code: without symmetry, and without pixels that are alike by chance.

inline QImage noisePicture(const QSize &size, bool isOpaque, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < size.height(); ++y) {
        QRgb *const row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const QRgb colour = random.generate();
            row[x] = isOpaque ? colour | 0xff000000U : qPremultiply(colour);
        }
    }
    return image;
}

/// Slow waves, which a good filter keeps.
inline QImage smoothPicture(const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const double u = double(x) / size.width();
            const double v = double(y) / size.height();
            image.setPixel(x, y,
                           qRgb(int(255 * u), int(255 * v), int(127.5 + 127.5 * std::sin(9 * u + 7 * v))));
        }
    }
    return image;
}

/// The largest difference of two components; 256 for pictures of different sizes.
inline int greatestDifference(const QImage &a, const QImage &b)
{
    if (a.size() != b.size())
        return 256;
    int greatest = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int i = 0; i < a.width() * 4; ++i)
            greatest = std::max(greatest, std::abs(a.constScanLine(y)[i] - b.constScanLine(y)[i]));
    }
    return greatest;
}

/// No component is above its pixel's alpha.
inline bool isPremultiplied(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *const row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (std::max({qRed(row[x]), qGreen(row[x]), qBlue(row[x])}) > qAlpha(row[x]))
                return false;
        }
    }
    return true;
}
