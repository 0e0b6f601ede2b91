#include "platform/NSArchivedAttachments.h"

#include "platform/NSFileWrapper.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSTextAttachment.h"
#include "platform/NSTextAttachmentCell.h"
#include "platform/Values.h"

using namespace Qt::StringLiterals;

namespace {

// What the kind of a wrapper is called in archives.
constexpr QStringView kRegularFile = u"file";
constexpr QStringView kSymbolicLink = u"link";
constexpr QStringView kDirectory = u"folder";

constexpr quint32 kPermissionBits = 07777;

QVariant orNil(const QByteArray &bytes)
{
    return bytes.isNull() ? QVariant() : QVariant(bytes);
}

void encodeContents(const NSFileWrapper &wrapper, NSKeyedArchiver &coder)
{
    switch (wrapper.kind()) {
    case NSFileWrapper::Kind::RegularFile:
        coder.encodeObject(kRegularFile.toString(), u"kind");
        coder.encodeObject(wrapper.regularFileContents(), u"contents");
        return;
    case NSFileWrapper::Kind::SymbolicLink:
        coder.encodeObject(kSymbolicLink.toString(), u"kind");
        coder.encodeObject(wrapper.symbolicLinkDestination(), u"destination");
        return;
    case NSFileWrapper::Kind::Directory: {
        QVariantMap children;
        for (auto child = wrapper.fileWrappers().begin(); child != wrapper.fileWrappers().end(); ++child)
            children.insert(child.key(), QVariant::fromValue(child.value()));
        coder.encodeObject(kDirectory.toString(), u"kind");
        coder.encodeObject(children, u"children");
        return;
    }
    }
}

void encodeFileWrapper(const QVariant &object, NSKeyedArchiver &coder)
{
    const auto wrapper = object.value<NSFileWrapperPtr>();
    encodeContents(*wrapper, coder);
    coder.encodeObject(wrapper->filename(), u"filename");
    coder.encodeObject(wrapper->preferredFilename(), u"preferredFilename");
    coder.encodeObject(orNil(wrapper->icon()), u"icon");
    const NSFileWrapper::Attributes &attributes = wrapper->fileAttributes();
    if (attributes.posixPermissions)
        coder.encodeInt(*attributes.posixPermissions, u"posixPermissions");
    if (attributes.modificationDate.isValid())
        coder.encodeObject(attributes.modificationDate, u"modificationDate");
}

NSFileWrapperPtr decodedContents(NSKeyedUnarchiver &coder)
{
    const QString kind = stringValue(coder.decodeObject(u"kind"));
    if (kind == kRegularFile) {
        const QVariant contents = coder.decodeObject(u"contents");
        if (contents.typeId() == QMetaType::QByteArray)
            return NSFileWrapper::regularFileWithContents(contents.toByteArray());
    }
    if (kind == kSymbolicLink)
        return NSFileWrapper::symbolicLinkWithDestination(stringValue(coder.decodeObject(u"destination")));
    if (kind != kDirectory)
        return nullptr;
    QMap<QString, NSFileWrapperPtr> children;
    const auto stored = coder.decode<QVariantMap>(u"children");
    for (auto child = stored.begin(); child != stored.end(); ++child)
        children.insert(child.key(), child->value<NSFileWrapperPtr>());
    return NSFileWrapper::directoryWithNamedFileWrappers(children);
}

QVariant decodeFileWrapper(NSKeyedUnarchiver &coder)
{
    const NSFileWrapperPtr wrapper = decodedContents(coder);
    if (!wrapper)
        return {};
    wrapper->setFilename(stringValue(coder.decodeObject(u"filename")));
    wrapper->setPreferredFilename(stringValue(coder.decodeObject(u"preferredFilename")));
    wrapper->setIcon(coder.decode<QByteArray>(u"icon"));
    NSFileWrapper::Attributes attributes;
    if (const qint64 permissions = coder.decodeInt(u"posixPermissions", -1); permissions >= 0)
        attributes.posixPermissions = static_cast<quint32>(permissions) & kPermissionBits;
    attributes.modificationDate = coder.decode<QDateTime>(u"modificationDate");
    wrapper->setFileAttributes(attributes);
    return QVariant::fromValue(wrapper);
}

void encodeAttachment(const QVariant &object, NSKeyedArchiver &coder)
{
    object.value<NSTextAttachmentPtr>()->encodeWithCoder(coder);
}

QVariant decodeAttachment(NSKeyedUnarchiver &coder)
{
    const auto attachment = std::make_shared<NSTextAttachment>();
    attachment->decodeWithCoder(coder);
    if (const NSTextAttachmentCellPtr &cell = attachment->attachmentCell())
        cell->setAttachment(attachment);
    return QVariant::fromValue(attachment);
}

} // namespace

QList<NSArchivableClass> archivableAttachmentClasses()
{
    using namespace NSArchivableClasses;
    return {
        {u"NSFileWrapper"_s,
         {},
         0,
         QMetaType::fromType<NSFileWrapperPtr>(),
         encodeFileWrapper,
         decodeFileWrapper,
         identityOf<NSFileWrapperPtr>},
        {u"NSTextAttachment"_s,
         {},
         0,
         QMetaType::fromType<NSTextAttachmentPtr>(),
         encodeAttachment,
         decodeAttachment,
         identityOf<NSTextAttachmentPtr>,
         [](const QVariant &object) { return object.value<NSTextAttachmentPtr>()->className(); }},
    };
}
