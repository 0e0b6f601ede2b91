#pragma once

#include "codecs/ImageSource.h"

/// A picture that Qt reads. Only formats that are plain rasters: none that runs scripts or refers to other
/// files.
class QtImageSource final : public ImageSource
{
public:
    /// nullptr for bytes of no such format, or without a readable header of an allowed size.
    [[nodiscard]] static ImageSourcePtr withBytes(const QByteArray &data);

    [[nodiscard]] QImage image() const override;

private:
    QtImageSource(Format format, const char *reader, QSize size, const QByteArray &data);

    const char *_reader; ///< Qt's name of the format
};
