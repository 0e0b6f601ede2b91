#include "host/JSONFile.h"

#include "host/TextFile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMaximumBytes = qint64(64) << 20;

} // namespace

QString JSONFile::positionOf(const QByteArray &bytes, qsizetype offset)
{
    const QByteArrayView before = QByteArrayView(bytes).first(std::clamp<qsizetype>(offset, 0, bytes.size()));
    const qsizetype line = before.count('\n') + 1;
    const qsizetype column = offset - before.lastIndexOf('\n');
    return u"line "_s + QString::number(line) + u", column "_s + QString::number(column);
}

std::optional<QJsonObject> JSONFile::read(const QString &path, QString &error)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        error = path + u": cannot be read"_s;
        return {};
    }
    const QByteArray bytes = readAtMost(file, kMaximumBytes + 1);
    if (bytes.size() > kMaximumBytes) {
        error = path + u": is larger than 64 MB"_s;
        return {};
    }
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &problem);
    if (problem.error != QJsonParseError::NoError) {
        error = path + u": "_s + positionOf(bytes, problem.offset) + u": "_s + problem.errorString();
        return {};
    }
    if (!document.isObject()) {
        error = path + u": is no JSON object"_s;
        return {};
    }
    return document.object();
}
