#include "platform/NSStringsTable.h"

#include <QStringDecoder>

#include <optional>

namespace {

class Parser
{
public:
    explicit Parser(QStringView text) : _text(text) {}

    // One record; false at the end or where there is none.
    bool readRecord(QString &key, QString &value)
    {
        const std::optional<QString> first = readToken();
        if (!first)
            return false;
        key = value = *first;
        if (skip(u'=')) {
            const std::optional<QString> second = readToken();
            if (!second)
                return false;
            value = *second;
        }
        return skip(u';');
    }

private:
    [[nodiscard]] bool atEnd() const { return _at >= _text.size(); }

    void skipBlanks()
    {
        while (!atEnd()) {
            if (_text[_at].isSpace())
                ++_at;
            else if (_text.sliced(_at).startsWith(u"//"))
                skipBehind(u"\n");
            else if (_text.sliced(_at).startsWith(u"/*"))
                skipBehind(u"*/", 2);
            else
                return;
        }
    }

    void skipBehind(QStringView end, qsizetype from = 0)
    {
        const qsizetype found = _text.indexOf(end, _at + from);
        _at = found < 0 ? _text.size() : found + end.size();
    }

    bool skip(char16_t wanted)
    {
        skipBlanks();
        if (atEnd() || _text[_at] != wanted)
            return false;
        ++_at;
        return true;
    }

    std::optional<QString> readToken()
    {
        if (skip(u'"'))
            return readQuoted();
        const qsizetype start = _at;
        while (!atEnd() && (_text[_at].isLetterOrNumber() || QStringView(u"_-.:$/").contains(_text[_at])))
            ++_at;
        return _at > start ? std::optional(_text.sliced(start, _at - start).toString()) : std::nullopt;
    }

    std::optional<QString> readQuoted()
    {
        QString token;
        while (!atEnd()) {
            const QChar unit = _text[_at++];
            if (unit == u'"')
                return token;
            if (unit != u'\\')
                token += unit;
            else if (!atEnd())
                token += readEscape();
        }
        return std::nullopt;
    }

    QChar readEscape()
    {
        const char16_t unit = _text[_at++].unicode();
        switch (unit) {
        case u'n':
            return u'\n';
        case u'r':
            return u'\r';
        case u't':
            return u'\t';
        case u'U':
        case u'u':
            return readNumber(4, 16).value_or(QChar(unit));
        default:
            if (unit < u'0' || unit > u'7')
                return unit;
            --_at;
            return readNumber(3, 8).value_or(QChar(unit));
        }
    }

    // A number of at most `digits` digits.
    std::optional<QChar> readNumber(qsizetype digits, int base)
    {
        qsizetype length = 0;
        uint number = 0;
        for (; length < digits && !atEnd(); ++length, ++_at) {
            bool isDigit = false;
            const uint digit = _text.sliced(_at, 1).toUInt(&isDigit, base);
            if (!isDigit)
                break;
            number = number * static_cast<uint>(base) + digit;
        }
        return length > 0 ? std::optional(QChar(static_cast<char16_t>(number))) : std::nullopt;
    }

    QStringView _text;
    qsizetype _at = 0;
};

} // namespace

QHash<QString, QString> parseStringsFile(QByteArrayView bytes)
{
    const auto encoding = QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8);
    const QString text = QStringDecoder(encoding).decode(bytes);
    QHash<QString, QString> table;
    Parser parser(text);
    for (QString key, value; parser.readRecord(key, value);)
        table.insert(key, value);
    return table;
}
