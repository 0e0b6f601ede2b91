#include "host/build/PageResult.h"

#include <QDataStream>
#include <QIODevice>

namespace {

QDataStream &operator<<(QDataStream &stream, const FileStamp &stamp)
{
    return stream << stamp.inode << stamp.size << stamp.modified << stamp.changed;
}

QDataStream &operator>>(QDataStream &stream, FileStamp &stamp)
{
    return stream >> stamp.inode >> stamp.size >> stamp.modified >> stamp.changed;
}

QDataStream &operator<<(QDataStream &stream, const BuiltFile &file)
{
    return stream << file.path << file.stamp << file.isWritten;
}

QDataStream &operator>>(QDataStream &stream, BuiltFile &file)
{
    return stream >> file.path >> file.stamp >> file.isWritten;
}

QDataStream &operator<<(QDataStream &stream, const SharedFile &file)
{
    return stream << file.path << file.staged;
}

QDataStream &operator>>(QDataStream &stream, SharedFile &file)
{
    return stream >> file.path >> file.staged;
}

QDataStream &operator<<(QDataStream &stream, const QFReportRecord &record)
{
    return stream << record.kind << record.message << record.page << qint64(record.range.location)
                  << qint64(record.range.length) << record.file << record.logged;
}

QDataStream &operator>>(QDataStream &stream, QFReportRecord &record)
{
    qint64 location = 0;
    qint64 length = 0;
    stream >> record.kind >> record.message >> record.page >> location >> length >> record.file >>
        record.logged;
    record.range = {location, length};
    return stream;
}

template <typename Value>
void write(QDataStream &stream, const QList<Value> &list)
{
    stream << qint64(list.size());
    for (const Value &value : list)
        stream << value;
}

template <typename Value>
void read(QDataStream &stream, QList<Value> &list)
{
    qint64 size = 0;
    stream >> size;
    while (size-- > 0 && stream.status() == QDataStream::Ok)
        stream >> list.emplaceBack();
}

} // namespace

QByteArray PageResult::toBytes() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << isDone << isRepeatable << reads << omittedRecords;
    write(stream, files);
    write(stream, shared);
    stream << consulted;
    write(stream, records);
    return bytes;
}

PageResult PageResult::fromBytes(const QByteArray &bytes)
{
    PageResult result;
    QDataStream stream(bytes);
    stream >> result.isDone >> result.isRepeatable >> result.reads >> result.omittedRecords;
    read(stream, result.files);
    read(stream, result.shared);
    stream >> result.consulted;
    read(stream, result.records);
    return result;
}
