#include "text/QFHTMLTextWriter.h"

#include "platform/LargeMemory.h"
#include "text/QFCharacterConverter.h"
#include "text/QFUnitEncoder.h"

#include <algorithm>
#include <utility>

namespace {

const QFUnitEncoder &lineBreaksOnly()
{
    static const QFUnitEncoder encoder = [] {
        QFUnitEncoder made;
        made.setLineBreaks(u"<br />");
        return made;
    }();
    return encoder;
}

} // namespace

QFHTMLTextWriter::QFHTMLTextWriter(qsizetype capacity)
    : _textEncoder(QFCharacterConverter::lineBreakingEncoder()), _markupEncoder(lineBreaksOnly()),
      _slack(std::max(_textEncoder.slack(), _markupEncoder.slack()))
{
    grow(std::max<qsizetype>(capacity, 0));
}

void QFHTMLTextWriter::reserve(qsizetype units)
{
    if (units > size())
        grow(units - size());
}

void QFHTMLTextWriter::appendText(QStringView text)
{
    append(_textEncoder, text);
}

void QFHTMLTextWriter::appendMarkup(QStringView markup)
{
    append(_markupEncoder, markup);
}

void QFHTMLTextWriter::append(const QFUnitEncoder &encoder, QStringView text)
{
    if (text.isEmpty())
        return;
    const bool endsInBreak = text.back() == u'\r' && encoder.breaksAt(u'\r');
    // The line feed whose carriage return was the end of the piece before.
    if (_afterCarriageReturn && text.front() == u'\n' && encoder.breaksAt(u'\n'))
        text = text.sliced(1);
    _afterCarriageReturn = endsInBreak;

    QFUnitEncoder::Source source{text.utf16(), text.utf16(), text.utf16() + text.size()};
    room(text.size());
    while (!encoder.encode(source, _at, _limit))
        grow(source.end - source.from);
}

void QFHTMLTextWriter::grow(qsizetype units)
{
    const qsizetype used = size();
    // A fresh buffer rather than one that the system makes longer: what is copied then comes in large pages
    // too.
    const qsizetype wanted = std::max(used + units, used + used / 2) + _slack;
    if (wanted > _buffer.capacity()) {
        QString larger;
        larger.reserve(wanted);
        adviseLargePages(larger.data(), static_cast<size_t>(wanted) * sizeof(QChar));
        larger.append(QStringView(_buffer).first(used));
        _buffer = std::move(larger);
    }
    _buffer.resize(_buffer.capacity());
    auto *const start = reinterpret_cast<char16_t *>(_buffer.data());
    _at = start + used;
    _limit = start + _buffer.size() - _slack;
}

QString QFHTMLTextWriter::take()
{
    _buffer.resize(size());
    QString result = std::exchange(_buffer, QString());
    _at = _limit = nullptr;
    _afterCarriageReturn = false;
    return result;
}
