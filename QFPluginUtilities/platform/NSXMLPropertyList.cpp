#include "platform/NSXMLPropertyList.h"

#include "platform/NSPropertyListValue.h"
#include "platform/Values.h"

#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Archives in XML write a reference as a dictionary with this one key.
constexpr QStringView kUIDKey = u"CF$UID";

class Reader
{
public:
    explicit Reader(const QByteArray &data) : _xml(data) {}

    QVariant read()
    {
        // Entities of a document's own could grow without bound; the reader reports their declarations here.
        while (_xml.readNext() == QXmlStreamReader::Comment || _xml.isStartDocument() || _xml.isDTD() ||
               _xml.isProcessingInstruction() || _xml.isWhitespace()) {
            if (_xml.isDTD() && (!_xml.entityDeclarations().isEmpty() || _xml.text().contains(u'[')))
                return {};
        }
        if (!_xml.isStartElement() || _xml.name() != u"plist" || !_xml.readNextStartElement())
            return {};
        const QVariant top = readValue(0);
        const bool isLast = !_xml.readNextStartElement() && _xml.isEndElement();
        while (!_xml.atEnd())
            _xml.readNext();
        return isLast && !_xml.hasError() ? top : QVariant();
    }

private:
    /// Reads the element that the reader stands on, to its end. Nil makes the whole list nil.
    QVariant readValue(int depth)
    {
        const QStringView name = _xml.name();
        if (depth > NSPropertyList::maximumDepth)
            return {};
        if (name == u"dict")
            return readDictionary(depth);
        if (name == u"array")
            return readArray(depth);
        if (name == u"true" || name == u"false") {
            const bool value = name == u"true";
            return text().isEmpty() ? QVariant(value) : QVariant();
        }
        return readScalar(name.toString());
    }

    QVariant readScalar(const QString &name)
    {
        const QString contents = text();
        if (name == u"string")
            return contents;
        if (name == u"integer")
            return integer(contents.trimmed());
        if (name == u"real")
            return real(contents.trimmed());
        if (name == u"data")
            return bytes(contents);
        return name == u"date" ? date(contents.trimmed()) : QVariant();
    }

    QVariant readArray(int depth)
    {
        QVariantList list;
        while (_xml.readNextStartElement()) {
            const QVariant value = readValue(depth + 1);
            if (!value.isValid())
                return {};
            list.append(value);
        }
        return _xml.hasError() ? QVariant() : QVariant(list);
    }

    QVariant readDictionary(int depth)
    {
        QVariantMap map;
        while (_xml.readNextStartElement()) {
            if (_xml.name() != u"key")
                return {};
            const QString key = text();
            if (!_xml.readNextStartElement())
                return {};
            const QVariant value = readValue(depth + 1);
            if (!value.isValid())
                return {};
            map.insert(key, value);
        }
        if (_xml.hasError())
            return {};
        const QVariant uid = map.size() == 1 ? map.value(kUIDKey.toString()) : QVariant();
        if (uid.typeId() == QMetaType::LongLong && uid.toLongLong() >= 0)
            return QVariant::fromValue(NSPropertyListUID{uid.toULongLong()});
        return map;
    }

    QString text()
    {
        const QString contents = _xml.readElementText(); // an element inside is an error
        return contents.isNull() ? u""_s : contents;
    }

    static QVariant integer(const QString &text)
    {
        bool isSigned = false;
        bool isUnsigned = false;
        const qint64 number = text.toLongLong(&isSigned);
        const quint64 large = text.toULongLong(&isUnsigned);
        return isSigned ? QVariant(number) : isUnsigned ? QVariant(large) : QVariant();
    }

    static QVariant real(const QString &text)
    {
        bool isNumber = false;
        const double number = text.toDouble(&isNumber); // "nan", "inf" and "-inf" too
        return isNumber ? QVariant(number) : QVariant();
    }

