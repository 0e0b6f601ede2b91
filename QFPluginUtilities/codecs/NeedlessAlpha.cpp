#include "codecs/NeedlessAlpha.h"

void dropNeedlessAlpha(QImage &image)
{
    if (image.format() != QImage::Format_ARGB32_Premultiplied)
        return;
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        QRgb all = 0xFF000000;
        for (int x = 0; x < image.width(); ++x)
            all &= row[x];
        if (qAlpha(all) != 0xFF)
            return;
    }
    image.reinterpretAsFormat(QImage::Format_RGB32);
}
