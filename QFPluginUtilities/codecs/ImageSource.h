#pragma once

#include "platform/QFExport.h"

#include <QByteArray>
#include <QImage>
#include <QRect>

#include <memory>

class ImageSource;
using ImageSourcePtr = std::shared_ptr<const ImageSource>;

/// An encoded picture whose header has been read; its pixels are decoded when they are asked for and not
/// kept. The format is told by the content, never by a file's name. Of several pictures the first counts.
/// Pixels are converted to sRGB by an embedded profile, and come as stored: orientation is not applied.
/// Beside JPEG, PNG and the composite of layered files, formats are read by Qt, whose limit of 128 MB for the
/// process is raised to 2 GB when the first such picture is decoded.
class QF_EXPORT ImageSource
{
public:
    enum class Format : quint8 { JPEG, PNG, GIF, TIFF, BMP, PSD, WebP, Other };

    virtual ~ImageSource();
    ImageSource(const ImageSource &) = delete;
    ImageSource &operator=(const ImageSource &) = delete;

    /// nullptr for what no reader knows, has a side of zero or above 65,535 pixels, or more than
    /// 256 megapixels. Shares the bytes. The body may still turn out to be broken.
    [[nodiscard]] static ImageSourcePtr withData(const QByteArray &data);
    /// The same for a file, which is read whole; nullptr too for anything that is, after links, no regular
    /// file, and above 2 GiB.
    [[nodiscard]] static ImageSourcePtr withFile(const QString &path);

    [[nodiscard]] Format format() const { return _format; }
    [[nodiscard]] QSize size() const { return _size; }
    /// The encoded bytes.
    [[nodiscard]] const QByteArray &data() const { return _data; }

    /// The whole picture: RGB32 when opaque, else ARGB32_Premultiplied. Null when the body is broken or cut
    /// off, or memory does not suffice.
    [[nodiscard]] virtual QImage image() const = 0;
    /// The part `crop` of the picture, scaled to `target` without holding all of it where the format allows
    /// that: a JPEG is decoded at the size that the result needs, but with nearly twice its sides at least,
    /// and large pictures are decoded and filtered on two threads. Null as above, and unless the crop lies
    /// within the picture. Any thread.
    [[nodiscard]] virtual QImage scaled(const QRect &crop, const QSize &target) const;

protected:
    ImageSource(Format format, QSize size, QByteArray data);

    /// Whether a picture of this size may be decoded: see `withData`.
    [[nodiscard]] static bool isSizeAllowed(QSize size);
    /// Whether the part lies within the picture and the result may be made.
    [[nodiscard]] bool canScale(const QRect &crop, const QSize &target) const;

private:
    Format _format;
    QSize _size;
    QByteArray _data;
};
