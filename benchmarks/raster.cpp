// Scaling, turning and shadows of pictures of 1.5 and 24 megapixels, beside Qt's smooth scaling and painter
// and, where it is installed, libvips on one thread; and how well a zone plate is scaled: what is left of the
// rings that are too fine for the result (should be nothing) and of those that are not (should be all).

#include "Measuring.h"

#include "codecs/ImageSource.h"
#include "imaging/ImageOperations.h"

#include <QBuffer>
#include <QColor>
#include <QPainter>

#include <cmath>
#include <functional>

#ifdef QF_HAS_VIPS
#include <vips/vips.h>
#endif

using ImageOperations::Shadow;

namespace {

constexpr double kPi = 3.14159265358979;

QImage photo(const QSize &size, bool isOpaque)
{
    QImage image(size, isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    quint32 random = 1;
    for (int y = 0; y < size.height(); ++y) {
        QRgb *const row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            random = random * 1664525 + 1013904223;
            const int noise = int(random >> 28);
            const QRgb colour = qRgba((x / 3 + noise) & 255, (y / 5 + noise) & 255, ((x + y) / 7) & 255,
                                      isOpaque ? 255 : (x * 255 / size.width()));
            row[x] = isOpaque ? colour : qPremultiply(colour);
        }
    }
    return image;
}

/// Rings whose frequency grows from the centre to the middle of the sides, where each is two pixels wide.
QImage zonePlate(int side)
{
    QImage image(side, side, QImage::Format_RGB32);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double radius = std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0);
            const int value = int(std::lround(127.5 + 127.5 * std::cos(kPi * radius * radius / side)));
            image.setPixel(x, y, qRgb(value, value, value));
        }
    }
    return image;
}

/// Contrast of a scaled zone plate, in parts of the whole, where the rings' frequency is between two parts of
/// the finest that the result can show.
double contrast(const QImage &plate, double sourceSide, double from, double to)
{
    const double nyquist = plate.width() / 2.0;
    double sum = 0;
    int count = 0;
    for (int y = 0; y < plate.height(); ++y) {
        for (int x = 0; x < plate.width(); ++x) {
            const double scale = sourceSide / plate.width();
            const double radius =
                scale * std::hypot(x + 0.5 - plate.width() / 2.0, y + 0.5 - plate.height() / 2.0);
            if (radius < from * nyquist || radius > std::min(to * nyquist, sourceSide / 2))
                continue;
            const double deviation = (qGreen(plate.pixel(x, y)) - 127.5) / 127.5;
            sum += deviation * deviation;
            ++count;
        }
    }
    return std::sqrt(2 * sum / std::max(1, count));
}

