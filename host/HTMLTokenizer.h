#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <utility>

/// Cuts HTML into texts and tags, forgivingly, as browsers do: nothing is an error. Comments, declarations,
/// processing instructions and the content of scripts, style sheets and the like are passed over. Linear for
/// any input; the text must outlive the tokenizer.
class HTMLTokenizer
{
public:
    enum class Token : quint8 { Text, StartTag, EndTag, End };

    explicit HTMLTokenizer(QStringView html) : _html(html) {}

    Token next();

    /// Of a text: its content with references resolved and NUL removed.
    [[nodiscard]] const QString &text() const { return _text; }
    /// Of a tag: its name in lower case.
    [[nodiscard]] const QString &name() const { return _name; }
    /// Of a start tag: the value of an attribute, named in lower case; nil when absent, empty when without
    /// value.
    [[nodiscard]] QString attribute(QStringView name) const;
    [[nodiscard]] bool hasAttributes() const { return !_attributes.isEmpty(); }

private:
    bool readTag();
    void readAttributes();
    QString readAttributeValue();
    void skipTo(QStringView end);
    void skipRawContent();

    QStringView _html;
    qsizetype _position = 0;
    QString _text;
    QString _name;
    QList<std::pair<QString, QString>> _attributes;
    bool _isSelfClosed = false; ///< the tag ends with "/>"
};

/// The text with character references resolved: the named ones of HTML 4, decimal and hexadecimal ones.
/// Numbers that are no character give U+FFFD; unknown names stay as they are. NUL goes.
[[nodiscard]] QString resolvedReferences(QStringView text);
