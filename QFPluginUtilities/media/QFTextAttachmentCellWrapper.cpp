#include "media/QFTextAttachmentCellWrapper.h"

#include "media/Colours.h"
#include "media/QFTextAttachment.h"
#include "media/QFTextAttachmentAttributes.h"
#include "media/QFTextAttachmentCell.h"
#include "media/QFTransformImage.h"
#include "platform/Formatting.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSUserDefaults.h"
#include "platform/Values.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kDefaultBorder = 2;

const bool kCellsAreRegistered = [] {
    NSTextAttachmentCell::registerClass<NSTextAttachmentCell>(u"NSTextAttachmentCell"_s);
    NSTextAttachmentCell::registerClass<QFTextAttachmentCell>(u"QFTextAttachmentCell"_s);
    NSTextAttachmentCell::registerClass<QFTextAttachmentCellWrapper>(u"QFTextAttachmentCellWrapper"_s);
    NSTextAttachmentCell::registerClass<QFMovieTextAttachmentCellWrapper>(
        u"QFMovieTextAttachmentCellWrapper"_s);
    NSTextAttachmentCell::registerClass<QFPDFTextAttachmentCellWrapper>(u"QFPDFTextAttachmentCellWrapper"_s);
    return true;
}();

NSRect borderedFrame(const NSRect &frame)
{
    const auto border = static_cast<float>(QFTextAttachmentCellWrapper::cellBorder());
    return NSInsetRect(frame, -border, -border);
}

QRectF qRect(const NSRect &rect)
{
    return {rect.x, rect.y, rect.width, rect.height};
}

NSRect pictureFrame(const QFTextAttachmentAttributes &attributes)
{
    NSRect frame{0, 0, attributes.shownWidth(), attributes.shownHeight()};
    const auto grow = [&frame](float by) {
        frame.width += by;
        frame.height += by;
    };
    if (attributes.enableShadow())
        grow(attributes.shadowBlur() * 0.5F + attributes.shadowOffset());
    if (attributes.enableBorder())
        grow(2 * attributes.borderOffset());
    if (!attributes.clip())
        frame = QFTextAttachmentCellWrapper::rotatedRectBounds(frame, attributes.rotation());
    return frame;
}

} // namespace

QFTextAttachmentCellWrapper::QFTextAttachmentCellWrapper(NSTextAttachmentCellPtr underlyingCell)
    : _underlyingCell(std::move(underlyingCell))
{
}

QFTextAttachmentCellWrapper::~QFTextAttachmentCellWrapper() = default;

QString QFTextAttachmentCellWrapper::className() const
{
    return u"QFTextAttachmentCellWrapper"_s;
}

std::optional<QVariantMap> QFTextAttachmentCellWrapper::mediaAttributes() const
{
    const auto ours = std::dynamic_pointer_cast<QFTextAttachment>(attachment());
    return ours ? std::optional(ours->mediaAttributes()) : std::nullopt;
}

qint64 QFTextAttachmentCellWrapper::cellBorder()
{
    static const qint64 border = [] {
        const qint64 preferred =
            NSUserDefaults::standardUserDefaults().integerForKey(u"StyledTextCellBorder"_s);
        return preferred != 0 ? preferred : kDefaultBorder;
    }();
    return border;
}

NSRect QFTextAttachmentCellWrapper::rotatedRectBounds(const NSRect &rect, float by)
{
    return NSRotatedRectBounds(rect, by);
}

NSRect QFTextAttachmentCellWrapper::scaledRectBounds(const NSRect &rect, float by)
{
    return {rect.x, rect.y, rect.width * by, rect.height * by};
}

NSTextAttachmentPtr QFTextAttachmentCellWrapper::attachment() const
{
    return _underlyingCell ? _underlyingCell->attachment() : nullptr;
}

void QFTextAttachmentCellWrapper::setAttachment(const NSTextAttachmentPtr &attachment)
{
    if (_underlyingCell)
        _underlyingCell->setAttachment(attachment);
}

NSSize QFTextAttachmentCellWrapper::cellSize() const
{
    if (!_underlyingCell)
        return {};
    const NSSize size = _underlyingCell->cellSize();
    return borderedFrame({0, 0, size.width, size.height}).size();
}

NSSize QFTextAttachmentCellWrapper::cellBaselineOffset() const
{
    return _underlyingCell ? _underlyingCell->cellBaselineOffset() : NSSize();
}

NSRect QFTextAttachmentCellWrapper::cellFrameForTextContainer(QObject *container,
                                                              const NSRect &proposedLineFragment,
                                                              NSSize glyphPosition,
                                                              qsizetype characterIndex) const
{
    if (!_underlyingCell)
        return {};
    if (attachmentType() == 1) {
        if (const std::optional<QVariantMap> map = mediaAttributes())
            return borderedFrame(pictureFrame(QFTextAttachmentAttributes(*map)));
    }
    return _underlyingCell->cellFrameForTextContainer(container, proposedLineFragment, glyphPosition,
                                                      characterIndex);
}