QImage scaledByQt(const QImage &image, const QSize &target)
{
    return image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage turnedByQt(const QImage &image, double degrees)
{
    QImage canvas(image.size(), QImage::Format_ARGB32_Premultiplied);
    canvas.fill(0);
    QPainter painter(&canvas);
    painter.setRenderHints(QPainter::SmoothPixmapTransform | QPainter::Antialiasing);
    painter.translate(image.width() / 2.0, image.height() / 2.0);
    painter.rotate(degrees);
    painter.drawImage(QPointF(-image.width() / 2.0, -image.height() / 2.0), image);
    return canvas;
}

#ifdef QF_HAS_VIPS

/// A picture of libvips in memory: three or four bands.
class VipsPicture
{
public:
    explicit VipsPicture(const QImage &image)
        : _pixels(image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_RGBA8888
                                                                : QImage::Format_RGBX8888))
    {
        const int bands = image.hasAlphaChannel() ? 4 : 3;
        const size_t count = size_t(image.width()) * size_t(image.height());
        _bytes.resize(count * size_t(bands));
        for (size_t i = 0; i < count; ++i)
            std::copy_n(_pixels.constBits() + i * 4, bands, _bytes.data() + i * size_t(bands));
        VipsImage *made = vips_image_new_from_memory(_bytes.data(), _bytes.size(), image.width(),
                                                     image.height(), bands, VIPS_FORMAT_UCHAR);
        vips_copy(made, &_image, "interpretation", VIPS_INTERPRETATION_sRGB, nullptr);
        g_object_unref(made);
    }
    ~VipsPicture() { g_object_unref(_image); }
    VipsPicture(const VipsPicture &) = delete;
    VipsPicture &operator=(const VipsPicture &) = delete;

    [[nodiscard]] VipsImage *get() const { return _image; }

    /// Computes a picture, and takes it.
    static QImage computed(VipsImage *image)
    {
        size_t size = 0;
        uchar *const bytes = static_cast<uchar *>(vips_image_write_to_memory(image, &size));
        const int bands = image->Bands;
        require(bytes && (bands == 3 || bands == 4), "libvips");
        QImage made(image->Xsize, image->Ysize, QImage::Format_RGB32);
        for (int y = 0; y < made.height(); ++y) {
            const uchar *pixel = bytes + qsizetype(y) * made.width() * bands;
            QRgb *const row = reinterpret_cast<QRgb *>(made.scanLine(y));
            for (int x = 0; x < made.width(); ++x, pixel += bands)
                row[x] = qRgb(pixel[0], pixel[1], pixel[2]);
        }
        g_free(bytes);
        g_object_unref(image);
        return made;
    }

    [[nodiscard]] QImage thumbnail(const QSize &target) const
    {
        VipsImage *out = nullptr;
        VipsImage *const rows = fromTop();
        vips_thumbnail_image(rows, &out, target.width(), "height", target.height(), "size", VIPS_SIZE_FORCE,
                             nullptr);
        g_object_unref(rows);
        return computed(out);
    }

    static QImage thumbnailOfFile(const QByteArray &file, const QSize &target)
    {
        VipsImage *out = nullptr;
        vips_thumbnail_buffer(const_cast<char *>(file.data()), size_t(file.size()), &out, target.width(),
                              "height", target.height(), "size", VIPS_SIZE_FORCE, nullptr);
        return computed(out);
    }

    [[nodiscard]] QImage resized(const QSize &target) const
    {
        VipsImage *out = nullptr;
        VipsImage *const rows = fromTop();
        vips_resize(rows, &out, double(target.width()) / _image->Xsize, "vscale",
                    double(target.height()) / _image->Ysize, nullptr);
        g_object_unref(rows);
        return computed(out);
    }

    [[nodiscard]] QImage turned(double degrees) const
    {
        VipsImage *out = nullptr;
        VipsInterpolate *const bicubic = vips_interpolate_new("bicubic");
        vips_similarity(_image, &out, "angle", degrees, "interpolate", bicubic, nullptr);
        g_object_unref(bicubic);
        return computed(out);
    }

    /// Only the blur of the alpha, without drawing anything.
    [[nodiscard]] qint64 blurredAlpha(double sigma) const
    {
        VipsImage *alpha = nullptr;
        VipsImage *blurred = nullptr;
        vips_extract_band(_image, &alpha, 3, nullptr);
        vips_gaussblur(alpha, &blurred, sigma, nullptr);
        size_t size = 0;
        void *const bytes = vips_image_write_to_memory(blurred, &size);
        g_free(bytes);
        g_object_unref(blurred);
        g_object_unref(alpha);
        return qint64(size);
    }

private:
    /// Read from the top once, as from a file: then libvips keeps the rows that it shrinks twice.
    [[nodiscard]] VipsImage *fromTop() const
    {
        VipsImage *rows = nullptr;
        vips_sequential(_image, &rows, nullptr);
        return rows;
    }

    QImage _pixels;
    std::vector<uchar> _bytes;
    VipsImage *_image = nullptr;
};

#endif

/// Numbers of components that differ by much: two scalers agree but for edges and noise.
bool areAlike(const QImage &a, const QImage &b)
{
    if (a.size() != b.size())
        return false;
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            sum += std::abs(qGreen(a.pixel(x, y)) - qGreen(b.pixel(x, y)));
    }
    return sum / a.width() / a.height() < 6;
}

void scale(const char *what, const QImage &image, const QSize &target)
{
    const QImage result = ImageOperations::scaled(image, image.rect(), target);
    require(areAlike(result, scaledByQt(image, target)), what);
    const double ours =
        medianMilliseconds([&] { return ImageOperations::scaled(image, image.rect(), target); });
    printRatio(what, ours, "QImage::scaled", medianMilliseconds([&] { return scaledByQt(image, target); }));
#ifdef QF_HAS_VIPS
    const VipsPicture picture(image);
    require(areAlike(result.convertToFormat(QImage::Format_RGB32), picture.resized(target)) ||
                image.hasAlphaChannel(),
            "libvips agrees");
    printRatio(what, ours, "vips_thumbnail_image",
               medianMilliseconds([&] { return picture.thumbnail(target); }));
    printRatio(what, ours, "vips_resize", medianMilliseconds([&] { return picture.resized(target); }));
#endif
}

void turn(const char *what, const QImage &image, double degrees)
{
    const QSize canvas = image.size();
    require(areAlike(ImageOperations::turned(image, degrees, canvas), turnedByQt(image, degrees)), what);
    const double ours = medianMilliseconds([&] { return ImageOperations::turned(image, degrees, canvas); });
    printRatio(what, ours, "QPainter, bilinear",
               medianMilliseconds([&] { return turnedByQt(image, degrees); }));
#ifdef QF_HAS_VIPS
    const VipsPicture picture(image);
    printRatio(what, ours, "vips_similarity, bicubic",
               medianMilliseconds([&] { return picture.turned(degrees); }));
#endif
}

