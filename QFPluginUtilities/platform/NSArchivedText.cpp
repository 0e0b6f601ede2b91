#include "platform/NSArchivedText.h"

#include "platform/NSAttributedString.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSParagraphStyle.h"
#include "platform/QFReport.h"
#include "platform/Values.h"

#include <QHash>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// Attribute names are interned for the life of the process; foreign bytes may add so many a text, of such
/// length.
constexpr qsizetype kMostAttributeNames = 256;
constexpr qsizetype kLongestAttributeName = 256;
/// What comparing two values takes of an archive's share of steps.
constexpr qsizetype kStepsPerComparison = 4;

// MARK: Styled text
//
// The string is one object. A text with a single run stores its dictionary; else all different dictionaries
// are an array, and for each run its length and the place of its dictionary follow one another as bytes, in
// groups of seven bits, the lowest first, with the top bit set on all bytes of a number but its last.

void appendNumber(QByteArray &out, quint64 number)
{
    for (; number >= 0x80; number >>= 7)
        out.append(static_cast<char>(number | 0x80));
    out.append(static_cast<char>(number));
}

std::optional<quint64> takeNumber(const QByteArray &bytes, qsizetype &at)
{
    quint64 number = 0;
    for (int shift = 0; shift <= 35 && at < bytes.size(); shift += 7) {
        const auto byte = static_cast<quint8>(bytes[at++]);
        number |= quint64(byte & 0x7F) << shift;
        if (byte < 0x80)
            return number;
    }
    return {};
}

bool isText(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<NSAttributedString>();
}

/// The entries that archives hold. Texts inside a text's attributes are none of them: comparing runs would
/// have to compare whole texts.
QVariantMap archivableEntries(const NSAttributeDictionary &attributes)
{
    QVariantMap map;
    for (const auto &[key, value] : attributes.entries()) {
        if (isText(value))
            reportLoss(u"archive"_s, u"A styled text as an attribute of another is left out."_s);
        else if (NSKeyedArchiver::canEncode(value))
            map.insert(key.name(), value);
    }
    return map;
}

/// Archives the different dictionaries of a text and numbers them by their first use.
class DictionaryTable
{
public:
    explicit DictionaryTable(NSKeyedArchiver &coder) : _coder(coder) {}

    quint64 placeOf(const NSAttributeDictionary &attributes)
    {
        const auto known = _byAddress.constFind(attributes.address());
        if (known != _byAddress.cend())
            return *known;
        const quint64 reference = _coder.referenceTo(archivableEntries(attributes));
        const auto next = static_cast<quint64>(_references.size());
        const quint64 place = _byReference.value(reference, next);
        if (place == next) {
            _byReference.insert(reference, place);
            _references.append(reference);
        }
        return *_byAddress.insert(attributes.address(), place);
    }

    /// In the order of their numbers.
    [[nodiscard]] const QList<quint64> &references() const { return _references; }

private:
    NSKeyedArchiver &_coder;
    QList<quint64> _references;
    QHash<const void *, quint64> _byAddress;
    QHash<quint64, quint64> _byReference;
};

void encodeText(const QVariant &object, NSKeyedArchiver &coder)
{
    const auto &text = *static_cast<const NSAttributedString *>(object.constData());
    coder.encodeObject(text.string().isNull() ? u""_s : text.string(), u"NSString");
    if (text.runs().size() == 1)
        coder.encodeObject(archivableEntries(text.runs().constFirst().attributes), u"NSAttributes");
    if (text.runs().size() <= 1)
        return;
    DictionaryTable table(coder);
    QByteArray runs;
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        appendNumber(runs, static_cast<quint64>(text.rangeOfRun(run).length));
        appendNumber(runs, table.placeOf(text.runs()[run].attributes));
    }
    coder.encodeArrayOfReferences(table.references(), u"NSAttributes");
    coder.encodeObject(runs, u"NSAttributeInfo");
}

