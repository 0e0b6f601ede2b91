#include "host/ContainedPath.h"
#include "host/JSONFile.h"
#include "host/StyledTextJSON.h"
#include "host/StyledTextJSONValues.h"

#include "media/QFTextAttachment.h"
#include "platform/NSParagraphStyle.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFReport.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::StringLiterals;
namespace Values = StyledTextJSONValues;

namespace {

constexpr qint64 kMaximumAttachedBytes = qint64(1) << 30;
// Names of attributes are interned for the life of the process.
constexpr qsizetype kMaximumNames = 256;
constexpr qsizetype kMaximumNameLength = 256;
constexpr qsizetype kMaximumLength = std::numeric_limits<quint32>::max();

/// Bytes that a file or folder takes in memory, about.
qint64 sizeOf(const NSFileWrapper &file)
{
    constexpr qint64 perFile = 256;
    qint64 size = perFile + file.regularFileContents().size();
    for (const NSFileWrapperPtr &child : file.fileWrappers())
        size += sizeOf(*child);
    return size;
}

/// Reads one document. After the first error everything answers quickly and the error stays.
class Reader
{
public:
    explicit Reader(QString baseFolder) : _baseFolder(std::move(baseFolder)) {}

    DocumentResult read(const QJsonObject &document);

private:
    using ValueReader = QVariant (Reader::*)(const QJsonValue &, const QString &where);
    struct KnownKey
    {
        NSAttributeKey key;
        ValueReader read;
        QStringView expected; ///< what a value should have been
    };
    static const std::array<KnownKey, 9> kKnownKeys;

    void fail(const QString &where, const QString &problem);
    [[nodiscard]] bool failed() const { return !_error.isNull(); }

    void readTables(const QJsonObject &tables);
    void readCells(const QJsonObject &cells);
    void readSharedObjects(const QJsonObject &document);
    void readRuns(const QJsonObject &document);
    void readRun(const QJsonValue &run, const QString &where);
    QString textOfRun(const QJsonObject &run, const QString &where);

    NSAttributeDictionary dictionary(const QJsonObject &attributes, const QString &where);
    bool takesName(const QString &name, const QString &where);
    QVariant valueFor(const KnownKey *known, const QJsonValue &json, const QString &where);
    QVariant fontValue(const QJsonValue &json, const QString &where);
    QVariant colorValue(const QJsonValue &json, const QString &where);
    QVariant numberValue(const QJsonValue &json, const QString &where);
    QVariant stringValue(const QJsonValue &json, const QString &where);
    QVariant mapValue(const QJsonValue &json, const QString &where);
    QVariant paragraphStyleValue(const QJsonValue &json, const QString &where);
    QVariant linkValue(const QJsonValue &json, const QString &where);
    QVariant attachmentValue(const QJsonValue &json, const QString &where);

    NSTextAttachmentPtr attachment(const QJsonObject &json, const QString &where);
    NSFileWrapperPtr attachedFile(const QString &name);
    QList<NSTextTableBlockPtr> textBlocks(const QJsonArray &ids, const QString &where);

    QString _baseFolder;
    QString _error;
    QHash<QString, NSTextTablePtr> _tables;
    QHash<QString, NSTextTableBlockPtr> _cells;
    QHash<QString, QVariant> _links;
    QHash<QString, QVariant> _attachments;
    QHash<QString, NSFileWrapperPtr> _files; ///< read once, however often it is attached
    qint64 _attachedBytes = 0;
    QSet<QString> _names; ///< of attributes
    QHash<QByteArray, NSAttributeDictionary> _dictionaries;
    bool _madeObject = false; ///< the dictionary at hand holds an object of its own and cannot be shared

