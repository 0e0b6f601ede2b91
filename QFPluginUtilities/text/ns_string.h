#pragma once

#include "platform/QFExport.h"
#include "text/CharacterCache.h"

#include <QByteArray>
#include <QString>

namespace ns {

/// A string as generic algorithms read it. Copies share the string. One thread at a time.
class QF_EXPORT string
{
public:
    /// Holds nothing: nil, of length 0.
    string() = default;
    /// Without `retain` the string is borrowed: the original must live, and stay as it is, as long as this.
    string(const QString &text, bool retain = true); // NOLINT: strings are given where texts are wanted
    string(const string &other);
    string &operator=(const string &other);
    virtual ~string();

    [[nodiscard]] virtual const QString &text() const;
    [[nodiscard]] long length() const { return long(text().size()); }
    /// The UTF-16 unit, 0 for an index below 0 or from the length on.
    [[nodiscard]] char16_t operator[](long index) const;
    /// UTF-8 with a NUL behind it, good until the next call or the end of this object. Halves of surrogate
    /// pairs become question marks. nullptr for nil.
    [[nodiscard]] const char *c_str() const;

protected:
    void textHasChanged() { _cache.invalidate(); }

private:
    struct Source
    {
        const QString &text;
        [[nodiscard]] qsizetype length() const { return text.size(); }
        [[nodiscard]] const char16_t *storage() const;
        void copy(qsizetype start, qsizetype end, char16_t *units) const;
    };

    QString _text;
    mutable CharacterCache<Source> _cache;
    mutable QByteArray _utf8;
};

/// A string that is changed in place. It does not own the string, which must outlive it and its copies and is
/// changed by nobody else meanwhile; of several copies, only one may change it.
class QF_EXPORT mutable_string : public string
{
public:
    explicit mutable_string(QString &text);
    ~mutable_string() override;
    mutable_string(const mutable_string &) = default;
    mutable_string &operator=(const mutable_string &) = default;

    [[nodiscard]] const QString &text() const override { return *_receiver; }
    /// Puts the replacement, which may be this string, in the place of a range, cut to what there is of it.
    /// Linear in what follows.
    void replace(long position, long length, const string &replacement);

private:
    QString *_receiver;
};

} // namespace ns
