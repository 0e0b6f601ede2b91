#include "host/StyledTextJSON.h"
#include "host/StyledTextJSONValues.h"

#include "media/QFTextAttachment.h"
#include "platform/NSParagraphStyle.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;
namespace Values = StyledTextJSONValues;

namespace {

constexpr qsizetype kMaximumFileNameLength = 80; // units, so that UTF-8 stays below 255 bytes

/// The objects of one kind in the order of their first use, each with an ID and its JSON.
template <typename T>
class ObjectTable
{
public:
    explicit ObjectTable(QChar letter) : _letter(letter) {}

    /// ID of the object; `describe` is called at its first use.
    template <typename Describe>
    QString idOf(const T *object, Describe describe)
    {
        QString &id = _ids[object];
        if (id.isNull()) {
            id = _letter + QString::number(_ids.size());
            const QString made = id; // describing may enter further objects elsewhere, never here
            _rows.append({made, describe()});
            return made;
        }
        return id;
    }
    [[nodiscard]] const QList<std::pair<QString, QJsonObject>> &rows() const { return _rows; }

private:
    QChar _letter;
    QHash<const T *, QString> _ids;
    QList<std::pair<QString, QJsonObject>> _rows;
};

/// Names for attached files that are safe in a folder and different there, on any file system.
class FileNames
{
public:
    QString nameFor(const QString &preferred)
    {
        const QString name = safeName(preferred);
        const QString extension = NSStringPathExtensions::pathExtension(name);
        const QString stem = extension.isEmpty() ? name : name.chopped(extension.size() + 1);
        QString candidate = name;
        int &number = _numbers[name];
        while (_taken.contains(candidate.toCaseFolded())) {
            number = std::max(number + 1, 2);
            candidate = stem + u'-' + QString::number(number);
            if (!extension.isEmpty())
                candidate += u'.' + extension;
        }
        _taken.insert(candidate.toCaseFolded());
        return candidate;
    }

private:
    static QString safeName(const QString &preferred)
    {
        QString name = NSStringPathExtensions::lastPathComponent(preferred).right(kMaximumFileNameLength);
        for (QChar &unit : name) {
            if (unit.category() == QChar::Other_Control || unit.isSurrogate() || unit == u'/' ||
                unit == u'\\')
                unit = u'_';
        }
        while (name.startsWith(u'.'))
            name.remove(0, 1);
        return name.isEmpty() ? u"attachment"_s : name;
    }

    QSet<QString> _taken;
    QHash<QString, int> _numbers; ///< last number given to a name
};

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

template <typename T>
const T *pointerUnder(const NSAttributeDictionary &attributes, NSAttributeKey key)
{
    const auto *found = attributes.find<std::shared_ptr<T>>(key);
    return found ? found->get() : nullptr;
}

class Writer
{
public:
    explicit Writer(QString filesFolder) : _filesFolder(std::move(filesFolder)) {}

    StyledTextJSON::Written write(const NSAttributedString &text);

private:
    void countObjects(const NSAttributedString &text);
    QByteArray runLine(const QString &text, const NSAttributeDictionary &attributes);
    QByteArray attributesJson(const NSAttributeDictionary &attributes);
    QJsonValue valueJson(const NSAttributeDictionary::Entry &entry);
    QJsonValue paragraphStyleJson(const NSParagraphStyle &style);
    QJsonValue linkJson(const QFLinkPtr &link);
    QJsonValue attachmentJson(const NSTextAttachmentPtr &attachment);
    QJsonObject attachmentObject(NSTextAttachment &attachment);
    QJsonObject cellObject(const NSTextTableBlock &cell);
    static QJsonObject mediaAttributesJson(const QVariantMap &attributes);
    template <typename T>
    static void appendTable(QByteArray &json, const char *name, const ObjectTable<T> &table);

    QString _filesFolder;
    FileNames _fileNames;
    QMap<QString, NSFileWrapperPtr> _files;
    ObjectTable<NSTextTable> _tables{u't'};
    ObjectTable<NSTextTableBlock> _cells{u'c'};
    ObjectTable<QFLink> _links{u'l'};
    ObjectTable<NSTextAttachment> _attachments{u'a'};
    QHash<const void *, int> _uses;           ///< of each link and attachment, by runs
    QHash<const void *, QByteArray> _written; ///< attributes by the address of their dictionary
};

StyledTextJSON::Written Writer::write(const NSAttributedString &text)
{
    countObjects(text);
    QByteArray runs = " \"runs\": [";
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const NSRange range = text.rangeOfRun(run);
        runs += run == 0 ? "\n  " : ",\n  ";
        runs += runLine(text.string().mid(range.location, range.length), text.runs().at(run).attributes);
    }
    runs += text.isEmpty() ? "]" : "\n ]";

    QByteArray json = "{\n";
    appendTable(json, "attachments", _attachments);
    appendTable(json, "cells", _cells);
    appendTable(json, "links", _links);
    json += runs;
    if (!_tables.rows().isEmpty())
        json += ",\n";
    appendTable(json, "tables", _tables);
    if (json.endsWith(",\n"))
        json.chop(2);
    json += "\n}\n";
    return {json, _files};
}

template <typename T>
void Writer::appendTable(QByteArray &json, const char *name, const ObjectTable<T> &table)
{
    if (table.rows().isEmpty())
        return;
    json += QByteArray(" \"") + name + "\": {";
    bool first = true;
    for (const auto &[id, object] : table.rows()) {
        json += (first ? "\n  \"" : ",\n  \"") + id.toLatin1() + "\": " + compact(object);
        first = false;
    }
    json += "\n },\n";
}

