#include "host/build/BuildManifest.h"

#include "host/site/Site.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFormat = 1;

/// JSON's numbers are too small for nanoseconds.
QString written(const FileStamp &stamp)
{
    return QString::number(stamp.inode) + u' ' + QString::number(stamp.size) + u' ' +
           QString::number(stamp.modified) + u' ' + QString::number(stamp.changed);
}

FileStamp stampFrom(const QString &text)
{
    const QStringList numbers = text.split(u' ');
    if (numbers.size() != 4)
        return {};
    return {numbers.at(0).toULongLong(), numbers.at(1).toLongLong(), numbers.at(2).toLongLong(),
            numbers.at(3).toLongLong()};
}

QJsonObject written(const QFReportRecord &record)
{
    QJsonObject json{{u"kind"_s, record.kind}, {u"message"_s, record.message}, {u"logged"_s, record.logged}};
    if (!record.page.isNull())
        json.insert(u"page"_s, record.page);
    if (record.range.location != NSNotFound) {
        json.insert(u"location"_s, record.range.location);
        json.insert(u"length"_s, record.range.length);
    }
    if (!record.file.isNull())
        json.insert(u"file"_s, record.file);
    return json;
}

QFReportRecord recordFrom(const QJsonObject &json)
{
    QFReportRecord record;
    record.kind = json.value(u"kind"_s).toString();
    record.message = json.value(u"message"_s).toString();
    record.logged = json.value(u"logged"_s).toBool();
    if (json.contains(u"page"_s))
        record.page = json.value(u"page"_s).toString();
    if (json.contains(u"location"_s))
        record.range = {json.value(u"location"_s).toInteger(), json.value(u"length"_s).toInteger()};
    if (json.contains(u"file"_s))
        record.file = json.value(u"file"_s).toString();
    return record;
}

QJsonObject written(const BuiltPart &part)
{
    QJsonObject json{{u"key"_s, part.key}};
    QJsonObject files;
    for (const BuiltFile &file : part.files)
        files.insert(file.path, written(file.stamp));
    json.insert(u"files"_s, files);
    QJsonObject reads;
    for (auto read = part.reads.begin(); read != part.reads.end(); ++read)
        reads.insert(read.key(), written(read.value()));
    if (!reads.isEmpty())
        json.insert(u"reads"_s, reads);
    if (part.isRepeatable)
        json.insert(u"repeatable"_s, true);
    if (!part.consulted.isEmpty())
        json.insert(u"consulted"_s, QJsonArray::fromStringList(part.consulted));
    QJsonArray records;
    for (const QFReportRecord &record : part.records)
        records.append(written(record));
    if (!records.isEmpty())
        json.insert(u"records"_s, records);
    return json;
}

QStringList stringsFrom(const QJsonValue &json)
{
    QStringList strings;
    const QJsonArray array = json.toArray();
    for (const auto &element : array)
        strings.append(element.toString());
    return strings;
}

BuiltPart partFrom(const QJsonObject &json)
{
    BuiltPart part;
    part.key = json.value(u"key"_s).toString();
    const QJsonObject files = json.value(u"files"_s).toObject();
    for (auto file = files.begin(); file != files.end(); ++file)
        part.files.append({file.key(), stampFrom(file.value().toString()), false});
    const QJsonObject reads = json.value(u"reads"_s).toObject();
    for (auto read = reads.begin(); read != reads.end(); ++read)
        part.reads.insert(read.key(), stampFrom(read.value().toString()));
    part.consulted = stringsFrom(json.value(u"consulted"_s));
    part.isRepeatable = json.value(u"repeatable"_s).toBool();
    const QJsonArray records = json.value(u"records"_s).toArray();
    for (const auto &record : records)
        part.records.append(recordFrom(record.toObject()));
    return part;
}

QJsonObject written(const QMap<QString, BuiltPart> &parts)
{
    QJsonObject json;
    for (auto part = parts.begin(); part != parts.end(); ++part)
        json.insert(part.key(), written(part.value()));
    return json;
}

QMap<QString, BuiltPart> partsFrom(const QJsonValue &value)
{
    QMap<QString, BuiltPart> parts;
    const QJsonObject json = value.toObject();
    for (auto part = json.begin(); part != json.end(); ++part)
        parts.insert(part.key(), partFrom(part.value().toObject()));
    return parts;
}

} // namespace

bool BuiltPart::isIntact(const QString &output) const
{
    const bool hasFiles = std::all_of(files.begin(), files.end(), [&output](const BuiltFile &file) {
        return file.stamp.exists() && FileStamp::ofFile(output + u'/' + file.path) == file.stamp;
    });
    if (!hasFiles)
        return false;
    for (auto read = reads.begin(); read != reads.end(); ++read) {
        if (FileStamp::ofFile(read.key()) != read.value())
            return false;
    }
    return true;
}

QStringList BuildManifest::allFiles() const
{
    QStringList files;
    for (const auto *parts : {&pages, &kinds, &copies}) {
        for (const BuiltPart &part : *parts) {
            for (const BuiltFile &file : part.files)
                files.append(file.path);
        }
    }
    return files;
}

QString BuildManifest::file()
{
    return kBuilderFolder + u"/manifest.json"_s;
}

BuildManifest BuildManifest::read(const QString &output)
{
    QFile file(output + u'/' + BuildManifest::file());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QJsonObject json = QJsonDocument::fromJson(file.readAll()).object();
    if (json.value(u"format"_s).toInt() != kFormat)
        return {};
    return {partsFrom(json.value(u"pages"_s)),  partsFrom(json.value(u"kinds"_s)),
            partsFrom(json.value(u"copies"_s)), json.value(u"root"_s).toString(),
            json.value(u"index"_s).toString(),  stringsFrom(json.value(u"orphans"_s))};
}

QByteArray BuildManifest::toJson() const
{
    const QJsonObject json{{u"format"_s, kFormat},
                           {u"pages"_s, written(pages)},
                           {u"kinds"_s, written(kinds)},
                           {u"copies"_s, written(copies)},
                           {u"root"_s, root},
                           {u"index"_s, index},
                           {u"orphans"_s, QJsonArray::fromStringList(orphans)}};
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}
