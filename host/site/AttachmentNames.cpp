#include "host/site/AttachmentNames.h"

#include "export/CVHTMLMedia.h"
#include "media/QFTextAttachment.h"
#include "media/QFTextAttachmentAttributes.h"
#include "platform/NSParagraphStyle.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"
#include "text/QFStrings.h"

#include <QHash>
#include <QSet>

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

namespace {

/// What two names have in common when their files would be one; lower case.
QString collisionKey(const QString &name)
{
    const bool isImage = CVHTMLMedia::isImageFile(pathExtension(name).toLower());
    return (isImage ? stringByDeletingPathExtension(name) : name).toLower();
}

QString numberedName(const QString &name, qsizetype number)
{
    const QString numbered = stringByDeletingPathExtension(name) + u'-' + QString::number(number);
    const QString extension = pathExtension(name);
    return extension.isEmpty() ? numbered : numbered + u'.' + extension;
}

class Namer
{
public:
    void visit(const QFTextAttachmentPtr &attachment, bool isInList, qsizetype paragraph);
    [[nodiscard]] qsizetype given() const { return _given; }

private:
    [[nodiscard]] bool takes(const QString &name);
    void give(QFTextAttachment &attachment, const QString &wanted);

    QSet<QString> _taken;
    QHash<QString, qsizetype> _numbers; ///< given last, by what names have in common
    QSet<const QFTextAttachment *> _seen;
    qsizetype _countedIn = -2; ///< where numbered names are used: a paragraph, -1 outside lists, -2 nowhere
    qsizetype _given = 0;
};

bool Namer::takes(const QString &name)
{
    const QString key = collisionKey(name);
    const bool isFree = !_taken.contains(key);
    _taken.insert(key);
    return isFree;
}

void Namer::give(QFTextAttachment &attachment, const QString &wanted)
{
    QString name = wanted;
    if (!takes(name)) {
        qsizetype &number = _numbers[collisionKey(wanted)];
        for (number = std::max<qsizetype>(number, 1) + 1; !takes(numberedName(wanted, number)); ++number) {
        }
        name = numberedName(wanted, number);
    }
    attachment.setMediaAttribute(u"filename"_s, name);
    ++_given;
    reportLoss(u"attachment-name"_s, u"two files would have one name; this one is now called "_s + name,
               name);
}

/// Outside lists the exporter counts on, and in each item from 1. The first place that uses numbers keeps
/// them.
void Namer::visit(const QFTextAttachmentPtr &attachment, bool isInList, qsizetype paragraph)
{
    if (_seen.contains(attachment.get()))
        return;
    _seen.insert(attachment.get());
    const QString stored =
        lastPathComponent(QFTextAttachmentAttributes(attachment->mediaAttributes()).fileName());
    if (!stored.isEmpty()) {
        if (!takes(stored))
            give(*attachment, stored);
        return;
    }
    const qsizetype place = isInList ? paragraph : -1;
    if (_countedIn == -2)
        _countedIn = place;
    if (_countedIn == place)
        return;
    const NSFileWrapperPtr &file = attachment->fileWrapper();
    const QString preferred = lastPathComponent(file ? file->preferredFilename() : QString());
    give(*attachment,
         preferred.isEmpty() ? u"file"_s : QFStringUtilities::stringEscapedForFilename(preferred));
}

} // namespace

qsizetype AttachmentNames::makeUnique(const NSAttributedString &text)
{
    Namer namer;
    qsizetype paragraph = 0;
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const NSAttributeDictionary &attributes = text.runs().at(run).attributes;
        const NSRange range = text.rangeOfRun(run);
        const auto attachment = std::dynamic_pointer_cast<QFTextAttachment>(
            attributes.value(NSAttachmentAttributeName).value<NSTextAttachmentPtr>());
        if (attachment) {
            const auto style = attributes.value(NSParagraphStyleAttributeName).value<NSParagraphStyle>();
            namer.visit(attachment, !style.textLists.isEmpty(), paragraph);
        }
        paragraph += QStringView(text.string()).mid(range.location, range.length).count(u'\n');
    }
    return namer.given();
}
