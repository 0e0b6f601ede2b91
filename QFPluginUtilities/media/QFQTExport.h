#pragma once

#include "media/NSImage.h"
#include "platform/NSColor.h"
#include "platform/NSGeometry.h"
#include "platform/QFExport.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <memory>
#include <optional>

/// Writes one picture as a web image file of a chosen type, quality and size, with the effects that its media
/// attributes ask for; and, at class level, looks after movies. An exporter belongs to one thread at a time;
/// different ones run at once. No operation throws.
class QF_EXPORT QFQTExport
{
public:
    /// Media attributes that the exporter shares with its caller and writes "orientation" into.
    using Attributes = std::shared_ptr<QVariantMap>;

    /// Results of an operation; 0 is success and positive numbers are the system's `errno`.
    enum Status : qint32 { noErr = 0, fnfErr = -43, paramErr = -50, noCodecErr = -8961 };

    /// What a file's header says about its picture.
    struct ImageDescription
    {
        qint64 dataSize = 0; ///< bytes
        int width = 0;       ///< pixels
        int height = 0;
    };

    /// The picture in a file. One that cannot be read as a picture makes an exporter whose `exportImage`
    /// answers -50; the failure is logged.
    [[nodiscard]] static std::unique_ptr<QFQTExport> exporterWithFile(const QString &path);
    /// The picture in a file's bytes, which are shared.
    [[nodiscard]] static std::unique_ptr<QFQTExport> exporterWithData(const QByteArray &data);
    /// A picture that is at hand. It says nothing about its orientation.
    [[nodiscard]] static std::unique_ptr<QFQTExport> exporterWithImage(const NSImagePtr &image);

    [[nodiscard]] QString destination() const { return _destination; }
    void setDestination(const QString &path) { _destination = path; }
    /// Four-character code of the file type: "GIFf", "PNGf", "TIFF", "BMPf"; any other writes JPEG.
    [[nodiscard]] qint32 format() const { return _format; }
    void setFormat(qint32 format) { _format = format; }
    /// 256, 512 (at first) and 1024 are compression factors of 0.25, 0.5 and 1; every other number is 0.75,
    /// 768 too.
    [[nodiscard]] qint32 quality() const { return _quality; }
    void setQuality(qint32 quality) { _quality = quality; }
    /// Size asked for in points, rounded up; 0 for none. Counts when both are above zero and no attributes
    /// are set: the picture is then scaled, up or down, to fit into the size.
    [[nodiscard]] float width() const { return _width; }
    void setWidth(float width);
    [[nodiscard]] float height() const { return _height; }
    void setHeight(float height);
    [[nodiscard]] Attributes attributes() const { return _attributes; }
    void setAttributes(const Attributes &attributes) { _attributes = attributes; }
    /// Crops to a square where the exporter makes its own attributes.
    [[nodiscard]] bool squareImage() const { return _squareImage; }
    void setSquareImage(bool square) { _squareImage = square; }

    /// Kept only: every change of scale is of high quality.
    [[nodiscard]] bool highQualityScaling() const { return _highQualityScaling; }
    void setHighQualityScaling(bool on) { _highQualityScaling = on; }
    /// Kept only: profiles are always removed.
    [[nodiscard]] bool retainProfiles() const { return _retainProfiles; }
    void setRetainProfiles(bool on) { _retainProfiles = on; }

    // What follows is not used by an export, whose effects all come from the attributes, but by
    // `resizedCGImage`.
    [[nodiscard]] bool flipHorizontally() const { return _flipHorizontally; }
    void setFlipHorizontally(bool on) { _flipHorizontally = on; }
    [[nodiscard]] bool flipVertically() const { return _flipVertically; }
    void setFlipVertically(bool on) { _flipVertically = on; }
    [[nodiscard]] float rotation() const { return _rotation; }
    void setRotation(float degrees) { _rotation = degrees; }
    [[nodiscard]] bool clip() const { return _clip; }
    void setClip(bool on) { _clip = on; }
    [[nodiscard]] std::optional<NSColor> fillColour() const { return _fillColour; }
    void setFillColour(const std::optional<NSColor> &colour) { _fillColour = colour; }
    [[nodiscard]] float shadowOffset() const { return _shadowOffset; }
    void setShadowOffset(float points) { _shadowOffset = points; }
    [[nodiscard]] float shadowBlur() const { return _shadowBlur; }
    void setShadowBlur(float points) { _shadowBlur = points; }
    [[nodiscard]] std::optional<NSColor> shadowColour() const { return _shadowColour; }
    void setShadowColour(const std::optional<NSColor> &colour) { _shadowColour = colour; }