    bool _textIsGiven = false;
    QString _string;
    qsizetype _consumed = 0; ///< units of `_string` that runs have taken
    NSMutableAttributedString _result;
};

const std::array<Reader::KnownKey, 9> Reader::kKnownKeys{{
    {NSFontAttributeName, &Reader::fontValue, u"a font object"},
    {NSForegroundColorAttributeName, &Reader::colorValue, u"[red, green, blue, alpha]"},
    {NSUnderlineStyleAttributeName, &Reader::numberValue, u"a number"},
    {NSParagraphStyleAttributeName, &Reader::paragraphStyleValue, u"a paragraph style object"},
    {NSLinkAttributeName, &Reader::linkValue, u"a string or link object"},
    {NSAttachmentAttributeName, &Reader::attachmentValue, u"an attachment object"},
    {NSToolTipAttributeName, &Reader::stringValue, u"a string"},
    {kQFTextViewMarkupDirectivesAttributeName, &Reader::mapValue, u"a directive object"},
    {kQFTextViewIgnoreFormattingAttributeName, &Reader::numberValue, u"true or false"},
}};

void Reader::fail(const QString &where, const QString &problem)
{
    if (!failed())
        _error = where + u": "_s + problem;
}

DocumentResult Reader::read(const QJsonObject &document)
{
    readTables(document["tables"_L1].toObject());
    readCells(document["cells"_L1].toObject());
    readSharedObjects(document);
    readRuns(document);
    if (failed())
        return DocumentResult::failure(_error);
    return {_result.copy(), {}};
}

void Reader::readTables(const QJsonObject &tables)
{
    for (auto entry = tables.begin(); entry != tables.end(); ++entry)
        _tables.insert(entry.key(), Values::tableFrom(entry.value().toObject()));
}

void Reader::readCells(const QJsonObject &cells)
{
    for (auto entry = cells.begin(); entry != cells.end() && !failed(); ++entry) {
        const QJsonObject json = entry.value().toObject();
        const NSTextTableBlockPtr cell = Values::cellFrom(json);
        if (const QString table = Values::stringFrom(json["table"_L1]); !table.isNull()) {
            cell->table = _tables.value(table);
            if (!cell->table)
                fail(u"cells."_s + entry.key() + u".table"_s, u"there is no table \""_s + table + u'"');
        }
        _cells.insert(entry.key(), cell);
    }
}

void Reader::readSharedObjects(const QJsonObject &document)
{
    const QJsonObject links = document["links"_L1].toObject();
    for (auto entry = links.begin(); entry != links.end(); ++entry)
        _links.insert(entry.key(), QVariant::fromValue(Values::linkFrom(entry.value().toObject())));
    const QJsonObject attachments = document["attachments"_L1].toObject();
    for (auto entry = attachments.begin(); entry != attachments.end(); ++entry) {
        const NSTextAttachmentPtr object =
            attachment(entry.value().toObject(), u"attachments."_s + entry.key());
        _attachments.insert(entry.key(), object ? QVariant::fromValue(object) : QVariant());
    }
}

void Reader::readRuns(const QJsonObject &document)
{
    const QJsonValue string = document["string"_L1];
    _textIsGiven = string.isString();
    _string = string.toString();
    const QJsonValue runs = document["runs"_L1];
    if (!string.isString() && !string.isUndefined())
        return fail(u"string"_s, u"must be a string"_s);
    if (runs.isUndefined() && _textIsGiven)
        return _result.append(_string, {});
    if (!runs.isArray())
        return fail(u"runs"_s, u"must be an array"_s);

    const QJsonArray elements = runs.toArray();
    _result.reserve(_string.size(), elements.size());
    qsizetype number = 0;
    for (const auto &run : elements) {
        readRun(run, u"runs["_s + QString::number(number++) + u']');
        if (failed())
            return;
    }
    if (_textIsGiven && _consumed != _string.size()) {
        fail(u"runs"_s, u"lengths add up to "_s + QString::number(_consumed) + u", but the string has "_s +
                            QString::number(_string.size()) + u" units"_s);
    }
}

void Reader::readRun(const QJsonValue &run, const QString &where)
{
    if (!run.isObject())
        return fail(where, u"must be an object"_s);
    const QJsonObject object = run.toObject();
    const QString text = textOfRun(object, where);
    const NSAttributeDictionary attributes =
        dictionary(object["attributes"_L1].toObject(), where + u".attributes"_s);
    if (failed() || text.isEmpty())
        return;
    if (text.size() > kMaximumLength - _result.length())
        return fail(where, u"the text is too long"_s);
    _result.append(text, attributes);
}

QString Reader::textOfRun(const QJsonObject &run, const QString &where)
{
    if (!_textIsGiven) {
        if (!run["text"_L1].isString())
            fail(where + u".text"_s, u"must be a string"_s);
        return run["text"_L1].toString();
    }
    const qint64 length = Values::integerFrom(run["length"_L1]).value_or(-1);
    if (length < 0 || length > _string.size() - _consumed) {
        fail(where + u".length"_s, u"must be a number of units that the string still has"_s);
        return {};
    }
    _consumed += length;
    return _string.mid(_consumed - length, length);
}

NSAttributeDictionary Reader::dictionary(const QJsonObject &attributes, const QString &where)
{
    if (attributes.isEmpty())
        return {};
    const QByteArray fingerprint = QJsonDocument(attributes).toJson(QJsonDocument::Compact);
    const auto known = _dictionaries.constFind(fingerprint);
    if (known != _dictionaries.cend())
        return *known;

    _madeObject = false;
    std::vector<NSAttributeDictionary::Entry> entries;
    for (auto entry = attributes.begin(); entry != attributes.end() && !failed(); ++entry) {
        if (!takesName(entry.key(), where))
            continue;
        const NSAttributeKey key(entry.key());
        const auto found = std::find_if(kKnownKeys.begin(), kKnownKeys.end(),
                                        [key](const KnownKey &candidate) { return candidate.key == key; });
        const KnownKey *reader = found == kKnownKeys.end() ? nullptr : &*found;
        const QVariant value = valueFor(reader, entry.value(), where + u'.' + entry.key());
        if (value.isValid())
            entries.emplace_back(key, value);
    }
    const NSAttributeDictionary dictionary(std::move(entries));
    if (!_madeObject)
        _dictionaries.insert(fingerprint, dictionary);
    return dictionary;
}

/// Whether an attribute of that name can be had; a record when not.
bool Reader::takesName(const QString &name, const QString &where)
{
    const bool hasRoom = _names.contains(name) || _names.size() < kMaximumNames;
    if (name.isEmpty() || name.size() > kMaximumNameLength) {
        reportLoss(u"attribute"_s, where + u'.' + name.left(kMaximumNameLength) +
                                       u": left out, a key must have 1 to 256 units"_s);
    } else if (!hasRoom || NSAttributeKey(name).isNull()) {
        reportLoss(u"attribute"_s, where + u'.' + name + u": left out, too many different keys"_s);
    } else {
        _names.insert(name);
        return true;
    }
    return false;
}

QVariant Reader::valueFor(const KnownKey *known, const QJsonValue &json, const QString &where)
{
    if (json.isNull())
        return {};
    if (!known)
        return Values::variantFrom(json);
    const QVariant value = (this->*known->read)(json, where);
    if (!value.isValid() && !failed() && known->key != NSAttachmentAttributeName)
        reportLoss(u"attribute"_s, where + u": left out, expected "_s + known->expected.toString());
    return value;
}

QVariant Reader::fontValue(const QJsonValue &json, const QString &)
{
    const auto font = Values::fontFrom(json);
    return font ? QVariant::fromValue(*font) : QVariant();
}

QVariant Reader::colorValue(const QJsonValue &json, const QString &)
{
    const auto color = Values::colorFrom(json);
    return color ? QVariant::fromValue(*color) : QVariant();
}

QVariant Reader::numberValue(const QJsonValue &json, const QString &)
{
    return json.isDouble() || json.isBool() ? json.toVariant() : QVariant();
}

QVariant Reader::stringValue(const QJsonValue &json, const QString &)
{
    return json.isString() ? QVariant(Values::stringFrom(json)) : QVariant();
}

QVariant Reader::mapValue(const QJsonValue &json, const QString &)
{
    return json.isObject() ? Values::variantFrom(json) : QVariant();
}

QVariant Reader::paragraphStyleValue(const QJsonValue &json, const QString &where)
{
    if (!json.isObject())
        return {};
    const QJsonObject object = json.toObject();
    NSParagraphStyle style;
    const auto small = [](const QJsonValue &number, int otherwise) {
        const qint64 value = Values::integerFrom(number).value_or(otherwise);
        return value >= INT32_MIN && value <= INT32_MAX ? static_cast<int>(value) : otherwise;
    };
    style.alignment = static_cast<NSTextAlignment>(small(object["alignment"_L1], 4));
    style.baseWritingDirection =
        static_cast<NSWritingDirection>(small(object["baseWritingDirection"_L1], -1));
    const QJsonArray lists = object["textLists"_L1].toArray();
    for (const auto &marker : lists) {
        if (marker.isString())
            style.textLists.append({Values::stringFrom(marker)});
    }
    style.textBlocks = textBlocks(object["textBlocks"_L1].toArray(), where + u".textBlocks"_s);
    return QVariant::fromValue(style);
}

QList<NSTextTableBlockPtr> Reader::textBlocks(const QJsonArray &ids, const QString &where)
{
    QList<NSTextTableBlockPtr> blocks;
    for (const auto &id : ids) {
        if (!id.isString())
            continue;
        const NSTextTableBlockPtr cell = _cells.value(id.toString());
        if (!cell)
            fail(where, u"there is no cell \""_s + id.toString() + u'"');
        else
            blocks.append(cell);
    }
    return blocks;
}

QVariant Reader::linkValue(const QJsonValue &json, const QString &where)
{
    if (json.isString())
        return Values::stringFrom(json);
    if (!json.isObject())
        return {};
    if (const QString id = Values::stringFrom(json["ref"_L1]); !id.isNull()) {
        if (!_links.contains(id))
            fail(where, u"there is no link \""_s + id + u'"');
        return _links.value(id);
    }
    _madeObject = true;
    return QVariant::fromValue(Values::linkFrom(json.toObject()));
}

QVariant Reader::attachmentValue(const QJsonValue &json, const QString &where)
{
    if (!json.isObject()) {
        reportLoss(u"attribute"_s, where + u": left out, expected an attachment object"_s);
        return {};
    }
    if (const QString id = Values::stringFrom(json["ref"_L1]); !id.isNull()) {
        if (!_attachments.contains(id))
            fail(where, u"there is no attachment \""_s + id + u'"');
        return _attachments.value(id);
    }
    _madeObject = true;
    const NSTextAttachmentPtr object = attachment(json.toObject(), where);
    return object ? QVariant::fromValue(object) : QVariant();
}

/// An attachment without a file is one without a wrapper; one whose file cannot be read is none.
NSTextAttachmentPtr Reader::attachment(const QJsonObject &json, const QString &where)
{
    NSFileWrapperPtr file;
    if (const QString name = Values::stringFrom(json["file"_L1]); !name.isNull()) {
        file = attachedFile(name);
        if (!file) {
            reportLoss(u"attachment"_s, where + u": left out, cannot read the file "_s + name, name);
            return nullptr;
        }
        const QString preferred = Values::stringFrom(json["preferredFilename"_L1]);
        if (!preferred.isNull())
            file->setPreferredFilename(preferred);
    }
    if (json["plain"_L1].toBool())
        return std::make_shared<NSTextAttachment>(file);
    const QJsonValue media = json["mediaAttributes"_L1];
    if (media.isObject())
        return std::make_shared<QFTextAttachment>(file, Values::mediaAttributesFrom(media.toObject()));
    return std::make_shared<QFTextAttachment>(file);
}

/// A wrapper of its own for each attachment, over bytes that are read once.
NSFileWrapperPtr Reader::attachedFile(const QString &name)
{
    const QString path = containedPath(_baseFolder, name);
    if (path.isNull())
        return nullptr;
    NSFileWrapperPtr &known = _files[path];
    if (!known || !known->isRegularFile()) {
        known = NSFileWrapper::wrapperWithPath(path, kMaximumAttachedBytes - _attachedBytes);
        if (known)
            _attachedBytes += sizeOf(*known);
    }
    if (!known || !known->isRegularFile())
        return known;
    const NSFileWrapperPtr file = NSFileWrapper::regularFileWithContents(known->regularFileContents());
    file->setFilename(known->filename());
    file->setPreferredFilename(known->preferredFilename());
    file->setFileAttributes(known->fileAttributes());
    return file;
}

} // namespace

DocumentResult StyledTextJSON::read(const QByteArray &bytes, const QString &baseFolder)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return DocumentResult::failure(JSONFile::positionOf(bytes, error.offset) + u": "_s +
                                       error.errorString());
    if (!document.isObject())
        return DocumentResult::failure(u"the top level must be an object"_s);
    return Reader(baseFolder).read(document.object());
}
