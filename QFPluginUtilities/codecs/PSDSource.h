#pragma once

#include "codecs/ImageSource.h"
#include "codecs/PSDLayout.h"

/// The flattened composite of a layered picture file, of the small and the large kind: bitmap, grey, indexed,
/// RGB and CMYK with 8 or 16 bits a component, raw or packed.
class PSDSource final : public ImageSource
{
public:
    [[nodiscard]] static bool isPSD(QByteArrayView data);
    [[nodiscard]] static ImageSourcePtr withBytes(const QByteArray &data);

    [[nodiscard]] QImage image() const override;
    [[nodiscard]] QImage scaled(const QRect &crop, const QSize &target) const override;

private:
    PSDSource(PSDLayout layout, const QByteArray &data);

    PSDLayout _layout;
};
