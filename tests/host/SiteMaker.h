#pragma once

#include "host/site/SiteReader.h"
#include "platform/QFReport.h"
#include "tests/Files.h"
#include "tests/Rows.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTemporaryDir>

/// JSON in which strings may stand between single quotation marks, and `*` for the plug-in of a page.
inline QByteArray json(const QString &text)
{
    return QString(text)
        .replace(u'\'', u'"')
        .replace(u'*', QStringLiteral("\"plugin\": \"com.example.test-page\""))
        .replace(u'@', QStringLiteral("\"plugin\": \"com.example.test-telling-page\""))
        .toUtf8();
}

inline QString messagesOf(const QList<QFReportRecord> &records)
{
    QStringList messages;
    for (const QFReportRecord &record : records)
        messages.append(record.page + u'|' + record.message + u'|' + record.file);
    return messages.join(u'\n');
}

/// A folder with a site, which a test writes, and room beside it for what is made of it.
class SiteMaker
{
public:
    [[nodiscard]] QString path(const QString &name) const { return _folder.filePath(name); }
    [[nodiscard]] QString site() const { return path(QStringLiteral("site")); }
    [[nodiscard]] QString output() const { return path(QStringLiteral("out")); }

    /// Writes a file, and the folders above it.
    void write(const QString &name, const QByteArray &bytes) const
    {
        if (!::write(path(name), bytes))
            qFatal("%s cannot be written", qPrintable(name));
    }
    /// Writes `site.json` with these pages, in JSON as above.
    void writePages(const QString &pages) const
    {
        write(QStringLiteral("site/site.json"),
              json(QStringLiteral("{'title': 'Site', 'pages': [") + pages + QStringLiteral("]}")));
    }
    [[nodiscard]] QByteArray read(const QString &name) const { return contents(path(name)); }
    /// Bytes of all files below a folder by path, the builder's own left out.
    [[nodiscard]] QMap<QString, QByteArray> files(const QString &folder) const
    {
        QMap<QString, QByteArray> files;
        QDirIterator entries(path(folder), QDir::Files | QDir::Hidden | QDir::System,
                             QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            const QString name = entries.next().mid(path(folder).size() + 1);
            if (!name.startsWith(u".qf/"))
                files.insert(name, read(folder + u'/' + name));
        }
        return files;
    }

private:
    QTemporaryDir _folder;
};