/// What comparing a value with an equal one costs; none for texts, which are no attributes.
std::optional<qsizetype> weightOf(const QVariant &value)
{
    qsizetype weight = 1;
    const auto add = [&weight](const QVariant &part) {
        const std::optional<qsizetype> own = weightOf(part);
        weight += own.value_or(0);
        return own.has_value();
    };
    switch (value.typeId()) {
    case QMetaType::QString:
        return weight + value.toString().size() / 16;
    case QMetaType::QByteArray:
        return weight + value.toByteArray().size() / 16;
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        return std::all_of(list.begin(), list.end(), add) ? std::optional(weight) : std::nullopt;
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            weight += entry.key().size() / 16;
            if (!add(entry.value()))
                return {};
        }
        return weight;
    }
    default:
        break;
    }
    if (isText(value))
        return {};
    if (value.metaType() == QMetaType::fromType<NSParagraphStyle>()) {
        const auto &style = *static_cast<const NSParagraphStyle *>(value.constData());
        weight += style.textBlocks.size();
        for (const NSTextList &list : style.textLists)
            weight += 1 + list.markerFormat.size() / 16;
    }
    return weight;
}

/// Reads the attribute dictionaries of one text.
class DictionaryReader
{
public:
    struct Weighed
    {
        NSAttributeDictionary attributes;
        qsizetype weight = 1;
    };

    /// None for what is no dictionary, and when there are too many different names.
    std::optional<Weighed> read(const QVariant &stored)
    {
        if (stored.typeId() != QMetaType::QVariantMap)
            return {};
        const QVariantMap map = stored.toMap();
        std::vector<NSAttributeDictionary::Entry> entries;
        Weighed result;
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            const std::optional<NSAttributeKey> key = keyNamed(entry.key());
            if (!key)
                return {};
            const std::optional<qsizetype> weight = weightOf(entry.value());
            if (!weight)
                continue;
            result.weight += *weight;
            entries.emplace_back(*key, entry.value());
        }
        result.attributes = NSAttributeDictionary(std::move(entries));
        return result;
    }

private:
    std::optional<NSAttributeKey> keyNamed(const QString &name)
    {
        const auto known = _keys.constFind(name);
        if (known != _keys.cend())
            return *known;
        if (_keys.size() == kMostAttributeNames || name.size() > kLongestAttributeName)
            return {};
        return *_keys.insert(name, NSAttributeKey(name));
    }

    QHash<QString, NSAttributeKey> _keys;
};

/// Sets the runs of `text` as stored; false unless they cover it exactly.
bool decodeRuns(NSMutableAttributedString &text, const std::vector<DictionaryReader::Weighed> &dictionaries,
                const QByteArray &runs, NSKeyedUnarchiver &coder)
{
    qsizetype from = 0;
    const DictionaryReader::Weighed *before = nullptr;
    for (qsizetype at = 0; at < runs.size();) {
        const std::optional<quint64> length = takeNumber(runs, at);
        const std::optional<quint64> place = takeNumber(runs, at);
        if (!length || !place || *length == 0 || *length > static_cast<quint64>(text.length() - from) ||
            *place >= dictionaries.size())
            return false;
        // Neighbours are compared, and compared again by everybody who walks the text.
        const DictionaryReader::Weighed &own = dictionaries[*place];
        const bool isCompared = before && before != &own;
        if (!coder.spend(isCompared ? kStepsPerComparison * std::min(before->weight, own.weight) : 1))
            return false;
        before = &own;
        text.setAttributes(own.attributes, {from, static_cast<qsizetype>(*length)});
        from += static_cast<qsizetype>(*length);
    }
    return from == text.length();
}

QVariant decodeText(NSKeyedUnarchiver &coder)
{
    const QVariant string = coder.decodeObject(u"NSString");
    if (string.typeId() != QMetaType::QString)
        return {};
    NSMutableAttributedString text(string.toString());
    const QVariant attributes = coder.decodeObject(u"NSAttributes");
    if (isNil(attributes))
        return coder.containsValueForKey(u"NSAttributeInfo") ? QVariant() : QVariant::fromValue(text.copy());

    const bool isRow = attributes.typeId() == QMetaType::QVariantList;
    std::vector<DictionaryReader::Weighed> dictionaries;
    DictionaryReader reader;
    for (const QVariant &stored : isRow ? attributes.toList() : QVariantList{attributes}) {
        const std::optional<DictionaryReader::Weighed> dictionary = reader.read(stored);
        if (!dictionary)
            return {};
        dictionaries.push_back(*dictionary);
    }
    if (!isRow) {
        text.setAttributes(dictionaries.front().attributes, {0, text.length()});
        return QVariant::fromValue(text.copy());
    }
    const auto runs = coder.decode<QByteArray>(u"NSAttributeInfo");
    return decodeRuns(text, dictionaries, runs, coder) ? QVariant::fromValue(text.copy()) : QVariant();
}

