#include "media/QFTextAttachmentCell.h"

#include "imaging/Canvas.h"
#include "media/QFTextAttachment.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr NSSize kSheet{120, 40};

NSImagePtr imageOf(const NSTextAttachmentCell &cell)
{
    const auto attachment = std::dynamic_pointer_cast<QFTextAttachment>(cell.attachment());
    return attachment ? attachment->image() : nullptr;
}

void drawSheet(const QRectF &frame, const QString &name, QPainter &painter)
{
    painter.fillRect(frame, QColor(0xF4, 0xF4, 0xF0));
    painter.setPen(QColor(0x80, 0x80, 0x78));
    painter.drawRect(frame.adjusted(0.5, 0.5, -0.5, -0.5));
    const QRectF inside = frame.adjusted(6, 2, -6, -2);
    painter.setPen(Qt::black);
    painter.drawText(
        inside, Qt::AlignLeft | Qt::AlignVCenter,
        painter.fontMetrics().elidedText(name, Qt::ElideMiddle, static_cast<int>(inside.width())));
}

} // namespace

QString QFTextAttachmentCell::className() const
{
    return u"QFTextAttachmentCell"_s;
}

NSSize QFTextAttachmentCell::cellSize() const
{
    const NSImagePtr image = imageOf(*this);
    return image ? image->size() : kSheet;
}

void QFTextAttachmentCell::draw(const NSRect &frame, QPainter &painter, qsizetype, QObject *)
{
    const QRectF rect(frame.x, frame.y, frame.width, frame.height);
    const NSTextAttachmentPtr ours = attachment();
    painter.save();
    if (const NSImagePtr image = imageOf(*this)) {
        const QList<NSImageRepPtr> &representations = image->representations();
        if (Canvas::isPossible(frame.width, frame.height) && !representations.isEmpty()) {
            const NSImageRepPtr &first = representations.first();
            painter.drawImage(rect.topLeft(), first->drawn(QRect(QPoint(), first->pixels()),
                                                           Canvas::rasterSize(frame.width, frame.height)));
        }
    } else if (ours && ours->fileWrapper()) {
        drawSheet(rect, ours->fileWrapper()->preferredFilename(), painter);
    }
    painter.restore();
}
