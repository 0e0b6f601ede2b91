#pragma once

#include "media/NSImage.h"
#include "platform/NSTextAttachmentCell.h"

#include <QVariantMap>

#include <optional>

/// Frames the cell that would otherwise show an attachment: lays out and draws a picture with its effects as
/// the exporter makes it. Where there is no underlying cell, everything is false, nothing or zero.
class QF_EXPORT QFTextAttachmentCellWrapper : public NSTextAttachmentCell
{
public:
    explicit QFTextAttachmentCellWrapper(NSTextAttachmentCellPtr underlyingCell = nullptr);
    ~QFTextAttachmentCellWrapper() override;

    [[nodiscard]] QString className() const override;
    [[nodiscard]] const NSTextAttachmentCellPtr &underlyingCell() const { return _underlyingCell; }
    /// Kind of the medium: an image, 1.
    [[nodiscard]] virtual qint32 attachmentType() const { return 1; }
    /// The attachment's media attributes; nothing for an attachment that is no QFTextAttachment.
    [[nodiscard]] std::optional<QVariantMap> mediaAttributes() const;
    /// Points around every cell: the preference "StyledTextCellBorder", or 2 where that is 0. Read once in
    /// the life of the process.
    [[nodiscard]] static qint64 cellBorder();
    /// Bounding box of a rectangle turned about the origin.
    [[nodiscard]] static NSRect rotatedRectBounds(const NSRect &rect, float by);
    /// The same origin, width and height multiplied.
    [[nodiscard]] static NSRect scaledRectBounds(const NSRect &rect, float by);

    [[nodiscard]] NSTextAttachmentPtr attachment() const override;
    void setAttachment(const NSTextAttachmentPtr &attachment) override;
    /// The underlying cell's, with the border around it.
    [[nodiscard]] NSSize cellSize() const override;
    [[nodiscard]] NSSize cellBaselineOffset() const override;
    /// The place of a picture with border, shadow and turning, from sizes that are not rounded, unlike those
    /// of the rendering; of anything else the underlying cell's place.
    [[nodiscard]] NSRect cellFrameForTextContainer(QObject *container, const NSRect &proposedLineFragment,
                                                   NSSize glyphPosition,
                                                   qsizetype characterIndex) const override;
    [[nodiscard]] bool wantsToTrackMouse() const override;
    [[nodiscard]] bool wantsToTrackMouseForEvent(QMouseEvent *event, const NSRect &inRect, QObject *ofView,
                                                 qsizetype atCharacterIndex) const override;
    bool trackMouse(QMouseEvent *event, const NSRect &inRect, QObject *ofView, bool untilMouseUp) override;
    bool trackMouse(QMouseEvent *event, const NSRect &inRect, QObject *ofView, qsizetype atCharacterIndex,
                    bool untilMouseUp) override;
    void highlight(bool isHighlighted, const NSRect &withFrame, QPainter &inView) override;

    /// Writes the underlying cell's class name only.
    void encodeWithCoder(NSKeyedArchiver &coder) const override;
    /// A name makes a fresh cell of that class, if it is a registered one; a cell is taken as it is.
    void decodeWithCoder(NSKeyedUnarchiver &coder) override;

protected:
    void draw(const NSRect &frame, QPainter &painter, qsizetype characterIndex,
              QObject *layoutManager) override;

private:
    [[nodiscard]] NSImagePtr rendering(const NSImagePtr &image, const QVariantMap &attributes);

    NSTextAttachmentCellPtr _underlyingCell;
    QVariantMap _renderedAttributes; ///< what the rendering was made from
    NSImagePtr _rendering;
};

/// Draws through the underlying cell, which shows the movie.
class QF_EXPORT QFMovieTextAttachmentCellWrapper : public QFTextAttachmentCellWrapper
{
public:
    using QFTextAttachmentCellWrapper::QFTextAttachmentCellWrapper;
    [[nodiscard]] QString className() const override;
    [[nodiscard]] qint32 attachmentType() const override { return 2; }

protected:
    void draw(const NSRect &frame, QPainter &painter, qsizetype characterIndex,
              QObject *layoutManager) override;
};

/// A document, shown by its first page.
class QF_EXPORT QFPDFTextAttachmentCellWrapper : public QFTextAttachmentCellWrapper
{
public:
    using QFTextAttachmentCellWrapper::QFTextAttachmentCellWrapper;
    [[nodiscard]] QString className() const override;
    [[nodiscard]] qint32 attachmentType() const override { return 3; }
};
