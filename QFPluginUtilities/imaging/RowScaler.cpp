#include "imaging/RowScaler.h"

#include "imaging/ScalingKernels.h"
#include "imaging/ScalingWeights.h"

#include <QRectF>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <optional>
#include <vector>

using ScalingWeights::Line;
using ScalingWeights::Taps;

namespace {

/// Rows and columns that a picture can have.
constexpr int kLongestSide = 65'535;
/// Rows of one mean for which weights of eight bits are fine enough.
constexpr int kFewRows = 48;

/// [begin, begin + length) as far as it lies within [0, limit); a pixel where nothing of it does.
Line lineWithin(double begin, double length, double limit, int count)
{
    if (!std::isfinite(begin) || !std::isfinite(length))
        return {0, limit, count};
    const double from = std::clamp(begin, 0.0, limit);
    const double to = std::clamp(begin + length, from, limit);
    if (to - from > 1e-6)
        return {from, to, count};
    const double pixel = std::min(std::floor(from), limit - 1);
    return {pixel, pixel + 1, count};
}

bool isCopy(const Line &line)
{
    return line.begin == std::floor(line.begin) && line.end - line.begin == line.count;
}

/// Area means of rows. Where two means meet inside a row, each takes its part of it.
template <typename Sum>
class RowMeans
{
public:
    RowMeans(const Line &line, qsizetype components)
        : _line(line), _components(components), _sums(size_t(components))
    {
        setEnd();
    }

    /// Whether the row with this index ends a mean: then it is in `output`.
    bool addRow(int index, const uchar *bytes, qint16 *output)
    {
        if (index + 1 < _end) {
            ScalingKernels::addToMean(_sums.data(), bytes, weightUpTo(index + 1), _components);
            return false;
        }
        const quint32 weight = kWhole - _given;
        ++_mean;
        _begin = _end;
        setEnd();
        _given = 0;
        const quint32 nextWeight = _mean < _line.count ? weightUpTo(index + 1) : 0;
        ScalingKernels::finishMean(_sums.data(), bytes, weight, nextWeight, output, _components);
        return true;
    }

    /// Ends a mean that has only part of its rows with these.
    bool end(qint16 *output)
    {
        if (_given == 0)
            return false;
        std::transform(_sums.begin(), _sums.end(), output, [this](quint32 sum) {
            return qint16((quint64(sum) << ScalingKernels::kFractionBits) / _given);
        });
        _given = 0;
        return true;
    }

private:
    static constexpr quint32 kWhole = 1U << ScalingKernels::kMeanBits<Sum>;

    void setEnd() { _end = _mean + 1 >= _line.count ? _line.end : _line.begin + (_mean + 1) * _line.step(); }

    /// What is left to give to the rows above y: rounding never adds up.
    quint32 weightUpTo(int y)
    {
        const double share = std::clamp((y - _begin) / (_end - _begin), 0.0, 1.0);
        const quint32 all = std::max(_given, quint32(std::lround(share * kWhole)));
        const quint32 weight = all - _given;
        _given = all;
        return weight;
    }

    Line _line;
    qsizetype _components;
    std::vector<Sum> _sums;
    int _mean = 0;
    double _begin = _line.begin;
    double _end = 0;
    quint32 _given = 0;
};

/// Filters rows into rows of the result; keeps those that the next one needs.
class RowFilter
{
public:
    RowFilter(const Line &line, qsizetype components) : _components(components), _result(size_t(components))
    {
        for (int index = 0; index < line.count; ++index)
            append(ScalingWeights::lanczos(line, index), line.firstPixel());
        _ring.resize(size_t(_rowCount) * size_t(components));
    }

    /// Where the next row is to be written.
    qint16 *nextRow() { return row(_added); }
    [[nodiscard]] bool isEmpty() const { return _added == 0; }
    [[nodiscard]] bool isDone() const { return _next == _outputs.size(); }
    void repeatRow()
    {
        if (_rowCount > 1)
            std::copy_n(row(_added - 1), _components, nextRow());
    }

    /// The next row has been written; `emitRow` gets the rows of the result that this completes.
    template <typename EmitRow>
    void rowWritten(EmitRow emitRow)
    {
        ++_added;
        for (; !isDone() && _outputs[_next].lastRow < _added; ++_next) {
            const Output &output = _outputs[_next];
            _rows.clear();
            for (size_t tap = output.begin; tap < output.end; ++tap)
                _rows.push_back(row(_tapRows[tap]));
            ScalingKernels::filterOverRows(_rows.data(), _weights.data() + output.begin, int(_rows.size()),
                                           _result.data(), _components);
            emitRow(_result.data());
        }
    }

private:
    struct Output
    {
        size_t begin = 0;
        size_t end = 0;
        int lastRow = 0;
    };