void shadow(const char *what, const QImage &image, double blur)
{
    const Shadow shadow{{6.5, 6.5}, blur, QColor(0, 0, 0, 128)};
    const QSize canvas = image.size() + QSize(20, 20);
    const auto draw = [&] { return ImageOperations::withShadow(image, {0, 0}, shadow, canvas, Qt::white); };
    require(image.hasAlphaChannel() || draw().copy(image.rect()) == image, what);
    const double ours = medianMilliseconds(draw);
#ifdef QF_HAS_VIPS
    const VipsPicture picture(image.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    printRatio(what, ours, "vips_gaussblur of alpha",
               medianMilliseconds([&] { return picture.blurredAlpha(blur / 3); }));
#else
    std::printf("%-44s %9.3f ms\n", what, ours);
#endif
}

/// The finest rings must vanish, and do so at least as well as with libvips.
void plate(int side, int target)
{
    const QImage image = zonePlate(side);
    const auto print = [&](const char *who, const QImage &scaled) {
        const double tooFine = contrast(scaled, side, 1, 1e9);
        const double farTooFine = contrast(scaled, side, 1.25, 1e9);
        const double kept = contrast(scaled, side, 0, 0.75);
        std::printf("zone plate %4d to %3d, %-22s left above the finest %6.2f %%, well above %5.2f %%, kept "
                    "below %6.2f %%\n",
                    side, target, who, 100 * tooFine, 100 * farTooFine, 100 * kept);
        return tooFine;
    };
    const QSize size(target, target);
    const double ours = print("ours", ImageOperations::scaled(image, image.rect(), size));
    print("QImage::scaled", scaledByQt(image, size));
#ifdef QF_HAS_VIPS
    const VipsPicture picture(image);
    const double theirs = print("vips_thumbnail_image", picture.thumbnail(size));
    print("vips_resize", picture.resized(size));
    require(ours <= theirs, "the zone plate keeps more rings than with libvips");
#else
    require(ours < 0.2, "the zone plate keeps its finest rings");
#endif
}

/// The same from a file, which both decode at a reduced size.
void plateInFile(int side, int target)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    zonePlate(side).save(&file, "jpeg", 95);
    const QImage scaled = ImageSource::withData(file.data())->scaled({0, 0, side, side}, {target, target});
    const double ours = contrast(scaled, side, 1, 1e9);
    std::printf("zone plate in a JPEG, %4d to %4d: left above the finest %6.2f %%, kept %6.2f %%\n", side,
                target, 100 * ours, 100 * contrast(scaled, side, 0, 0.75));
#ifdef QF_HAS_VIPS
    const QImage peer = VipsPicture::thumbnailOfFile(file.data(), {target, target});
    const double theirs = contrast(peer, side, 1, 1e9);
    std::printf("    libvips: left %6.2f %%, kept %6.2f %%\n", 100 * theirs,
                100 * contrast(peer, side, 0, 0.75));
    require(ours <= 1.02 * theirs, "the zone plate keeps more rings than with libvips");
#endif
}

} // namespace

int main(int, [[maybe_unused]] char **argv)
{
#ifdef QF_HAS_VIPS
    require(vips_init(argv[0]) == 0, "libvips starts");
    vips_concurrency_set(1);
#endif
    for (const int target : {1'200, 800, 533, 300, 200, 100})
        plate(1'600, target);
    for (const int target : {1'000, 860, 800, 533, 430, 422, 300, 215, 150})
        plateInFile(3'200, target);

    const QImage small = photo({1'500, 1'000}, true);
    const QImage large = photo({6'000, 4'000}, true);
    scale("1.5 MP to 800 x 533", small, {800, 533});
    scale("24 MP to 800 x 533", large, {800, 533});
    scale("24 MP to 2400 x 1600", large, {2'400, 1'600});
    scale("1.5 MP to 3000 x 2000", small, {3'000, 2'000});
    scale("1.5 MP with alpha to 800 x 533", photo({1'500, 1'000}, false), {800, 533});
    turn("1.5 MP by 7 degrees", small, 7);
    turn("24 MP by 7 degrees", large, 7);
    turn("24 MP by 180 degrees", large, 180);
    shadow("shadow of 24 MP, opaque, blur 12", large, 12);
    shadow("shadow of 1.5 MP with alpha, blur 5", photo({1'500, 1'000}, false), 5);
    shadow("shadow of 1.5 MP with alpha, blur 60", photo({1'500, 1'000}, false), 60);
    return 0;
}