    /// Result of the last operation.
    [[nodiscard]] qint32 status() const { return _status; }

    /// Writes the file. 0, or -50 without a picture or destination, or the `errno` of a destination that
    /// cannot be opened. The destination is created and emptied before anything else; when the picture then
    /// cannot be decoded, encoded or written, that is logged, the empty file stays, and the answer is 0 all
    /// the same.
    [[nodiscard]] qint32 exportImage();
    /// The file that the last export wrote; nil when it was not written whole.
    [[nodiscard]] QByteArray exportedBytes() const { return _exportedBytes; }
    /// Decodes and transforms the picture ahead of `exportImage`, which then only writes. False when it
    /// cannot be decoded. All that counts for an export must be set before, but for the destination.
    [[nodiscard]] bool prepare();
    /// 0 when files of the format can be written, else -50. JPEG stands in only for formats that an export
    /// does not know.
    [[nodiscard]] qint32 createExporter();

    /// The raster at another size, on the fill colour or white, with this exporter's own flips, rotation,
    /// clip and shadow. A turned picture that is not clipped gets the canvas of its bounding box. Null when
    /// there is no memory for it, which is logged.
    [[nodiscard]] QImage resizedCGImage(const QImage &image, NSSize size) const;

    /// Description of the picture in a file; nothing, after logging, for what cannot be read as a picture.
    [[nodiscard]] static std::optional<ImageDescription> getImageDescription(const QString &path);

    /// Whether the file can be opened as a movie. False on any error.
    [[nodiscard]] static bool getPotentialQuickTimeMovie(const QString &path);
    /// Natural size of a movie in pixels, as displayed: turned by its matrix, widened by its pixels' aspect.
    /// Zero when there is none. Reads the headers only. Follows no reference to other files.
    [[nodiscard]] static NSSize getMovieDimensions(const QString &path);
    [[nodiscard]] static NSSize getMovieDimensionsFromData(const QByteArray &data);
    /// Writes the movie as "flattened.mov" in the directory, its index before its media, so that it plays
    /// while it loads. Media are copied, not encoded again. The path, or nil after logging what failed.
    [[nodiscard]] static QString flattenQuickTimeMovieForFastStart(const QString &path,
                                                                   const QString &intoTempDirectory);
    /// Markup and script that show a movie. `src` stands as it is, unescaped.
    [[nodiscard]] static QString quicktimeEmbedHTMLForSrc(const QString &src, int width, int height,
                                                          bool autoplay);

private:
    struct Rendering;

    QFQTExport() = default;
    void makeAttributes();
    void takeOrientation();
    [[nodiscard]] Rendering rendering();
    [[nodiscard]] QImage drawnOn(const QSize &canvas, const QColor &ground, const QImage &image,
                                 const QSize &size) const;

    QString _destination;
    NSImagePtr _image; ///< nullptr when there is no picture
    /// Where the picture comes from, with its orientation; nullptr for one in memory.
    ImageSourcePtr _imageSource;
    std::optional<QImage> _prepared;
    QByteArray _exportedBytes;
    std::optional<NSColor> _fillColour;
    qint32 _format = 0x4A504547; ///< 'JPEG'
    qint32 _quality = 512;
    qint32 _status = noErr;
    float _width = 0;
    float _height = 0;
    bool _highQualityScaling = false;
    bool _retainProfiles = true;
    bool _flipHorizontally = false;
    bool _flipVertically = false;
    bool _clip = false;
    bool _squareImage = false;
    float _shadowOffset = 0;
    float _shadowBlur = 0;
    std::optional<NSColor> _shadowColour;
    float _rotation = 0;
    Attributes _attributes;
};
