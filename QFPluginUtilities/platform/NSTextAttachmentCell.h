#pragma once

#include "platform/NSGeometry.h"
#include "platform/NSTextAttachment.h"
#include "platform/QFExport.h"

#include <QString>
#include <QVariant>

#include <memory>

class NSTextAttachmentCell;
class QMouseEvent;
class QObject;
class QPainter;
using NSTextAttachmentCellPtr = std::shared_ptr<NSTextAttachmentCell>;

/// Lays out and draws an embedded file in a text view. This one takes no room and draws nothing. Frames are
/// in points, with y growing as the painter's does.
class QF_EXPORT NSTextAttachmentCell
{
public:
    NSTextAttachmentCell() = default;
    NSTextAttachmentCell(const NSTextAttachmentCell &) = delete;
    NSTextAttachmentCell &operator=(const NSTextAttachmentCell &) = delete;
    virtual ~NSTextAttachmentCell();

    /// Class name under which archives store the cell.
    [[nodiscard]] virtual QString className() const;

    /// Not owned; nullptr when it is gone.
    [[nodiscard]] virtual NSTextAttachmentPtr attachment() const { return _attachment.lock(); }
    virtual void setAttachment(const NSTextAttachmentPtr &attachment) { _attachment = attachment; }

    [[nodiscard]] virtual NSSize cellSize() const { return {}; }
    /// How far the cell's lower edge is from the baseline, in x and y.
    [[nodiscard]] virtual NSSize cellBaselineOffset() const { return {}; }
    /// The cell's place, relative to where it stands in the text.
    [[nodiscard]] virtual NSRect cellFrameForTextContainer(QObject *container,
                                                           const NSRect &proposedLineFragment,
                                                           NSSize glyphPosition,
                                                           qsizetype characterIndex) const;

    [[nodiscard]] virtual bool wantsToTrackMouse() const { return false; }
    [[nodiscard]] virtual bool wantsToTrackMouseForEvent(QMouseEvent *event, const NSRect &inRect,
                                                         QObject *ofView, qsizetype atCharacterIndex) const;
    virtual bool trackMouse(QMouseEvent *event, const NSRect &inRect, QObject *ofView, bool untilMouseUp);
    virtual bool trackMouse(QMouseEvent *event, const NSRect &inRect, QObject *ofView,
                            qsizetype atCharacterIndex, bool untilMouseUp);

    virtual void highlight(bool isHighlighted, const NSRect &withFrame, QPainter &inView);
    void drawWithFrame(const NSRect &frame, QPainter &inView) { draw(frame, inView, -1, nullptr); }
    void drawWithFrame(const NSRect &frame, QPainter &inView, qsizetype characterIndex)
    {
        draw(frame, inView, characterIndex, nullptr);
    }
    void drawWithFrame(const NSRect &frame, QPainter &inView, qsizetype characterIndex,
                       QObject *layoutManager)
    {
        draw(frame, inView, characterIndex, layoutManager);
    }

    virtual void encodeWithCoder(NSKeyedArchiver &coder) const;
    virtual void decodeWithCoder(NSKeyedUnarchiver &coder);

    /// Makes a class of cells known to archives by its name; a second class of that name is not taken. Any
    /// thread.
    template <typename Cell>
    static void registerClass(const QString &name)
    {
        registerClass(
            name, [] { return NSTextAttachmentCellPtr(std::make_shared<Cell>()); },
            [](NSKeyedUnarchiver &coder) {
                const NSTextAttachmentCellPtr cell = std::make_shared<Cell>();
                cell->decodeWithCoder(coder);
                return QVariant::fromValue(cell);
            });
    }
    /// A fresh cell of a class that has been registered; nullptr for any other name.
    [[nodiscard]] static NSTextAttachmentCellPtr cellOfClass(const QString &name);

protected:
    /// `characterIndex` is -1 and the layout manager nullptr where the view does not say.
    virtual void draw(const NSRect &frame, QPainter &painter, qsizetype characterIndex,
                      QObject *layoutManager);

private:
    using Maker = NSTextAttachmentCellPtr (*)();
    using Decoder = QVariant (*)(NSKeyedUnarchiver &coder);
    static void registerClass(const QString &name, Maker maker, Decoder decoder);

    std::weak_ptr<NSTextAttachment> _attachment;
};

Q_DECLARE_METATYPE(NSTextAttachmentCellPtr)
