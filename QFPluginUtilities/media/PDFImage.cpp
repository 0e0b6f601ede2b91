#include "media/PDFImage.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QPdfDocument>

#include <algorithm>
#include <mutex>

namespace {

constexpr qint64 kMaximumFileBytes = qint64(512) * 1024 * 1024;
constexpr double kMaximumPoints = 14400; // the side of a page, ISO 32000-1, Annex C

/// Whether it looks like a whole document: with its header and, near the end, the place of its directory.
/// QtPdf 6.4 leaks what it has read of anything else.
bool isDocument(const QByteArray &data)
{
    constexpr qsizetype kTrailer = 2048;
    return data.startsWith("%PDF-") && data.last(std::min(kTrailer, data.size())).contains("startxref");
}

/// A document for as long as it takes to look at it.
class Document
{
public:
    explicit Document(const QByteArray &data)
    {
        _buffer.setData(data);
        if (_buffer.open(QIODevice::ReadOnly))
            _document.load(&_buffer);
    }

    [[nodiscard]] bool hasPages() const
    {
        return _document.status() == QPdfDocument::Status::Ready && _document.pageCount() > 0;
    }
    [[nodiscard]] QSizeF pageSize() const { return _document.pagePointSize(0); }
    [[nodiscard]] QImage page(const QSize &size) { return _document.render(0, size); }

private:
    QBuffer _buffer;
    QPdfDocument _document;
};

/// The engine behind QtPdf keeps state for all documents.
std::mutex &pdfLock()
{
    static std::mutex lock;
    return lock;
}

} // namespace

NSImagePtr PDFImage::imageWithData(const QByteArray &data)
{
    if (!isDocument(data))
        return nullptr;
    const std::lock_guard lock(pdfLock());
    Document document(data);
    if (!document.hasPages())
        return nullptr;
    const QSizeF points = document.pageSize();
    if (!(points.width() > 0 && points.height() > 0) || points.width() > kMaximumPoints ||
        points.height() > kMaximumPoints)
        return nullptr;
    const auto draw = [data](QPainter &painter, const QSize &target) {
        const std::lock_guard drawing(pdfLock());
        painter.fillRect(QRect(QPoint(), target), Qt::white); // a page is drawn on nothing
        painter.drawImage(0, 0, Document(data).page(target));
    };
    const NSSize size{static_cast<float>(points.width()), static_cast<float>(points.height())};
    const QSize pixels(qCeil(points.width()), qCeil(points.height()));
    return std::make_shared<NSImage>(size,
                                     QList<NSImageRepPtr>{std::make_shared<NSCustomImageRep>(pixels, draw)});
}

NSImagePtr PDFImage::imageWithContentsOfFile(const QString &path)
{
    QFile file(path);
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > kMaximumFileBytes || !file.open(QIODevice::ReadOnly))
        return nullptr;
    return imageWithData(file.readAll());
}
