#include "text/NSString+MD5_Checksum.h"

#include "text/UTF8Pieces.h"

#include <QCryptographicHash>

QByteArray MD5_Checksum::md5Checksum(const QString &text)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    const bool isText = !text.isNull() && forUTF8Pieces(text, [&hash](const char *bytes, qsizetype count) {
        hash.addData(QByteArrayView(bytes, count));
    });
    return isText ? hash.result() : QByteArray();
}
