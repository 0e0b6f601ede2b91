#include "platform/NSTextAttachmentCell.h"

#include "platform/NSArchivableClasses.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"

#include <QHash>
#include <QReadWriteLock>

using namespace Qt::StringLiterals;

namespace {

struct CellClasses
{
    QReadWriteLock lock;
    QHash<QString, NSTextAttachmentCellPtr (*)()> makers;
};

CellClasses &cellClasses()
{
    static CellClasses classes;
    return classes;
}

} // namespace

NSTextAttachmentCell::~NSTextAttachmentCell() = default;

QString NSTextAttachmentCell::className() const
{
    return u"NSTextAttachmentCell"_s;
}

NSRect NSTextAttachmentCell::cellFrameForTextContainer(QObject *, const NSRect &, NSSize, qsizetype) const
{
    const NSSize size = cellSize();
    const NSSize offset = cellBaselineOffset();
    return {offset.width, offset.height, size.width, size.height};
}

bool NSTextAttachmentCell::wantsToTrackMouseForEvent(QMouseEvent *, const NSRect &, QObject *,
                                                     qsizetype) const
{
    return wantsToTrackMouse();
}

bool NSTextAttachmentCell::trackMouse(QMouseEvent *, const NSRect &, QObject *, bool)
{
    return false;
}

bool NSTextAttachmentCell::trackMouse(QMouseEvent *event, const NSRect &inRect, QObject *ofView, qsizetype,
                                      bool untilMouseUp)
{
    return trackMouse(event, inRect, ofView, untilMouseUp);
}

void NSTextAttachmentCell::highlight(bool, const NSRect &, QPainter &) {}

void NSTextAttachmentCell::encodeWithCoder(NSKeyedArchiver &) const {}

void NSTextAttachmentCell::decodeWithCoder(NSKeyedUnarchiver &) {}

void NSTextAttachmentCell::draw(const NSRect &, QPainter &, qsizetype, QObject *) {}

void NSTextAttachmentCell::registerClass(const QString &name, Maker maker, Decoder decoder)
{
    {
        const QWriteLocker locker(&cellClasses().lock);
        if (cellClasses().makers.contains(name))
            return;
        cellClasses().makers.insert(name, maker);
    }
    NSArchivableClasses::add({
        name,
        {},
        0,
        QMetaType::fromType<NSTextAttachmentCellPtr>(),
        [](const QVariant &object, NSKeyedArchiver &coder) {
            object.value<NSTextAttachmentCellPtr>()->encodeWithCoder(coder);
        },
        decoder,
        NSArchivableClasses::identityOf<NSTextAttachmentCellPtr>,
        [](const QVariant &object) { return object.value<NSTextAttachmentCellPtr>()->className(); },
    });
}

NSTextAttachmentCellPtr NSTextAttachmentCell::cellOfClass(const QString &name)
{
    const QReadLocker locker(&cellClasses().lock);
    const Maker maker = cellClasses().makers.value(name);
    return maker ? maker() : nullptr;
}