    static QVariant bytes(const QString &text)
    {
        QByteArray encoded = text.toLatin1();
        encoded.removeIf([](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; });
        const auto decoded =
            QByteArray::fromBase64Encoding(std::move(encoded), QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return {};
        return decoded.decoded.isNull() ? QByteArray("") : decoded.decoded;
    }

    static QVariant date(const QString &text)
    {
        const QDateTime date = QDateTime::fromString(text, Qt::ISODate);
        return date.isValid() && text.endsWith(u'Z') ? QVariant(date) : QVariant();
    }

    QXmlStreamReader _xml;
};

bool isAllowedInXML(QStringView text)
{
    return text.isValidUtf16() && std::none_of(text.begin(), text.end(), [](QChar c) {
               const char16_t unit = c.unicode();
               return (unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r') || unit >= 0xFFFE;
           });
}

class Writer
{
public:
    QByteArray write(const QVariant &value)
    {
        _out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<plist version=\"1.0\">\n";
        if (!writeValue(value, 0))
            return {};
        return _out + "</plist>\n";
    }

private:
    bool writeValue(const QVariant &value, int depth)
    {
        using Kind = NSPropertyListKind;
        if (depth > NSPropertyList::maximumDepth)
            return false;
        switch (propertyListKind(value)) {
        case Kind::None:
            return false;
        case Kind::Bool:
            return writeLine(depth, value.toBool() ? "<true/>" : "<false/>");
        case Kind::Integer:
            return writeElement(depth, "integer", QByteArray::number(value.toLongLong()));
        case Kind::Unsigned:
            return writeElement(depth, "integer", QByteArray::number(value.toULongLong()));
        case Kind::Real:
            return writeElement(depth, "real",
                                QByteArray::number(value.toDouble(), 'g', QLocale::FloatingPointShortest));
        case Kind::String:
            return writeText(depth, "string", value.toString());
        case Kind::Data:
            return writeElement(depth, "data", value.toByteArray().toBase64());
        case Kind::Date:
            return writeElement(depth, "date", value.toDateTime().toUTC().toString(Qt::ISODate).toLatin1());
        case Kind::UID:
            return writeUID(depth, value.value<NSPropertyListUID>());
        case Kind::Array:
            return writeArray(depth, value.toList());
        case Kind::Dictionary:
            return writeDictionary(depth, value.toMap());
        }
        return false;
    }

    bool writeArray(int depth, const QVariantList &list)
    {
        writeLine(depth, "<array>");
        for (const QVariant &element : list) {
            if (!isNil(element) && !writeValue(element, depth + 1))
                return false;
        }
        return writeLine(depth, "</array>");
    }

    bool writeDictionary(int depth, const QVariantMap &map)
    {
        writeLine(depth, "<dict>");
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            if (isNil(entry.value()))
                continue;
            if (!writeText(depth + 1, "key", entry.key()) || !writeValue(entry.value(), depth + 1))
                return false;
        }
        return writeLine(depth, "</dict>");
    }

    bool writeUID(int depth, NSPropertyListUID uid)
    {
        writeLine(depth, "<dict>");
        writeElement(depth + 1, "key", kUIDKey.toLatin1());
        writeElement(depth + 1, "integer", QByteArray::number(uid.value));
        return writeLine(depth, "</dict>");
    }

    bool writeText(int depth, QByteArrayView element, const QString &text)
    {
        if (!isAllowedInXML(text))
            return false;
        // A plain carriage return would be read back as a newline.
        return writeElement(depth, element, text.toHtmlEscaped().replace(u'\r', "&#13;"_L1).toUtf8());
    }

    bool writeElement(int depth, QByteArrayView element, const QByteArray &contents)
    {
        indent(depth);
        _out.append('<').append(element).append('>').append(contents).append("</").append(element).append(
            ">\n");
        return true;
    }

    bool writeLine(int depth, const char *line)
    {
        indent(depth);
        _out.append(line).append('\n');
        return true;
    }

    void indent(int depth) { _out.append(depth, '\t'); }

    QByteArray _out;
};

} // namespace

QVariant propertyListFromXML(const QByteArray &data)
{
    return Reader(data).read();
}

QByteArray xmlFromPropertyList(const QVariant &value)
{
    return Writer().write(value);
}
