#pragma once

#include <QByteArray>
#include <QRgb>
#include <QSize>

#include <memory>

/// A JPEG file, decoded row by row, from the top. Errors in the file come as answers. One thread at a time.
class JPEGDecoder
{
public:
    /// What the rows hold: opaque pixels, or four bytes of ink each.
    enum class Rows : quint8 { Pixels, CMYK, InvertedCMYK };

    explicit JPEGDecoder(const QByteArray &data);
    ~JPEGDecoder();
    JPEGDecoder(const JPEGDecoder &) = delete;
    JPEGDecoder &operator=(const JPEGDecoder &) = delete;

    /// Comes first. False when there is none that can be decoded.
    [[nodiscard]] bool readHeader();
    [[nodiscard]] QSize size() const;
    [[nodiscard]] Rows rows() const;
    [[nodiscard]] bool isGrey() const;
    /// Whether the file holds luminance and colour differences.
    [[nodiscard]] bool isYCbCr() const;
    /// The embedded ICC profile; empty without one.
    [[nodiscard]] QByteArray profile();

    /// Begins decoding at `eighths` eighths of the size, 1 to 8. False when the file does not allow it. A
    /// progressive file is read to its end here.
    [[nodiscard]] bool start(int eighths);
    /// Size of the reduced picture.
    [[nodiscard]] QSize reducedSize() const;
    /// After `start`: keeps only columns from `*x` on, `*width` of them; both are moved outwards to what can
    /// be decoded by itself, at the same values as in the whole picture but for the outermost columns.
    [[nodiscard]] bool keepColumns(int *x, int *width);
    /// Decodes a row of four bytes a column, into memory for all columns kept. False when the data have run
    /// out.
    [[nodiscard]] bool readRow(void *row);
    /// Passes rows, which is quicker than reading them.
    [[nodiscard]] bool skipRows(int count);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
