#include "codecs/PNGWriter.h"

#include "codecs/Deflate.h"
#include "codecs/PNGFilters.h"
#include "codecs/PNGLayout.h"

#include <QtEndian>

#include <utility>
#include <vector>

namespace {

using Colours = PNGLayout::Colours;
using PNGFilters::Filter;
using PNGFilters::kMargin;
using Row = std::vector<uchar>;

/// From here on files shrink by few percent more, and writing them takes twice as long.
constexpr int kLevel = 5;

template <typename Number>
QByteArray bigEndian(Number value)
{
    QByteArray bytes(sizeof value, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray &kind, const QByteArray &contents)
{
    const QByteArray summed = kind + contents;
    return bigEndian(static_cast<quint32>(contents.size())) + summed + bigEndian(Deflate::checksum(summed));
}

QByteArray header(const QImage &image, Colours colours)
{
    constexpr quint8 kDepth = 8;
    return bigEndian(static_cast<quint32>(image.width())) + bigEndian(static_cast<quint32>(image.height())) +
           bigEndian(kDepth) + bigEndian(static_cast<quint8>(colours)) + QByteArray(3, '\0');
}

/// Components as they are stored, in the order red, green, blue, alpha.
void putComponents(const QRgb *row, int width, int step, bool isPremultiplied, uchar *bytes)
{
    for (int x = 0; x < width; ++x, bytes += step) {
        const QRgb pixel = isPremultiplied ? qUnpremultiply(row[x]) : row[x];
        bytes[0] = static_cast<uchar>(qRed(pixel));
        bytes[1] = static_cast<uchar>(qGreen(pixel));
        bytes[2] = static_cast<uchar>(qBlue(pixel));
        if (step == 4)
            bytes[3] = static_cast<uchar>(qAlpha(pixel));
    }
}

/// Filters rows, each with the filter that leaves the smallest differences.
class RowFilter
{
public:
    RowFilter(qsizetype length, int step)
        : _length(length), _step(step), _row(size(length)), _above(size(length)), _best(size(length)),
          _tried(size(length))
    {
    }

    /// Where the next row is to be written.
    [[nodiscard]] uchar *row() { return _row.data() + kMargin; }

    void appendTo(QByteArray &result)
    {
        quint64 least = ~quint64(0);
        Filter best = Filter::None;
        for (int filter = 0; filter < PNGFilters::kFilters; ++filter) {
            const quint64 sum = PNGFilters::apply(static_cast<Filter>(filter), row(), _above.data() + kMargin,
                                                  _length, _step, _tried.data());
            if (sum >= least)
                continue;
            least = sum;
            best = static_cast<Filter>(filter);
            std::swap(_best, _tried);
        }
        result.append(static_cast<char>(best));
        result.append(reinterpret_cast<const char *>(_best.data()), _length);
        std::swap(_row, _above);
    }

private:
    static size_t size(qsizetype length) { return static_cast<size_t>(length + 2 * kMargin); }

    qsizetype _length;
    int _step;
    Row _row;
    Row _above;
    Row _best;
    Row _tried;
};

QByteArray filtered(const QImage &image, int step)
{
    const qsizetype length = qsizetype(image.width()) * step;
    RowFilter filter(length, step);
    QByteArray result;
    result.reserve((length + 1) * image.height());
    const bool isPremultiplied = image.format() == QImage::Format_ARGB32_Premultiplied;
    for (int y = 0; y < image.height(); ++y) {
        putComponents(reinterpret_cast<const QRgb *>(image.constScanLine(y)), image.width(), step,
                      isPremultiplied, filter.row());
        filter.appendTo(result);
    }
    return result;
}

} // namespace

QByteArray PNGWriter::written(const QImage &image)
{
    const bool hasAlpha = image.hasAlphaChannel();
    const QByteArray data = Deflate::deflated(filtered(image, hasAlpha ? 4 : 3), kLevel);
    if (data.isNull() || data.size() > INT32_MAX)
        return {};
    return "\x89PNG\r\n\x1a\n" + chunk("IHDR", header(image, hasAlpha ? Colours::RGBA : Colours::RGB)) +
           chunk("IDAT", data) + chunk("IEND", {});
}
