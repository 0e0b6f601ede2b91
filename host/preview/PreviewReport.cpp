#include "host/preview/PreviewReport.h"

#include "host/build/BuildManifest.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

QList<QFReportRecord> recordsFrom(const QJsonArray &json)
{
    QList<QFReportRecord> records;
    for (const auto &value : json) {
        const QJsonObject fields = value.toObject();
        QFReportRecord record;
        record.kind = fields.value(u"kind"_s).toString();
        record.message = fields.value(u"message"_s).toString();
        record.page = fields.value(u"page"_s).toString();
        record.file = fields.value(u"file"_s).toString();
        records.append(record);
    }
    return records;
}

/// What an earlier build has left of pages that the last one could not make.
QHash<QByteArray, QString> filesOf(const QJsonArray &pages, const BuildManifest &manifest)
{
    QHash<QByteArray, QString> files;
    for (const auto &page : pages) {
        const QString id = page.toString();
        for (const BuiltFile &file : manifest.pages.value(id).files)
            files.insert(QFile::encodeName(file.path), id);
    }
    return files;
}

} // namespace

PreviewReport PreviewReport::ofBuild(const QByteArray &summary, const QByteArray &report,
                                     const QString &output)
{
    PreviewReport result;
    const QJsonObject json = QJsonDocument::fromJson(summary).object();
    if (json.isEmpty()) {
        result.outcome = Outcome::Failed;
        result.problems = recordsFrom(QJsonDocument::fromJson(report).array());
        return result;
    }
    const BuildManifest manifest = BuildManifest::read(output);
    result.outcome = Outcome::Built;
    result.problems = recordsFrom(json.value(u"records"_s).toArray());
    result.failedFiles = filesOf(json.value(u"failedPages"_s).toArray(), manifest);
    result.written = json.value(u"written"_s).toInteger() + json.value(u"pruned"_s).toInteger();
    if (!manifest.index.isEmpty())
        result.index = QFile::encodeName(manifest.index);
    return result;
}
