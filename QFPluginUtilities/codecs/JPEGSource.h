#pragma once

#include "codecs/ImageSource.h"

/// A JPEG file. Scaling decodes it at the smallest size that the result can be made from well.
class JPEGSource final : public ImageSource
{
public:
    [[nodiscard]] static bool isJPEG(QByteArrayView data);
    [[nodiscard]] static ImageSourcePtr withBytes(const QByteArray &data);

    [[nodiscard]] QImage image() const override;
    [[nodiscard]] QImage scaled(const QRect &crop, const QSize &target) const override;

private:
    JPEGSource(QSize size, const QByteArray &data);
};
