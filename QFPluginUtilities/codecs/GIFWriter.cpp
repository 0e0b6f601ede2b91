#include "codecs/GIFWriter.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <vector>

#include <gif_lib.h>

namespace {

using ColourMap = std::unique_ptr<ColorMapObject, decltype(&GifFreeMapObject)>;

/// Takes bytes from the encoder; with no memory for them the encoder gives up.
int append(GifFileType *file, const GifByteType *bytes, int count)
{
    try {
        static_cast<QByteArray *>(file->UserData)->append(reinterpret_cast<const char *>(bytes), count);
        return count;
    } catch (...) {
        return 0;
    }
}

/// Closes the file, at the latest when it goes out of scope.
class Encoder
{
public:
    explicit Encoder(QByteArray &result) : _file(EGifOpen(&result, append, nullptr)) {}
    ~Encoder() { close(); }
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;

    [[nodiscard]] GifFileType *file() const { return _file; }
    bool close()
    {
        GifFileType *file = std::exchange(_file, nullptr);
        return file && EGifCloseFile(file, nullptr) == GIF_OK;
    }

private:
    GifFileType *_file;
};

/// The table has a power of two of entries; those beyond the colours are black.
ColourMap colourMap(const QList<QRgb> &colours)
{
    const auto size =
        static_cast<int>(std::bit_ceil(static_cast<uint>(std::max<qsizetype>(colours.size(), 2))));
    ColourMap map(GifMakeMapObject(size, nullptr), &GifFreeMapObject);
    for (qsizetype i = 0; map && i < colours.size(); ++i) {
        const QRgb colour = colours[i];
        map->Colors[i] = {static_cast<GifByteType>(qRed(colour)), static_cast<GifByteType>(qGreen(colour)),
                          static_cast<GifByteType>(qBlue(colour))};
    }
    return map;
}

bool putTransparency(GifFileType *file, const QList<QRgb> &colours)
{
    const auto transparent =
        std::find_if(colours.begin(), colours.end(), [](QRgb colour) { return qAlpha(colour) == 0; });
    if (transparent == colours.end())
        return true;
    const GraphicsControlBlock control{DISPOSAL_UNSPECIFIED, false, 0,
                                       static_cast<int>(transparent - colours.begin())};
    std::array<GifByteType, 4> bytes{};
    EGifGCBToExtension(&control, bytes.data());
    return EGifPutExtension(file, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(bytes.size()), bytes.data()) ==
           GIF_OK;
}

bool putRows(GifFileType *file, const QImage &image)
{
    std::vector<GifPixelType> row(static_cast<size_t>(image.width()));
    for (int y = 0; y < image.height(); ++y) {
        std::copy_n(image.constScanLine(y), row.size(), row.begin());
        if (EGifPutLine(file, row.data(), image.width()) != GIF_OK)
            return false;
    }
    return true;
}

bool put(GifFileType *file, const QImage &image, const ColourMap &map)
{
    EGifSetGifVersion(file, true);
    return EGifPutScreenDesc(file, image.width(), image.height(), map->BitsPerPixel, 0, map.get()) ==
               GIF_OK &&
           putTransparency(file, image.colorTable()) &&
           EGifPutImageDesc(file, 0, 0, image.width(), image.height(), false, nullptr) == GIF_OK &&
           putRows(file, image);
}

} // namespace

QByteArray GIFWriter::written(const QImage &image)
{
    constexpr int kLongestSide = 65535;
    if (image.isNull() || image.width() > kLongestSide || image.height() > kLongestSide)
        return {};
    QByteArray result;
    Encoder encoder(result);
    const ColourMap map = colourMap(image.colorTable());
    const bool isPut = encoder.file() && map && put(encoder.file(), image, map);
    return encoder.close() && isPut ? result : QByteArray();
}
