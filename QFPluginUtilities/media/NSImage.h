#pragma once

#include "codecs/ImageSource.h"
#include "platform/NSGeometry.h"
#include "platform/QFExport.h"

#include <QImage>
#include <QList>
#include <QMetaType>

#include <functional>
#include <memory>

class QPainter;

/// One form of a picture. Immutable and shared; any thread may draw it.
class QF_EXPORT NSImageRep
{
public:
    virtual ~NSImageRep();
    NSImageRep(const NSImageRep &) = delete;
    NSImageRep &operator=(const NSImageRep &) = delete;

    /// Width and height in pixels; 0 for a form without pixels of its own.
    [[nodiscard]] QSize pixels() const { return _pixels; }
    /// The part `crop`, in pixels from the top left, as `target` pixels: RGB32 or ARGB32_Premultiplied in
    /// sRGB. Null when it cannot be made.
    [[nodiscard]] virtual QImage drawn(const QRect &crop, const QSize &target) const = 0;
    /// All of it at its own size.
    [[nodiscard]] QImage image() const { return drawn(QRect(QPoint(), _pixels), _pixels); }

protected:
    explicit NSImageRep(QSize pixels) : _pixels(pixels) {}

private:
    QSize _pixels;
};
using NSImageRepPtr = std::shared_ptr<const NSImageRep>;

/// A raster: pixels held in memory, or a file's encoded bytes, decoded each time they are drawn.
class QF_EXPORT NSBitmapImageRep : public NSImageRep
{
public:
    /// Of TIFF's compression codes, those that tell a JPEG apart; the codes are the platform's own.
    enum class Compression : int { None = 1, JPEG = 6, OldJPEG = 32865 };

    explicit NSBitmapImageRep(const QImage &image);
    explicit NSBitmapImageRep(ImageSourcePtr source);

    [[nodiscard]] Compression compression() const;
    /// The file that the pixels come from; nullptr for pixels in memory.
    [[nodiscard]] const ImageSourcePtr &source() const { return _source; }
    [[nodiscard]] QImage drawn(const QRect &crop, const QSize &target) const override;

private:
    QImage _image;
    ImageSourcePtr _source;
};

/// A form that draws itself, such as a page of a document.
class QF_EXPORT NSCustomImageRep : public NSImageRep
{
public:
    /// Draws the whole form into `target` pixels from the painter's origin. Called on any thread.
    using Drawing = std::function<void(QPainter &painter, const QSize &target)>;
    NSCustomImageRep(QSize pixels, Drawing drawing);

    [[nodiscard]] QImage drawn(const QRect &crop, const QSize &target) const override;

private:
    [[nodiscard]] QImage whole(const QSize &size) const;

    Drawing _drawing;
};

class NSImage;
using NSImagePtr = std::shared_ptr<const NSImage>;

/// A picture in one or several forms, and its size in points. Immutable; copies share their forms. The empty
/// image has no forms and zero size.
class QF_EXPORT NSImage
{
public:
    NSImage() = default;
    NSImage(NSSize size, QList<NSImageRepPtr> representations);
    /// One bitmap; a point is a pixel.
    explicit NSImage(const QImage &image);

    /// The picture in a file's bytes, decoded when it is drawn; nothing for what no reader knows.
    [[nodiscard]] static NSImagePtr imageWithData(const QByteArray &data);
    [[nodiscard]] static NSImagePtr imageWithContentsOfFile(const QString &path);
    [[nodiscard]] static NSImagePtr imageWithSource(const ImageSourcePtr &source);

    [[nodiscard]] NSSize size() const { return _size; }
    [[nodiscard]] const QList<NSImageRepPtr> &representations() const { return _representations; }
    [[nodiscard]] bool isEmpty() const { return _representations.isEmpty(); }
    /// All pixels of the first form that has any; null when there is none or it is broken.
    [[nodiscard]] QImage bitmap() const;

private:
    NSSize _size;
    QList<NSImageRepPtr> _representations;
};

Q_DECLARE_METATYPE(NSImagePtr)
