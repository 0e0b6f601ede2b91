#pragma once

#include <QImage>

#include <algorithm>
#include <cmath>
#include <vector>

/// Pictures that are like photographs to scalers and encoders: light that changes slowly, texture at all
/// sizes, sharp edges and the noise of a sensor. Always the same for the same size.
class Photo
{
public:
    [[nodiscard]] static QImage opaque(const QSize &size) { return Photo(size).draw(); }

    /// The same, fading out towards the edge of an ellipse, premultiplied.
    [[nodiscard]] static QImage fading(const QSize &size)
    {
        QImage image = opaque(size).convertToFormat(QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < size.height(); ++y) {
            QRgb *const row = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < size.width(); ++x) {
                const float across = 2 * (float(x) + 0.5F) / float(size.width()) - 1;
                const float down = 2 * (float(y) + 0.5F) / float(size.height()) - 1;
                const float inside = 1 - std::hypot(across, down);
                const int alpha = int(std::clamp(inside * 8, 0.0F, 1.0F) * 255);
                row[x] = qPremultiply((row[x] & 0xFFFFFF) | (QRgb(alpha) << 24));
            }
        }
        return image;
    }

private:
    explicit Photo(const QSize &size) : _size(size), _luma(size_t(size.width())) {}

    [[nodiscard]] QImage draw()
    {
        QImage image(_size, QImage::Format_RGB32);
        for (int y = 0; y < _size.height(); ++y)
            drawRow(y, reinterpret_cast<QRgb *>(image.scanLine(y)));
        return image;
    }

    void drawRow(int y, QRgb *row)
    {
        std::fill(_luma.begin(), _luma.end(), 0.0F);
        const float unit = float(_size.width());
        float strength = 46;
        for (float cell = unit / 6; cell > 2; cell /= 2.3F, strength *= 0.66F)
            addTexture(y, cell, strength);
        for (int x = 0; x < _size.width(); ++x) {
            const float u = float(x) / unit;
            const float v = float(y) / unit;
            const quint32 random = hashed(x, y);
            const float grain = float(random & 15) + float(random >> 8 & 15) - 15;
            const float light = 118 + 60 * (u - v) + _luma[size_t(x)] + edge(u, v) + grain;
            row[x] = qRgb(level(light + 34 * v - 8), level(light + 6 * u), level(light + 40 * (0.4F - v)));
        }
    }

    /// Roofs, trunks and a disc.
    [[nodiscard]] static float edge(float u, float v)
    {
        float sum = std::fmod(u * 9 + v * 4, 1.0F) < 0.12F ? -38.0F : 0.0F;
        sum += v > 0.42F && std::fmod(u * 23, 1.0F) < 0.3F ? 30.0F : 0.0F;
        return sum + (std::hypot(u - 0.7F, v - 0.22F) < 0.11F ? 44.0F : 0.0F);
    }

    /// Random values on a lattice, joined smoothly.
    void addTexture(int y, float cell, float strength)
    {
        const float down = float(y) / cell;
        const int top = int(down);
        const float ease = smooth(down - float(top));
        const int columns = int(float(_size.width()) / cell) + 2;
        _lattice.resize(size_t(columns));
        for (int column = 0; column < columns; ++column)
            _lattice[size_t(column)] = value(column, top) * (1 - ease) + value(column, top + 1) * ease;
        for (int x = 0; x < _size.width(); ++x) {
            const float across = float(x) / cell;
            const size_t left = size_t(across);
            const float share = smooth(across - float(left));
            _luma[size_t(x)] += strength * (_lattice[left] * (1 - share) + _lattice[left + 1] * share);
        }
    }

    static float smooth(float t) { return t * t * (3 - 2 * t); }
    static int level(float value) { return int(std::clamp(value, 0.0F, 255.0F)); }
    static float value(int x, int y) { return float(hashed(x, y) & 0xFFFF) / 32'768 - 1; }
    static quint32 hashed(int x, int y)
    {
        quint32 h = quint32(x) * 0x9E3779B1U ^ quint32(y) * 0x85EBCA77U;
        h = (h ^ (h >> 15)) * 0x2C1B3C6DU;
        h = (h ^ (h >> 12)) * 0x297A2D39U;
        return h ^ (h >> 15);
    }

    QSize _size;
    std::vector<float> _luma;
    std::vector<float> _lattice;
};