void Writer::countObjects(const NSAttributedString &text)
{
    for (const NSAttributedString::Run &run : text.runs()) {
        if (const QFLink *link = pointerUnder<QFLink>(run.attributes, NSLinkAttributeName))
            ++_uses[link];
        if (const auto *attachment =
                pointerUnder<NSTextAttachment>(run.attributes, NSAttachmentAttributeName))
            ++_uses[attachment];
    }
}

QByteArray Writer::runLine(const QString &text, const NSAttributeDictionary &attributes)
{
    const QByteArray textJson = compact({{u"text"_s, text}}).mid(1); // starts behind the brace
    if (attributes.isEmpty())
        return '{' + textJson;
    return "{\"attributes\":" + attributesJson(attributes) + ',' + textJson;
}

QByteArray Writer::attributesJson(const NSAttributeDictionary &attributes)
{
    QByteArray &json = _written[attributes.address()];
    if (json.isEmpty()) {
        QJsonObject object;
        for (const NSAttributeDictionary::Entry &entry : attributes.entries()) {
            const QJsonValue value = valueJson(entry);
            if (!value.isUndefined())
                object.insert(entry.first.name(), value);
            else
                reportLoss(u"attribute"_s,
                           u"the value under "_s + entry.first.name() + u" cannot be written as JSON"_s);
        }
        json = compact(object);
    }
    return json;
}

QJsonValue Writer::valueJson(const NSAttributeDictionary::Entry &entry)
{
    const QVariant &value = entry.second;
    const QMetaType type = value.metaType();
    if (type == QMetaType::fromType<NSFont>())
        return Values::jsonOf(value.value<NSFont>());
    if (type == QMetaType::fromType<NSParagraphStyle>())
        return paragraphStyleJson(value.value<NSParagraphStyle>());
    if (type == QMetaType::fromType<QFLinkPtr>() && entry.first == NSLinkAttributeName)
        return linkJson(value.value<QFLinkPtr>());
    if (type == QMetaType::fromType<NSTextAttachmentPtr>() && entry.first == NSAttachmentAttributeName)
        return attachmentJson(value.value<NSTextAttachmentPtr>());
    return Values::jsonOfVariant(value);
}

QJsonValue Writer::paragraphStyleJson(const NSParagraphStyle &style)
{
    QJsonObject json{{u"alignment"_s, static_cast<int>(style.alignment)}};
    if (style.baseWritingDirection != NSWritingDirection::Natural)
        json["baseWritingDirection"_L1] = static_cast<int>(style.baseWritingDirection);
    QJsonArray lists;
    for (const NSTextList &list : style.textLists)
        lists.append(list.markerFormat);
    QJsonArray blocks;
    for (const NSTextTableBlockPtr &cell : style.textBlocks)
        blocks.append(_cells.idOf(cell.get(), [&] { return cellObject(*cell); }));
    if (!lists.isEmpty())
        json["textLists"_L1] = lists;
    if (!blocks.isEmpty())
        json["textBlocks"_L1] = blocks;
    return json;
}

QJsonObject Writer::cellObject(const NSTextTableBlock &cell)
{
    QJsonObject json = Values::jsonOf(cell);
    if (cell.table)
        json["table"_L1] = _tables.idOf(cell.table.get(), [&] { return Values::jsonOf(*cell.table); });
    return json;
}

QJsonValue Writer::linkJson(const QFLinkPtr &link)
{
    if (!link)
        return QJsonValue::Undefined;
    if (_uses.value(link.get()) < 2)
        return Values::jsonOf(*link);
    return QJsonObject{{u"ref"_s, _links.idOf(link.get(), [&] { return Values::jsonOf(*link); })}};
}

QJsonValue Writer::attachmentJson(const NSTextAttachmentPtr &attachment)
{
    if (!attachment)
        return QJsonValue::Undefined;
    if (_uses.value(attachment.get()) < 2)
        return attachmentObject(*attachment);
    return QJsonObject{
        {u"ref"_s, _attachments.idOf(attachment.get(), [&] { return attachmentObject(*attachment); })}};
}

QJsonObject Writer::attachmentObject(NSTextAttachment &attachment)
{
    QJsonObject json;
    if (const NSFileWrapperPtr &file = attachment.fileWrapper()) {
        const QString preferred = file->preferredFilename();
        const QString name = _fileNames.nameFor(preferred);
        _files.insert(_filesFolder + u'/' + name, file);
        json["file"_L1] = _filesFolder + u'/' + name;
        if (preferred != name)
            json["preferredFilename"_L1] = preferred;
    }
    auto *media = dynamic_cast<QFTextAttachment *>(&attachment);
    if (!media)
        json["plain"_L1] = true;
    else if (media->hasMediaAttributes())
        json["mediaAttributes"_L1] = mediaAttributesJson(media->mediaAttributes());
    return json;
}

QJsonObject Writer::mediaAttributesJson(const QVariantMap &attributes)
{
    QJsonObject json;
    for (auto entry = attributes.begin(); entry != attributes.end(); ++entry) {
        const QJsonValue value = Values::jsonOfVariant(entry.value());
        if (!value.isUndefined())
            json.insert(entry.key(), value);
        else
            reportLoss(u"attribute"_s,
                       u"the media attribute "_s + entry.key() + u" cannot be written as JSON"_s);
    }
    return json;
}

} // namespace

StyledTextJSON::Written StyledTextJSON::write(const NSAttributedString &text, const QString &filesFolder)
{
    return Writer(filesFolder).write(text);
}
