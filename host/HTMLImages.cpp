#include "host/HTMLImages.h"

#include "host/ContainedPath.h"
#include "platform/NSStringPathExtensions.h"

#include <QFileInfo>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMaximumBytes = qint64(1) << 30; // of all pictures of a document

bool hasScheme(QStringView source)
{
    const qsizetype colon = source.indexOf(u':');
    const qsizetype slash = source.indexOf(u'/');
    return colon > 0 && (slash < 0 || colon < slash);
}

/// A picture written into its address: "data:image/png;base64,…".
NSFileWrapperPtr pictureInAddress(const QString &source)
{
    const qsizetype comma = source.indexOf(u',');
    const QStringView header = QStringView(source).left(comma);
    if (comma < 0 || !header.startsWith(u"data:image/", Qt::CaseInsensitive) ||
        !header.endsWith(u";base64", Qt::CaseInsensitive))
        return nullptr;
    const auto decoded = QByteArray::fromBase64Encoding(
        QUrl::fromPercentEncoding(QStringView(source).mid(comma + 1).toUtf8()).toLatin1());
    if (!decoded || decoded.decoded.isEmpty())
        return nullptr;
    const QStringView type = header.mid(11, header.indexOf(u';') - 11);
    // "svg+xml" is named after what stands before the plus.
    QString extension = type.contains(u"jpeg") ? u"jpg"_s : type.toString().section(u'+', 0, 0).toLower();
    for (QChar &unit : extension) {
        if (!unit.isLetterOrNumber())
            unit = u'_';
    }
    const NSFileWrapperPtr file = NSFileWrapper::regularFileWithContents(decoded.decoded);
    file->setPreferredFilename(u"image."_s + extension.left(16));
    return ImportedPicture::exportable(file);
}

NSFileWrapperPtr copyOf(const NSFileWrapperPtr &file)
{
    const NSFileWrapperPtr copy = NSFileWrapper::regularFileWithContents(file->regularFileContents());
    copy->setFilename(file->filename());
    copy->setPreferredFilename(file->preferredFilename());
    copy->setFileAttributes(file->fileAttributes());
    return copy;
}

} // namespace

std::shared_ptr<QFTextAttachment> HTMLImages::attachment(const QString &source, const QString &alternative,
                                                         const Size &size, bool keepsName)
{
    const QString address = source.trimmed();
    const bool inAddress = address.startsWith(u"data:", Qt::CaseInsensitive);
    const NSFileWrapperPtr file = inAddress ? pictureInAddress(address) : localFile(address);
    if (!file)
        return nullptr;
    auto attachment = std::make_shared<QFTextAttachment>(file);
    QVariantMap media = ImportedPicture::sized(attachment->mediaAttributes(), size);
    if (!alternative.isNull())
        media[u"alttag"_s] = alternative;
    if (keepsName)
        media[u"filename"_s] = uniqueName(*file);
    attachment->setMediaAttributes(media);
    return attachment;
}

/// The picture's own name, with a number when another picture has taken it.
QString HTMLImages::uniqueName(const NSFileWrapper &file)
{
    const QString name = file.preferredFilename();
    const QString stem = NSStringPathExtensions::stringByDeletingPathExtension(name);
    const QString extension = NSStringPathExtensions::pathExtension(name);
    QString candidate = name;
    while (_names.contains(candidate) && _names.value(candidate) != file.regularFileContents()) {
        int &number = _numbers[name];
        number = std::max(number + 1, 2);
        candidate = stem + u'-' + QString::number(number) + u'.' + extension;
    }
    _names.insert(candidate, file.regularFileContents());
    return candidate;
}

NSFileWrapperPtr HTMLImages::localFile(const QString &source)
{
    if (hasScheme(source) || source.startsWith(u'/'))
        return nullptr;
    const QString name = QUrl::fromPercentEncoding(source.section(u'#', 0, 0).section(u'?', 0, 0).toUtf8());
    const QString path = QFileInfo(containedPath(_baseFolder, name)).canonicalFilePath();
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return nullptr;
    NSFileWrapperPtr &known = _files[path];
    if (!known) {
        known = NSFileWrapper::wrapperWithPath(path, kMaximumBytes - _bytes);
        if (!known || !known->isRegularFile())
            return nullptr;
        _bytes += known->regularFileContents().size();
        known = ImportedPicture::exportable(known);
    }
    return copyOf(known);
}
