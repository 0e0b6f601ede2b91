#include "host/build/ExtraFiles.h"

#include "host/site/Site.h"
#include "host/site/SiteReader.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "plugin/QFPluginRecords.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

namespace {

void refuse(const QString &what, const QString &name)
{
    reportLoss(u"subpage"_s, what, name.left(200));
}

/// A clean path inside the published site; nil for one that leads out of it or into the builder's folder.
QString publishedPath(const QString &folder, const QString &destination)
{
    const QString joined =
        destination.startsWith(u'/') ? destination.mid(1) : joinedPath(folder, destination);
    const QString path = QDir::cleanPath(joined);
    const QStringList parts = path.split(u'/');
    const bool isSafe = std::all_of(parts.begin(), parts.end(), [](const QString &part) {
        return !part.isEmpty() && part != u"." && part != u".." && part.toUtf8().size() <= 255 &&
               std::none_of(part.begin(), part.end(), [](QChar unit) { return unit < u' '; });
    });
    return isSafe && parts.first().compare(kBuilderFolder, Qt::CaseInsensitive) != 0 ? path : QString();
}

std::optional<ExtraFile> readCopy(const QString &path, const QString &siteFolder)
{
    const QFileInfo file(QDir(siteFolder).filePath(path));
    if (path.contains(QChar(0)) || !file.isFile()) {
        refuse(u"there is no such file to be copied"_s, path);
        return {};
    }
    ExtraFile extra;
    extra.kind = ExtraFile::Kind::Copy;
    extra.name = file.fileName();
    extra.source = file.absoluteFilePath();
    return extra;
}

/// False for a record without content of a right type.
bool readContent(const QVariantMap &record, ExtraFile &extra)
{
    const QVariant whole = record.value(kQFSubpageEntireHTMLKey.toString());
    const QVariant data = record.value(kQFSubpageContentDataKey.toString());
    if (record.contains(kQFSubpageSubstitutionsKey.toString())) {
        extra.kind = ExtraFile::Kind::Content;
        extra.title = stringValue(record.value(u"title"_s));
        extra.text = stringValue(record.value(kQFSubpageSubstitutionsKey.toString())
                                     .toMap()
                                     .value(kQFSubpageContentKey.toString()));
        return !extra.text.isNull();
    }
    if (!isNil(whole)) {
        extra.kind = ExtraFile::Kind::Page;
        extra.text = stringValue(whole);
        return !extra.text.isNull();
    }
    extra.kind = ExtraFile::Kind::Data;
    extra.data = data.toByteArray();
    return data.metaType() == QMetaType::fromType<QByteArray>();
}

std::optional<ExtraFile> readRecord(const QVariantMap &record, const QString &folder,
                                    const QString &extension)
{
    ExtraFile extra;
    extra.name = stringValue(record.value(kQFSubpageNameKey.toString()));
    if (!readContent(record, extra)) {
        refuse(u"a subpage has no content"_s, extra.name);
        return {};
    }
    const bool isHTML = extra.kind != ExtraFile::Kind::Data;
    if (isHTML && !extra.name.isEmpty() && pathExtension(extra.name).isEmpty() && !extension.isEmpty())
        extra.name += u'.' + extension;
    const QString destination = stringValue(record.value(kQFSubpageDestinationKey.toString()));
    if (!destination.isEmpty()) {
        extra.destination =
            publishedPath(folder, destination.endsWith(u'/') ? destination + extra.name : destination);
        if (!extra.destination.isNull())
            return extra;
        refuse(u"a file's destination lies outside the site"_s, destination);
        return {};
    }
    if (SiteReader::isSafeName(extra.name))
        return extra;
    refuse(u"a subpage has no safe name"_s, extra.name);
    return {};
}

} // namespace

QList<ExtraFile> ExtraFiles::read(const QVariant &answer, const QString &folder, const QString &extension,
                                  const QString &siteFolder)
{
    QList<ExtraFile> files;
    // Texts count as lists of characters to QVariant.
    const bool isText =
        !stringValue(answer).isNull() || answer.metaType() == QMetaType::fromType<QByteArray>();
    const bool isList = !isText && answer.canConvert<QVariantList>();
    if (!isNil(answer) && !isList)
        refuse(u"the plug-in's list of extra files is no list"_s, {});
    const QVariantList elements = isList ? answer.toList() : QVariantList();
    for (const QVariant &element : elements) {
        const QString path = stringValue(element);
        const std::optional<ExtraFile> file =
            path.isNull() ? readRecord(element.toMap(), folder, extension) : readCopy(path, siteFolder);
        if (file)
            files.append(*file);
    }
    return files;
}
