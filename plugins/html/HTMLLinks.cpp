#include "plugins/html/HTMLLinks.h"

#include "text/QFStrings.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f';
}

/// The references that addresses are written with.
QString withoutReferences(QStringView value)
{
    QString text = value.trimmed().toString();
    if (text.contains(u'&'))
        text.replace(u"&quot;"_s, u"\""_s).replace(u"&#39;"_s, u"'"_s).replace(u"&amp;"_s, u"&"_s);
    return text;
}

/// One pass over the text; what is not an address of interest is copied as it stands.
class Scanner
{
public:
    Scanner(const QString &HTML, const HTMLLinks::Resolver &resolver) : _text(HTML), _resolver(resolver) {}

    QString result()
    {
        while (_at < _text.size()) {
            const qsizetype tag = _text.indexOf(u'<', _at);
            if (tag < 0)
                break;
            _at = tag + 1;
            if (follows(u"!--"))
                skipPast(u"-->");
            else if (_at < _text.size() && _text[_at].isLetter())
                readTag();
        }
        _result += QStringView(_text).sliced(_copied);
        return _result;
    }

private:
    [[nodiscard]] bool follows(QStringView mark) const
    {
        return QStringView(_text).sliced(_at).startsWith(mark);
    }

    void skipPast(QStringView mark, Qt::CaseSensitivity sensitivity = Qt::CaseSensitive)
    {
        const qsizetype found = _text.indexOf(mark, _at, sensitivity);
        _at = found < 0 ? _text.size() : found + mark.size();
    }
    void skipBlanks()
    {
        while (_at < _text.size() && isBlank(_text[_at]))
            ++_at;
    }
    QStringView word()
    {
        const qsizetype start = _at;
        while (_at < _text.size() && !isBlank(_text[_at]) && _text[_at] != u'>' && _text[_at] != u'=' &&
               (_text[_at] != u'/' || _at == start))
            ++_at;
        return QStringView(_text).sliced(start, _at - start);
    }

    void readTag()
    {
        const QString element = word().toString().toLower();
        while (_at < _text.size() && _text[_at] != u'>')
            readAttribute();
        ++_at;
        if (_at < _text.size() && (element == u"script" || element == u"style"))
            skipPast(u"</"_s + element, Qt::CaseInsensitive);
    }

    void readAttribute()
    {
        skipBlanks();
        if (_at >= _text.size() || _text[_at] == u'>')
            return;
        const QString name = word().toString().toLower();
        if (name.isEmpty())
            ++_at; // a stray "="
        skipBlanks();
        if (_at >= _text.size() || _text[_at] != u'=')
            return;
        ++_at;
        skipBlanks();
        const qsizetype start = _at;
        const QStringView value = readValue();
        if (name == u"href" || name == u"src")
            replaceValue(start, value);
    }

    /// The value without its quotation marks.
    QStringView readValue()
    {
        if (_at >= _text.size())
            return {};
        const QChar quote = _text[_at];
        if (quote != u'"' && quote != u'\'') {
            const qsizetype start = _at;
            while (_at < _text.size() && !isBlank(_text[_at]) && _text[_at] != u'>')
                ++_at;
            return QStringView(_text).sliced(start, _at - start);
        }
        const qsizetype end = _text.indexOf(quote, _at + 1);
        const qsizetype start = _at + 1;
        _at = end < 0 ? _text.size() : end + 1;
        return QStringView(_text).sliced(start, (end < 0 ? _text.size() : end) - start);
    }

    void replaceValue(qsizetype start, QStringView value)
    {
        const QString address = _resolver(withoutReferences(value));
        if (address.isNull())
            return;
        _result += QStringView(_text).sliced(_copied, start - _copied);
        _result += u'"' + QFStringUtilities::stringEscapedForHTMLAttribute(address) + u'"';
        _copied = _at;
    }

    const QString &_text;
    const HTMLLinks::Resolver &_resolver;
    QString _result;
    qsizetype _at = 0;
    qsizetype _copied = 0; ///< all before is in the result
};

} // namespace

QString HTMLLinks::resolved(const QString &HTML, const Resolver &resolver)
{
    return Scanner(HTML, resolver).result();
}

QString HTMLLinks::insideOfElement(const QString &HTML, const QString &name)
{
    const QRegularExpression start(u"<"_s + name + u"(\\s[^>]*)?>"_s,
                                   QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = start.match(HTML);
    if (!match.hasMatch())
        return {};
    const qsizetype end = HTML.lastIndexOf(u"</"_s + name, -1, Qt::CaseInsensitive);
    return HTML.mid(match.capturedEnd(), end < match.capturedEnd() ? -1 : end - match.capturedEnd());
}
