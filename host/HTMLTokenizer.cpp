#include "host/HTMLTokenizer.h"

#include "host/HTMLBlanks.h"
#include "host/HTMLEncoding.h"
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

bool isLetter(QChar unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

bool isDigit(QChar unit)
{
    return unit >= u'0' && unit <= u'9';
}

bool isHexadecimalDigit(QChar unit)
{
    return isDigit(unit) || (unit >= u'a' && unit <= u'f') || (unit >= u'A' && unit <= u'F');
}

bool isAlphanumeric(QChar unit)
{
    return isLetter(unit) || isDigit(unit);
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
    return number <= 0xFF ? windowsCharacter(static_cast<char16_t>(number)) : number;
}

/// As below, for "&#…".
qsizetype readNumericReference(QStringView text, char32_t &character)
{
    const bool hexadecimal = text.size() > 2 && (text[2] == u'x' || text[2] == u'X');
    const qsizetype start = hexadecimal ? 3 : 2;
    qsizetype end = start;
    while (end < text.size() && (hexadecimal ? isHexadecimalDigit(text[end]) : isDigit(text[end])))
        ++end;
    if (end == start)
        return 0;
    character = characterOfNumber(text.mid(start, end - start), hexadecimal ? 16 : 10);
    return end < text.size() && text[end] == u';' ? end + 1 : end;
}

/// Length of the reference at the start of `text` (which starts with "&"), and its character; 0 when there is
/// none. Only Latin 1 names may stand without ";", and not before "=", where a link's next parameter starts.
qsizetype readReference(QStringView text, char32_t &character)
{
    if (text.size() > 1 && text[1] == u'#')
        return readNumericReference(text, character);
    const qsizetype limit = std::min(text.size(), 1 + kMaximumReferenceLength);
    qsizetype end = 1;
    while (end < limit && isAlphanumeric(text[end]))
        ++end;
    const auto found = namedCharacters().constFind(text.mid(1, end - 1).toString());
    if (found == namedCharacters().cend())
        return 0;
    character = *found;
    if (end < text.size() && text[end] == u';')
        return end + 1;
    const bool beforeEquals = end < text.size() && text[end] == u'=';
    return character <= 0xFF && !beforeEquals ? end : 0;
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
    resolved.remove(QChar(0));
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
    while (_position < _html.size() && !isHTMLBlank(_html[_position]) && _html[_position] != u'>' &&
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
    if (!isEndTag && !(_isSelfClosed && _name == u"svg"))
        skipRawContent();
    return true;
}

/// Reads up to the ">" that ends the tag.
void HTMLTokenizer::readAttributes()
{
    _isSelfClosed = false;
    while (_position < _html.size() && _html[_position] != u'>') {
        _isSelfClosed = _html[_position] == u'/';
        if (_isSelfClosed || isHTMLBlank(_html[_position])) {
            ++_position;
            continue;
        }
        const qsizetype start = _position++;
        while (_position < _html.size() && !isHTMLBlank(_html[_position]) && _html[_position] != u'>' &&
               _html[_position] != u'/' && _html[_position] != u'=')
            ++_position;
        const QString name = _html.mid(start, _position - start).toString().toLower();
        while (_position < _html.size() && isHTMLBlank(_html[_position]))
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
    while (_position < _html.size() && isHTMLBlank(_html[_position]))
        ++_position;
    if (_position >= _html.size())
        return u""_s;
    const QChar quote = _html[_position];
    const qsizetype start = quote == u'"' || quote == u'\'' ? ++_position : _position;
    if (start == _position && quote != u'"' && quote != u'\'') {
        while (_position < _html.size() && !isHTMLBlank(_html[_position]) && _html[_position] != u'>')
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
