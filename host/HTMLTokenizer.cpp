#include "host/HTMLTokenizer.h"

#include "text/QFCharacterConverter.h"

#include <QHash>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaximumAttributes = 64;      // of one tag; more are passed over
constexpr qsizetype kMaximumReferenceLength = 10; // "thetasym", with room

/// Elements whose content is not markup and is not shown.
constexpr std::array<QStringView, 9> kRawElements{u"iframe", u"noembed",  u"noframes", u"script", u"style",
                                                  u"svg",    u"textarea", u"title",    u"xmp"};

/// What browsers read for the numbers 128 to 159, which are control characters in Unicode.
constexpr std::array<char16_t, 32> kWindowsCharacters{
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

bool isBlank(QChar unit)
{
    return unit == u' ' || unit == u'\t' || unit == u'\n' || unit == u'\r' || unit == u'\f';
}

bool isLetter(QChar unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

bool isAlphanumeric(QChar unit)
{
    return isLetter(unit) || (unit >= u'0' && unit <= u'9');
}

const QHash<QString, char32_t> &namedCharacters()
{
    static const QHash<QString, char32_t> table = [] {
        QHash<QString, char32_t> names{
            {u"apos"_s, U'\''}, {u"amp"_s, U'&'}, {u"lt"_s, U'<'}, {u"gt"_s, U'>'}};
        for (const auto &[character, name] : QFCharacterConverter::mappingTable())
            names.insert(QString::fromStdString(name), character);
        return names;
    }();
    return table;
}

char32_t characterOfNumber(QStringView digits, int base)
{
    bool ok = false;
    const uint number = digits.toUInt(&ok, base);
    if (!ok || number == 0 || number > 0x10FFFF || QChar::isSurrogate(number))
        return QChar::ReplacementCharacter;
    if (number >= 0x80 && number <= 0x9F)
        return kWindowsCharacters[number - 0x80];
    return number;
}

/// Length of the reference at the start of `text` (which starts with "&"), and its character; 0 when there is
/// none.
qsizetype readReference(QStringView text, char32_t &character)
{
    const bool numeric = text.size() > 2 && text[1] == u'#';
    const bool hexadecimal = numeric && (text[2] == u'x' || text[2] == u'X');
    const qsizetype start = hexadecimal ? 3 : numeric ? 2 : 1;
    const qsizetype limit = std::min(text.size(), start + kMaximumReferenceLength);
    qsizetype end = start;
    while (end < limit && isAlphanumeric(text[end]))
        ++end;
    if (end == start)
        return 0;
    const QStringView body = text.mid(start, end - start);
    if (numeric) {
        character = characterOfNumber(body, hexadecimal ? 16 : 10);
    } else {
        const auto found = namedCharacters().constFind(body.toString());
        if (found == namedCharacters().cend())
            return 0;
        character = *found;
    }
    return end < text.size() && text[end] == u';' ? end + 1 : end;
}

} // namespace

QString resolvedReferences(QStringView text)
{
    QString resolved;
    resolved.reserve(text.size());
    while (!text.isEmpty()) {
        const qsizetype ampersand = text.indexOf(u'&');
        resolved += text.left(ampersand < 0 ? text.size() : ampersand);
        if (ampersand < 0)
            break;
        text = text.mid(ampersand);
        char32_t character = 0;
        const qsizetype length = readReference(text, character);
        if (length > 0)
            resolved += QChar::fromUcs4(character);
        else
            resolved += u'&';
        text = text.mid(std::max<qsizetype>(length, 1));
    }
    return resolved;
}

HTMLTokenizer::Token HTMLTokenizer::next()
{
    while (_position < _html.size()) {
        const qsizetype start = _position;
        // A "<" that starts no tag is text: look on from the next one.
        qsizetype open = _html.indexOf(u'<', start);
        while (open >= 0 && open + 1 < _html.size() && !isLetter(_html[open + 1]) &&
               _html[open + 1] != u'/' && _html[open + 1] != u'!' && _html[open + 1] != u'?')
            open = _html.indexOf(u'<', open + 1);
        if (open < 0 || open + 1 >= _html.size())
            open = _html.size();
        if (open > start) {
            _position = open;
            _text = resolvedReferences(_html.mid(start, open - start));
            _text.remove(QChar(0));
            return Token::Text;
        }
        const QChar kind = _html[open + 1];
        if (kind == u'!' || kind == u'?') {
            _position = open + 2;
            skipTo(_html.mid(open).startsWith(u"<!--") ? u"-->" : u">");
        } else if (readTag()) {
            return kind == u'/' ? Token::EndTag : Token::StartTag;
        }
    }
    return Token::End;
}

void HTMLTokenizer::skipTo(QStringView end)
{
    const qsizetype found = _html.indexOf(end, _position);
    _position = found < 0 ? _html.size() : found + end.size();
}

/// Reads the tag at the position. False for one without a name or end, which is passed over.
bool HTMLTokenizer::readTag()
{
    const bool isEndTag = _html[_position + 1] == u'/';
    _position += isEndTag ? 2 : 1;
    const qsizetype start = _position;
    while (_position < _html.size() && !isBlank(_html[_position]) && _html[_position] != u'>' &&
           _html[_position] != u'/')
        ++_position;
    _name = _html.mid(start, _position - start).toString().toLower();
    _attributes.clear();
    readAttributes();
    if (_position >= _html.size() || _name.isEmpty()) {
        _position = std::min(_position + 1, _html.size());
        return false;
    }
    ++_position;
    if (!isEndTag)
        skipRawContent();
    return true;
}

/// Reads up to the ">" that ends the tag.
void HTMLTokenizer::readAttributes()
{
    while (_position < _html.size() && _html[_position] != u'>') {
        if (isBlank(_html[_position]) || _html[_position] == u'/') {
            ++_position;
            continue;
        }
        const qsizetype start = _position++;
        while (_position < _html.size() && !isBlank(_html[_position]) && _html[_position] != u'>' &&
               _html[_position] != u'/' && _html[_position] != u'=')
            ++_position;
        const QString name = _html.mid(start, _position - start).toString().toLower();
        while (_position < _html.size() && isBlank(_html[_position]))
            ++_position;
        const bool hasValue = _position < _html.size() && _html[_position] == u'=';
        const QString value = hasValue ? readAttributeValue() : u""_s;
        if (_attributes.size() < kMaximumAttributes && attribute(name).isNull())
            _attributes.append({name, value});
    }
}

/// Reads the value behind the "=" at the position.
QString HTMLTokenizer::readAttributeValue()
{
    ++_position;
    while (_position < _html.size() && isBlank(_html[_position]))
        ++_position;
    if (_position >= _html.size())
        return u""_s;
    const QChar quote = _html[_position];
    const qsizetype start = quote == u'"' || quote == u'\'' ? ++_position : _position;
    if (start == _position && quote != u'"' && quote != u'\'') {
        while (_position < _html.size() && !isBlank(_html[_position]) && _html[_position] != u'>')
            ++_position;
        return resolvedReferences(_html.mid(start, _position - start));
    }
    const qsizetype end = _html.indexOf(quote, start);
    const QStringView value = _html.mid(start, end < 0 ? -1 : end - start);
    _position = end < 0 ? _html.size() : end + 1;
    return value.isEmpty() ? u""_s : resolvedReferences(value);
}

void HTMLTokenizer::skipRawContent()
{
    if (std::find(kRawElements.begin(), kRawElements.end(), _name) == kRawElements.end())
        return;
    const qsizetype end = _html.indexOf(QString(u"</"_s + _name), _position, Qt::CaseInsensitive);
    _position = end < 0 ? _html.size() : end;
}

QString HTMLTokenizer::attribute(QStringView name) const
{
    const auto found = std::find_if(_attributes.begin(), _attributes.end(),
                                    [name](const auto &entry) { return entry.first == name; });
    return found == _attributes.end() ? QString() : found->second;
}
