#include "text/ns_string.h"

#include <algorithm>

ns::string::string(const QString &text, bool retain)
    : _text(retain || text.isNull() ? text : QString::fromRawData(text.constData(), text.size()))
{
}

ns::string::string(const string &other) : _text(other.text()) {}

ns::string &ns::string::operator=(const string &other)
{
    _text = other.text();
    textHasChanged();
    return *this;
}

ns::string::~string() = default;

const QString &ns::string::text() const
{
    return _text;
}

char16_t ns::string::operator[](long index) const
{
    return _cache.at(Source{text()}, index);
}

const char *ns::string::c_str() const
{
    if (text().isNull())
        return nullptr;
    _utf8 = text().toUtf8();
    return _utf8.constData();
}

const char16_t *ns::string::Source::storage() const
{
    return reinterpret_cast<const char16_t *>(text.constData());
}

void ns::string::Source::copy(qsizetype start, qsizetype end, char16_t *units) const
{
    std::copy(storage() + start, storage() + end, units);
}

ns::mutable_string::mutable_string(QString &text) : _receiver(&text) {}

ns::mutable_string::~mutable_string() = default;

void ns::mutable_string::replace(long position, long length, const string &replacement)
{
    const qsizetype start = std::clamp<qsizetype>(position, 0, _receiver->size());
    const qsizetype count = std::clamp<qsizetype>(length, 0, _receiver->size() - start);
    _receiver->replace(start, count, QString(replacement.text()));
    textHasChanged();
}
