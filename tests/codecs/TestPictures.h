#pragma once

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QPainter>

#include <cmath>

/// Pictures drawn in code, and how alike two are.
namespace TestPictures {

/// Smooth colours with a few edges: no symmetry.
inline QImage photo(QSize size, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, size.width(), size.height());
    sky.setColorAt(0, QColor(20, 60, 200));
    sky.setColorAt(0.6, QColor(240, 200, 120));
    sky.setColorAt(1, QColor(10, 90, 30));
    painter.fillRect(image.rect(), sky);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor(220, 30, 40));
    painter.drawEllipse(
        QRectF(size.width() * 0.1, size.height() * 0.2, size.width() * 0.3, size.height() * 0.4));
    painter.end();
    return image.convertToFormat(format);
}

/// The same with a transparent corner and half-transparent right side.
inline QImage withAlpha(QSize size)
{
    QImage image = photo(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int alpha = x + y < size.width() / 2 ? 0 : (x > size.width() / 2 ? 200 : 255);
            row[x] = alpha == 0 ? 0 : qRgba(qRed(row[x]), qGreen(row[x]), qBlue(row[x]), alpha);
        }
    }
    return image;
}

inline QByteArray file(const QImage &image, const char *format, int quality = -1, bool isProgressive = false)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    writer.setProgressiveScanWrite(isProgressive);
    return writer.write(image) ? buffer.data() : QByteArray();
}

/// Peak signal to noise in dB over red, green and blue; 0 for different sizes, 99 for the same pixels.
inline double likeness(const QImage &first, const QImage &second)
{
    if (first.isNull() || first.size() != second.size())
        return 0;
    double sum = 0;
    for (int y = 0; y < first.height(); ++y) {
        for (int x = 0; x < first.width(); ++x) {
            const QRgb a = first.pixel(x, y);
            const QRgb b = second.pixel(x, y);
            for (const int difference : {qRed(a) - qRed(b), qGreen(a) - qGreen(b), qBlue(a) - qBlue(b)})
                sum += difference * difference;
        }
    }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255 * 3 * first.width() * first.height() / sum);
}

} // namespace TestPictures