    qint16 *row(int index) { return _ring.data() + size_t(index % _rowCount) * size_t(_components); }

    /// As whole numbers, whose sum is exact; what rounding lacks goes to the largest.
    void append(const Taps &taps, int firstRow)
    {
        constexpr int whole = 1 << ScalingKernels::kRowWeightBits;
        std::vector<int> weights;
        int rest = whole;
        for (const double weight : taps.weights) {
            weights.push_back(int(std::lround(weight * whole)));
            rest -= weights.back();
        }
        *std::max_element(weights.begin(), weights.end()) += rest;

        const int count = int(weights.size());
        const int first = taps.first - firstRow;
        const size_t begin = _weights.size();
        for (int i = 0; i < count; ++i)
            appendTap(first + i, weights[size_t(i)]);
        while ((_weights.size() - begin) % ScalingKernels::kRowGroup != 0)
            appendTap(first, 0);
        _outputs.push_back({begin, _weights.size(), first + count - 1});
        _rowCount = std::max(_rowCount, count);
        _rows.reserve(_weights.size() - begin);
    }

    /// Edge pixels, which stand for all outside them, may weigh more than one tap can hold.
    void appendTap(int row, int weight)
    {
        constexpr int most = std::numeric_limits<qint16>::max();
        for (; weight > most; weight -= most / 2)
            appendTap(row, most / 2);
        _tapRows.push_back(row);
        _weights.push_back(qint16(weight));
    }

    qsizetype _components;
    std::vector<qint16> _result;
    std::vector<Output> _outputs;
    std::vector<int> _tapRows;
    std::vector<qint16> _weights;
    std::vector<qint16> _ring;
    std::vector<const qint16 *> _rows;
    int _rowCount = 1;
    int _added = 0;
    size_t _next = 0;
};

/// Filters within rows, some rows at a time.
class ColumnFilter
{
public:
    explicit ColumnFilter(const Line &line)
        : _pixels(line.lastPixel() - line.firstPixel() + 1),
          _batch(size_t(_pixels) * 4 * ScalingKernels::kBatch), _stride(qsizetype(line.count) * 4),
          _result(size_t(_stride) * ScalingKernels::kBatch), _row(size_t(_stride))
    {
        for (int index = 0; index < line.count; ++index) {
            const Taps taps = ScalingWeights::meansAndLanczos(line, index);
            _spans.push_back(
                {taps.first - line.firstPixel(), int(taps.weights.size()), qsizetype(_weights.size())});
            _weights.insert(_weights.end(), taps.weights.begin(), taps.weights.end());
        }
    }

    /// `emitRow` gets the rows of the result as soon as a batch is full.
    template <typename EmitRow>
    void addRow(const qint16 *row, EmitRow emitRow)
    {
        ScalingKernels::putIntoBatch(row, _batch.data(), _used++, _pixels);
        if (_used == ScalingKernels::kBatch)
            flush(emitRow);
    }

    template <typename EmitRow>
    void flush(EmitRow emitRow)
    {
        if (_used == 0)
            return;
        ScalingKernels::filterOverColumns(_batch.data(), _spans.data(), _weights.data(),
                                          qsizetype(_spans.size()), _result.data(), _stride);
        for (int row = 0; row < _used; ++row) {
            ScalingKernels::round(_result.data() + row * _stride, _row.data(), _stride);
            emitRow(_row.data());
        }
        _used = 0;
    }

private:
    qsizetype _pixels;
    std::vector<float> _batch;
    qsizetype _stride;
    std::vector<float> _result;
    std::vector<qint16> _row;
    std::vector<ScalingKernels::ColumnSpan> _spans;
    std::vector<float> _weights;
    int _used = 0;
};

} // namespace

/// Rows are filtered over rows first, which leaves less to do within them; not where that makes more rows.
struct RowScaler::Private
{
    Private(const Line &across, const Line &down, bool opaque)
        : columns(across), rows(down), isOpaque(opaque),
          image(across.count, down.count, opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied)
    {
        hasFailed = image.isNull();
        if (hasFailed)
            return;
        bits = image.bits();
        copies = isCopy(across) && isCopy(down);
        if (copies)
            return;
        const qsizetype width = across.lastPixel() - across.firstPixel() + 1;
        columnsFirst = down.step() < 1;
        overColumns.emplace(across);
        if (down.beginsWithMeans()) {
            if (down.means().step() <= kFewRows)
                meansOfFew.emplace(down.means(), width * 4);
            else
                meansOfMany.emplace(down.means(), width * 4);
            overRows.emplace(down.afterMeans(), width * 4);
        } else {
            overRows.emplace(down, (columnsFirst ? qsizetype(across.count) : width) * 4);
        }
        if (columnsFirst)
            widened.resize(size_t(width) * 4);
    }