bool QFTextAttachmentCellWrapper::wantsToTrackMouse() const
{
    return _underlyingCell && _underlyingCell->wantsToTrackMouse();
}

bool QFTextAttachmentCellWrapper::wantsToTrackMouseForEvent(QMouseEvent *event, const NSRect &inRect,
                                                            QObject *ofView, qsizetype atCharacterIndex) const
{
    return _underlyingCell &&
           _underlyingCell->wantsToTrackMouseForEvent(event, inRect, ofView, atCharacterIndex);
}

bool QFTextAttachmentCellWrapper::trackMouse(QMouseEvent *event, const NSRect &inRect, QObject *ofView,
                                             bool untilMouseUp)
{
    return _underlyingCell && _underlyingCell->trackMouse(event, inRect, ofView, untilMouseUp);
}

bool QFTextAttachmentCellWrapper::trackMouse(QMouseEvent *event, const NSRect &inRect, QObject *ofView,
                                             qsizetype atCharacterIndex, bool untilMouseUp)
{
    return _underlyingCell &&
           _underlyingCell->trackMouse(event, inRect, ofView, atCharacterIndex, untilMouseUp);
}

void QFTextAttachmentCellWrapper::highlight(bool isHighlighted, const NSRect &withFrame, QPainter &inView)
{
    if (_underlyingCell)
        _underlyingCell->highlight(isHighlighted, withFrame, inView);
}

void QFTextAttachmentCellWrapper::encodeWithCoder(NSKeyedArchiver &coder) const
{
    coder.encodeObject(_underlyingCell ? QVariant(_underlyingCell->className()) : QVariant());
}

void QFTextAttachmentCellWrapper::decodeWithCoder(NSKeyedUnarchiver &coder)
{
    const QVariant object = coder.decodeObject();
    if (const QString name = stringValue(object); !name.isNull()) {
        if (const NSTextAttachmentCellPtr cell = cellOfClass(name))
            _underlyingCell = cell;
    } else if (object.metaType() == QMetaType::fromType<NSTextAttachmentCellPtr>()) {
        _underlyingCell = object.value<NSTextAttachmentCellPtr>();
    }
}

NSImagePtr QFTextAttachmentCellWrapper::rendering(const NSImagePtr &image, const QVariantMap &attributes)
{
    if (!_rendering || !sameValue(attributes, _renderedAttributes)) {
        _rendering = QFTransformImage::transformImageUsingAttributesAndScreenResolution(image, attributes);
        _renderedAttributes = attributes;
    }
    return _rendering;
}

/// The painter's y grows downwards, so that pictures stand upright without being flipped.
void QFTextAttachmentCellWrapper::draw(const NSRect &frame, QPainter &painter, qsizetype, QObject *)
{
    const auto ours = std::dynamic_pointer_cast<QFTextAttachment>(attachment());
    if (!_underlyingCell)
        return;
    const QVariantMap map = mediaAttributes().value_or(QVariantMap());
    const QFTextAttachmentAttributes attributes(map);
    painter.save();
    if (!attributes.enableBorder() && !attributes.enableShadow()) {
        painter.setPen(qColor(NSColor::lightGrayColor()).value_or(QColor()));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(qRect(NSInsetRect(frame, 0.5F, 0.5F)));
    }
    const auto border = static_cast<float>(cellBorder());
    const NSRect inside = NSInsetRect(frame, border, border);
    if (!ours)
        painter.fillRect(qRect(inside), Qt::white);
    else if (const std::optional<QColor> fill = qColor(attributes.fillColour()))
        painter.fillRect(qRect(inside), *fill);
    if (const NSImagePtr image = ours ? ours->image() : nullptr) {
        const QImage pixels = rendering(image, map)->bitmap();
        painter.drawImage(QPointF(inside.x, inside.y), pixels);
    }
    painter.restore();
}

QString QFMovieTextAttachmentCellWrapper::className() const
{
    return u"QFMovieTextAttachmentCellWrapper"_s;
}

void QFMovieTextAttachmentCellWrapper::draw(const NSRect &frame, QPainter &painter, qsizetype characterIndex,
                                            QObject *layoutManager)
{
    if (const NSTextAttachmentCellPtr &cell = underlyingCell())
        cell->drawWithFrame(frame, painter, characterIndex, layoutManager);
}

QString QFPDFTextAttachmentCellWrapper::className() const
{
    return u"QFPDFTextAttachmentCellWrapper"_s;
}
