// Feeds arbitrary bytes to the readers of archives and property lists. Whatever is read must be writable and,
// where it is plain, read back the same.

#include "export/NSAttributedString+QFTextViewExtensions.h"
#include "media/NSAttributedString+Attachments.h"
#include "platform/NSFont.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSParagraphStyle.h"
#include "platform/NSPropertyList.h"
#include "platform/Values.h"
#include "plugin/QFLink.h"

#include <QFile>
#include <QUrl>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// A text with a bit of everything, so that fuzzing starts with all class names.
NSAttributedString sample()
{
    const auto table = std::make_shared<NSTextTable>();
    const auto cell = std::make_shared<NSTextTableBlock>();
    cell->table = table;
    cell->backgroundColor = NSColor::whiteColor();
    NSParagraphStyle style;
    style.textLists = {{u"{disc}"_s}};
    style.textBlocks = {cell};
    const auto file = NSFileWrapper::regularFileWithContents("x");
    file->setFileAttributes({0644, QDateTime::fromMSecsSinceEpoch(0, Qt::UTC)});
    const auto folder = NSFileWrapper::directoryWithNamedFileWrappers(
        {{u"f"_s, file}, {u"l"_s, NSFileWrapper::symbolicLinkWithDestination(u"f"_s)}});
    const auto attachment = std::make_shared<QFTextAttachment>(folder);
    (void)attachment->mediaAttributes();
    attachment->setCachedImage("c");
    NSMutableAttributedString text;
    text.append(u"a\u00E9"_s,
                {{NSFontAttributeName, QVariant::fromValue(NSFont::fontWithName(u"ArialMT"_s, 12))},
                 {NSLinkAttributeName, QVariant::fromValue(std::make_shared<QFLink>(u"h"_s, true))}});
    text.append(u"b"_s,
                {{NSParagraphStyleAttributeName, QVariant::fromValue(style)},
                 {NSForegroundColorAttributeName, QVariant::fromValue(NSColor::calibratedRGB(0.5F, 0, 1))}});
    text.append(u"\uFFFC"_s,
                {{NSAttachmentAttributeName, QVariant::fromValue<NSTextAttachmentPtr>(attachment)},
                 {NSLinkAttributeName, QUrl(u"http://example.org/"_s)}});
    return text.copy();
}

void writeSeeds(const QString &folder)
{
    const auto write = [&folder](const QString &name, const QByteArray &bytes) {
        QFile file(folder + u'/' + name);
        if (!file.exists() && file.open(QIODevice::WriteOnly))
            file.write(bytes);
    };
    const QByteArray archive = QFTextViewExtensions::createArchiveFromSelection(sample(), {0, 100});
    const QVariant list = NSPropertyList::propertyListFromData(archive);
    write(u"seed-binary"_s, archive);
    write(u"seed-xml"_s, NSPropertyList::dataFromPropertyList(list, NSPropertyListFormat::XML));
}

} // namespace

/// Puts an archive and its XML form into the first folder that is named on the command line.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    for (int i = 1; i < *argc; ++i) {
        const QString argument = QFile::decodeName((*argv)[i]);
        if (!argument.startsWith(u'-')) {
            writeSeeds(argument);
            break;
        }
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));

    const QVariant list = NSPropertyList::propertyListFromData(bytes);
    if (!isNil(list)) {
        const QByteArray written = NSPropertyList::dataFromPropertyList(list, NSPropertyListFormat::Binary);
        require(sameValue(NSPropertyList::propertyListFromData(written), list));
    }

    const QVariant root = NSKeyedUnarchiver::unarchiveObjectWithData(bytes);
    if (!isNil(root)) {
        const QByteArray written = NSKeyedArchiver::archivedDataWithRootObject(root);
        require(!isNil(NSKeyedUnarchiver::unarchiveObjectWithData(written)));
    }
    if (root.metaType() == QMetaType::fromType<NSAttributedString>()) {
        const auto text = root.value<NSAttributedString>();
        for (const auto &attachment : Attachments::attachments(text))
            (void)attachment->mediaAttributes();
        const auto again =
            QFTextViewExtensions::createStringFromArchive(NSKeyedArchiver::archivedDataWithRootObject(root));
        require(again && again->string() == text.string() && again->runs().size() == text.runs().size());
    }
    return 0;
}
