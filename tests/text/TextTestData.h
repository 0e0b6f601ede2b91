#pragma once

#include <QList>
#include <QRandomGenerator>
#include <QString>

/// A random text out of an alphabet; the same seed gives the same text.
inline QString randomText(QRandomGenerator &random, QStringView alphabet, qsizetype length)
{
    QString text(length, Qt::Uninitialized);
    for (QChar &unit : text)
        unit = alphabet[random.bounded(alphabet.size())];
    return text;
}

/// Lengths around every block size, so that each unit comes to stand at each place of a block and of a tail.
inline QList<qsizetype> lengthsAroundBlocks()
{
    QList<qsizetype> lengths;
    for (qsizetype length = 0; length < 150; ++length)
        lengths.append(length);
    return lengths << 511 << 512 << 4095 << 4096 << 4097 << 10000;
}
