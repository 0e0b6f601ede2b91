#include "host/TextFile.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMaximumBytes = qint64(64) << 20;

} // namespace

TextFile TextFile::read(const QString &path)
{
    QFile file(path);
    if (QFileInfo(path).isDir() || !file.open(QIODevice::ReadOnly))
        return {{}, path + u": cannot be read"_s};
    const QByteArray bytes = readAtMost(file, kMaximumBytes + 1);
    if (file.error() != QFile::NoError)
        return {{}, path + u": "_s + file.errorString()};
    if (bytes.size() > kMaximumBytes)
        return {{}, path + u": is larger than 64 MB"_s};
    QStringDecoder decoder(QStringConverter::Utf8);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return {{}, path + u": is not UTF-8"_s};
    return {text, {}};
}

QByteArray readAtMost(QIODevice &device, qint64 maximum)
{
    const qint64 expected = std::min(device.size(), maximum);
    QByteArray bytes = device.read(expected);
    if (bytes.size() == expected && expected < maximum)
        bytes += device.read(std::min<qint64>(maximum - expected, 1)); // the end, or a file without a size
    if (bytes.size() > expected)
        bytes += device.read(maximum - bytes.size());
    return bytes;
}

QByteArray utf8WithReferences(const QString &text)
{
    if (text.isValidUtf16())
        return text.toUtf8();
    QByteArray bytes;
    qsizetype copied = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (unit.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            ++i;
        } else if (unit.isSurrogate()) {
            bytes += QStringView(text).mid(copied, i - copied).toUtf8();
            bytes += "&#" + QByteArray::number(unit.unicode()) + ';';
            copied = i + 1;
        }
    }
    return bytes + QStringView(text).mid(copied).toUtf8();
}
