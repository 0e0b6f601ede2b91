#pragma once

#include <QImage>

/// The two forms in which the drawing layer handles pixels, 32 bits each.
[[nodiscard]] inline bool isWorkingFormat(const QImage &image)
{
    return image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32_Premultiplied;
}

[[nodiscard]] inline QImage inWorkingFormat(const QImage &image)
{
    if (isWorkingFormat(image))
        return image;
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                         : QImage::Format_RGB32);
}