    void addRow(const QRgb *pixels);
    void extendDown();
    void write(const qint16 *row);

    Line columns;
    Line rows;
    bool isOpaque;
    QImage image;
    uchar *bits = nullptr;
    bool hasFailed = false;
    bool copies = false;
    bool columnsFirst = false;
    std::optional<RowMeans<quint16>> meansOfFew;
    std::optional<RowMeans<quint32>> meansOfMany;
    std::optional<RowFilter> overRows;
    std::optional<ColumnFilter> overColumns;
    std::vector<qint16> widened;
    int nextRow = 0;
    int written = 0;

private:
    void filterAcross(const qint16 *row);
    void takeFiltered(const qint16 *row);
    void rowWritten();
};

void RowScaler::Private::addRow(const QRgb *pixels)
{
    const int index = nextRow++;
    if (hasFailed || index < rows.firstPixel() || index > rows.lastPixel())
        return;
    const QRgb *const first = pixels + columns.firstPixel();
    const uchar *const bytes = reinterpret_cast<const uchar *>(first);
    const qsizetype components = (columns.lastPixel() - columns.firstPixel() + 1) * qsizetype(4);
    if (copies) {
        std::copy_n(first, columns.count, reinterpret_cast<QRgb *>(bits + image.bytesPerLine() * written++));
    } else if (columnsFirst) {
        ScalingKernels::widen(bytes, widened.data(), components);
        filterAcross(widened.data());
    } else if (meansOfFew) {
        if (meansOfFew->addRow(index, bytes, overRows->nextRow()))
            rowWritten();
    } else if (meansOfMany) {
        if (meansOfMany->addRow(index, bytes, overRows->nextRow()))
            rowWritten();
    } else {
        ScalingKernels::widen(bytes, overRows->nextRow(), components);
        rowWritten();
    }
}

void RowScaler::Private::filterAcross(const qint16 *row)
{
    overColumns->addRow(row, [this](const qint16 *filtered) { takeFiltered(filtered); });
}

void RowScaler::Private::takeFiltered(const qint16 *row)
{
    if (!columnsFirst) {
        write(row);
        return;
    }
    std::copy_n(row, columns.count * qsizetype(4), overRows->nextRow());
    rowWritten();
}

void RowScaler::Private::rowWritten()
{
    overRows->rowWritten([this](const qint16 *filtered) {
        if (columnsFirst)
            write(filtered);
        else
            filterAcross(filtered);
    });
}

void RowScaler::Private::write(const qint16 *row)
{
    uchar *const output = bits + image.bytesPerLine() * written++;
    if (isOpaque)
        ScalingKernels::narrowOpaque(row, output, columns.count);
    else
        ScalingKernels::narrow(row, output, columns.count);
}

/// A picture may come with fewer rows than the crop has: its last one stands for them.
void RowScaler::Private::extendDown()
{
    if (copies) {
        for (; written > 0 && written < rows.count; ++written)
            std::copy_n(bits + image.bytesPerLine() * (written - 1), image.bytesPerLine(),
                        bits + image.bytesPerLine() * written);
        return;
    }
    if (columnsFirst)
        overColumns->flush([this](const qint16 *filtered) { takeFiltered(filtered); });
    if ((meansOfFew && meansOfFew->end(overRows->nextRow())) ||
        (meansOfMany && meansOfMany->end(overRows->nextRow())))
        rowWritten();
    while (!overRows->isEmpty() && !overRows->isDone()) {
        overRows->repeatRow();
        rowWritten();
    }
    if (!columnsFirst)
        overColumns->flush([this](const qint16 *filtered) { takeFiltered(filtered); });
}

RowScaler::RowScaler(int sourceWidth, const QRectF &crop, const QSize &target, bool isOpaque)
{
    const Line across =
        lineWithin(crop.x(), crop.width(), std::max(1, sourceWidth), std::max(1, target.width()));
    const Line down = lineWithin(crop.y(), crop.height(), kLongestSide, std::max(1, target.height()));
    try {
        d = std::make_unique<Private>(across, down, isOpaque);
    } catch (const std::bad_alloc &) {
        d.reset();
    }
}

RowScaler::~RowScaler() = default;

void RowScaler::addRow(const QRgb *row)
{
    if (d)
        d->addRow(row);
}

QImage RowScaler::takeImage()
{
    if (!d || d->hasFailed)
        return {};
    d->extendDown();
    return d->written == d->rows.count ? std::move(d->image) : QImage();
}
