#include "text/QFCanonicalSearch.h"

#include <QChar>

#include <algorithm>

namespace {

struct CodePoint
{
    char32_t value = 0;
    qsizetype units = 1;
};

// A lone surrogate stands for itself.
CodePoint codePointAt(QStringView text, qsizetype index)
{
    const QChar unit = text[index];
    if (unit.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate())
        return {QChar::surrogateToUcs4(unit, text[index + 1]), 2};
    return {unit.unicode(), 1};
}

QString decomposed(QStringView text)
{
    return text.toString().normalized(QString::NormalizationForm_D);
}

// First code point of the canonical decomposition.
char32_t firstDecomposed(char32_t codePoint)
{
    if (codePoint < 0xC0)
        return codePoint;
    // Hangul syllables decompose by arithmetic: each leading consonant has 588 of them.
    if (codePoint >= 0xAC00 && codePoint < 0xD7A4)
        return 0x1100 + (codePoint - 0xAC00) / 588;
    if (QChar::decompositionTag(codePoint) != QChar::Canonical)
        return codePoint;
    const QString whole = decomposed(QString::fromUcs4(&codePoint, 1));
    return codePointAt(whole, 0).value;
}

// Whether the code point goes on with the character before it.
bool continues(char32_t codePoint)
{
    return codePoint >= 0x300 && QChar::combiningClass(firstDecomposed(codePoint)) != 0;
}

bool isASCII(QStringView text)
{
    return std::all_of(text.utf16(), text.utf16() + text.size(), [](char16_t unit) { return unit < 0x80; });
}

// End of the character at `start` with all marks on it; -1 when it is longer than `longest`.
qsizetype endOfCharacter(QStringView text, qsizetype start, qsizetype longest)
{
    qsizetype end = start + codePointAt(text, start).units;
    while (end < text.size()) {
        const CodePoint next = codePointAt(text, end);
        if (!continues(next.value))
            break;
        end += next.units;
        if (end - start > longest)
            return -1;
    }
    return end;
}

} // namespace

QFCanonicalSearch::QFCanonicalSearch(QStringView text, const QString &target) : _text(text), _target(target)
{
    if (target.isEmpty())
        return;
    _literal = isASCII(target) && isASCII(text);
    if (!_literal)
        _target = decomposed(target);
    _first = codePointAt(_target, 0).value;
}

NSRange QFCanonicalSearch::next(qsizetype from) const
{
    constexpr NSRange notFound{NSNotFound, 0};
    if (_target.isEmpty())
        return notFound;
    if (_literal) {
        const qsizetype found = _text.indexOf(_target, from);
        return found < 0 ? notFound : NSRange{found, _target.size()};
    }
    for (qsizetype start = from; start < _text.size(); ++start) {
        if (!startsLikeTarget(start))
            continue;
        const qsizetype end = endOfHitAt(start);
        if (end >= 0)
            return {start, end - start};
    }
    return notFound;
}

bool QFCanonicalSearch::startsLikeTarget(qsizetype index) const
{
    const char16_t unit = _text[index].unicode();
    if (unit < 0xC0)
        return unit == _first;
    if (_text[index].isLowSurrogate() && index > 0 && _text[index - 1].isHighSurrogate())
        return false;
    // Marks at the start of a target come in canonical order, which need not be that of the text.
    const char32_t first = firstDecomposed(codePointAt(_text, index).value);
    return first == _first || (continues(first) && continues(_first));
}

// Compares character by character, each with its marks: where all have matched up to the target's end, the
// hit also ends with the last mark. -1 for no hit.
qsizetype QFCanonicalSearch::endOfHitAt(qsizetype start) const
{
    qsizetype matched = 0;
    qsizetype index = start;
    while (matched < _target.size() && index < _text.size()) {
        // Decomposing can halve a text's units, no more.
        const qsizetype end = endOfCharacter(_text, index, 2 * (_target.size() - matched));
        if (end < 0)
            return -1;
        const QStringView character = _text.sliced(index, end - index);
        const QString spelled = character.size() == 1 && character[0].unicode() < 0xC0
                                    ? character.toString()
                                    : decomposed(character);
        if (!QStringView(_target).sliced(matched).startsWith(spelled))
            return -1;
        matched += spelled.size();
        index = end;
    }
    return matched == _target.size() ? index : -1;
}