// MARK: Paragraph styles

template <typename T>
QVariantList listOf(const QList<T> &values)
{
    QVariantList list;
    for (const T &value : values)
        list.append(QVariant::fromValue(value));
    return list;
}

/// The elements that are exactly a T.
template <typename T>
QList<T> valuesIn(const QVariantList &list)
{
    QList<T> values;
    for (const QVariant &value : list) {
        if (value.metaType() == QMetaType::fromType<T>())
            values.append(value.value<T>());
    }
    return values;
}

template <typename Code>
Code decodeCode(NSKeyedUnarchiver &coder, QStringView key, Code absent)
{
    const qint64 code = coder.decodeInt(key, static_cast<int>(absent));
    return static_cast<Code>(
        std::clamp<qint64>(code, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void encodeParagraphStyle(const QVariant &object, NSKeyedArchiver &coder)
{
    const auto style = object.value<NSParagraphStyle>();
    coder.encodeInt(static_cast<int>(style.alignment), u"NSAlignment");
    coder.encodeInt(static_cast<int>(style.baseWritingDirection), u"NSWritingDirection");
    if (!style.textLists.isEmpty())
        coder.encodeObject(listOf(style.textLists), u"NSTextLists");
    if (!style.textBlocks.isEmpty())
        coder.encodeObject(listOf(style.textBlocks), u"NSTextBlocks");
}

QVariant decodeParagraphStyle(NSKeyedUnarchiver &coder)
{
    NSParagraphStyle style;
    style.alignment = decodeCode(coder, u"NSAlignment", style.alignment);
    style.baseWritingDirection = decodeCode(coder, u"NSWritingDirection", style.baseWritingDirection);
    style.textLists = valuesIn<NSTextList>(coder.decode<QVariantList>(u"NSTextLists"));
    style.textBlocks = valuesIn<NSTextTableBlockPtr>(coder.decode<QVariantList>(u"NSTextBlocks"));
    return QVariant::fromValue(style);
}

void encodeTextList(const QVariant &object, NSKeyedArchiver &coder)
{
    coder.encodeObject(object.value<NSTextList>().markerFormat, u"NSMarkerFormat");
}

QVariant decodeTextList(NSKeyedUnarchiver &coder)
{
    return QVariant::fromValue(NSTextList{stringValue(coder.decodeObject(u"NSMarkerFormat"))});
}

// MARK: Tables

void encodeTable(const QVariant &object, NSKeyedArchiver &coder)
{
    const auto table = object.value<NSTextTablePtr>();
    constexpr quint64 most = std::numeric_limits<qint64>::max();
    coder.encodeInt(static_cast<qint64>(std::min(table->numberOfColumns, most)), u"NSNumberOfColumns");
    coder.encodeInt(static_cast<int>(table->layoutAlgorithm), u"NSLayoutAlgorithm");
}

QVariant decodeTable(NSKeyedUnarchiver &coder)
{
    const auto table = std::make_shared<NSTextTable>();
    table->numberOfColumns = static_cast<quint64>(std::max<qint64>(coder.decodeInt(u"NSNumberOfColumns"), 0));
    table->layoutAlgorithm = decodeCode(coder, u"NSLayoutAlgorithm", table->layoutAlgorithm);
    return QVariant::fromValue(table);
}

constexpr int kEdges = 4;
constexpr int kWidths = 3 * kEdges; // of padding, border and margin, each on all edges

NSTextBlockLayer layerOf(int place)
{
    return static_cast<NSTextBlockLayer>(place / kEdges - 1);
}

NSRectEdge edgeOf(int place)
{
    return static_cast<NSRectEdge>(place % kEdges);
}

QVariant colorOrNil(const std::optional<NSColor> &color)
{
    return color ? QVariant::fromValue(*color) : QVariant();
}

std::optional<NSColor> decodeOptionalColor(NSKeyedUnarchiver &coder, QStringView key)
{
    const QVariant color = coder.decodeObject(key);
    return color.metaType() == QMetaType::fromType<NSColor>() ? std::optional(color.value<NSColor>())
                                                              : std::nullopt;
}

QString borderColorKey(int edge)
{
    return u"NSBorderColor"_s + QString::number(edge);
}

void encodeTableBlock(const QVariant &object, NSKeyedArchiver &coder)
{
    const auto block = object.value<NSTextTableBlockPtr>();
    coder.encodeObject(QVariant::fromValue(block->table), u"NSTable");
    coder.encodeInt(block->startingRow, u"NSStartingRow");
    coder.encodeInt(block->rowSpan, u"NSRowSpan");
    coder.encodeInt(block->startingColumn, u"NSStartingColumn");
    coder.encodeInt(block->columnSpan, u"NSColumnSpan");
    coder.encodeInt(static_cast<int>(block->verticalAlignment), u"NSVerticalAlignment");
    coder.encodeDouble(block->width, u"NSWidth");
    coder.encodeDouble(block->height, u"NSHeight");
    coder.encodeObject(colorOrNil(block->backgroundColor), u"NSBackgroundColor");
    for (int edge = 0; edge < kEdges; ++edge)
        coder.encodeObject(colorOrNil(block->borderColorForEdge(edgeOf(edge))), borderColorKey(edge));
    QVariantList widths;
    for (int place = 0; place < kWidths; ++place)
        widths.append(block->widthForLayer(layerOf(place), edgeOf(place)));
    coder.encodeObject(widths, u"NSLayerWidths");
}

QVariant decodeTableBlock(NSKeyedUnarchiver &coder)
{
    const auto block = std::make_shared<NSTextTableBlock>();
    block->table = coder.decode<NSTextTablePtr>(u"NSTable");
    block->startingRow = coder.decodeInt(u"NSStartingRow");
    block->startingColumn = coder.decodeInt(u"NSStartingColumn");
    block->rowSpan = coder.decodeInt(u"NSRowSpan", block->rowSpan);
    block->columnSpan = coder.decodeInt(u"NSColumnSpan", block->columnSpan);
    block->verticalAlignment = decodeCode(coder, u"NSVerticalAlignment", block->verticalAlignment);
    block->width = coder.decodeDouble(u"NSWidth");
    block->height = coder.decodeDouble(u"NSHeight");
    block->backgroundColor = decodeOptionalColor(coder, u"NSBackgroundColor");
    for (int edge = 0; edge < kEdges; ++edge)
        block->setBorderColorForEdge(edgeOf(edge), decodeOptionalColor(coder, borderColorKey(edge)));
    const auto widths = coder.decode<QVariantList>(u"NSLayerWidths");
    for (int place = 0; place < kWidths && widths.size() == kWidths; ++place) {
        const double width = doubleValue(widths[place]);
        block->setWidthForLayer(layerOf(place), edgeOf(place), std::isfinite(width) ? width : 0);
    }
    return QVariant::fromValue(block);
}

} // namespace

QList<NSArchivableClass> archivableTextClasses()
{
    using namespace NSArchivableClasses;
    return {
        {u"NSAttributedString"_s, {}, 0, QMetaType::fromType<NSAttributedString>(), encodeText, decodeText},
        {u"NSParagraphStyle"_s,
         {},
         0,
         QMetaType::fromType<NSParagraphStyle>(),
         encodeParagraphStyle,
         decodeParagraphStyle},
        {u"NSTextList"_s, {}, 0, QMetaType::fromType<NSTextList>(), encodeTextList, decodeTextList},
        {u"NSTextTable"_s,
         {},
         0,
         QMetaType::fromType<NSTextTablePtr>(),
         encodeTable,
         decodeTable,
         identityOf<NSTextTablePtr>},
        {u"NSTextTableBlock"_s,
         {u"NSTextBlock"_s},
         0,
         QMetaType::fromType<NSTextTableBlockPtr>(),
         encodeTableBlock,
         decodeTableBlock,
         identityOf<NSTextTableBlockPtr>},
    };
}
