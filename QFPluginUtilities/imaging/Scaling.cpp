#include "imaging/ImageOperations.h"

#include "imaging/RowScaler.h"
#include "imaging/WorkingFormat.h"

QImage ImageOperations::scaled(const QImage &image, const QRect &crop, const QSize &target)
{
    const QRect part = crop & image.rect();
    if (part.isEmpty() || target.isEmpty())
        return {};
    if (part == image.rect() && target == image.size())
        return image;
    if (!isWorkingFormat(image))
        return scaled(inWorkingFormat(image), crop, target);
    RowScaler scaler(image.width(), QRectF(part).translated(0, -part.top()), target,
                     !image.hasAlphaChannel());
    for (int y = part.top(); y <= part.bottom(); ++y)
        scaler.addRow(reinterpret_cast<const QRgb *>(image.constScanLine(y)));
    return scaler.takeImage();
}
