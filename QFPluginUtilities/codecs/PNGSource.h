#pragma once

#include "codecs/ImageSource.h"
#include "codecs/PNGLayout.h"

/// A PNG file of the usual kinds; others are read by Qt.
class PNGSource final : public ImageSource
{
public:
    [[nodiscard]] static bool isPNG(QByteArrayView data);
    [[nodiscard]] static ImageSourcePtr withBytes(const QByteArray &data);

    [[nodiscard]] QImage image() const override;
    [[nodiscard]] QImage scaled(const QRect &crop, const QSize &target) const override;

private:
    PNGSource(PNGLayout layout, const QByteArray &data);

    PNGLayout _layout;
};
