#include "host/MarkdownImporter.h"

#include "host/HTMLImporter.h"

#include <md4c.h>

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaximumGrowth = 100; // output by input
constexpr qsizetype kOutputAlwaysAllowed = 1 << 20;
constexpr qsizetype kMaximumOutput = qsizetype(512) << 20;

/// Writes HTML as the parser reports blocks, spans and texts. A non-zero answer stops the parser.
class HTMLWriter
{
public:
    explicit HTMLWriter(qsizetype inputSize)
        : _limit(std::clamp(inputSize * kMaximumGrowth, kOutputAlwaysAllowed, kMaximumOutput))
    {
    }

    [[nodiscard]] const QByteArray &html() const { return _html; }
    [[nodiscard]] bool isTooLarge() const { return _html.size() > _limit; }

    static int enterBlock(MD_BLOCKTYPE type, void *detail, void *self)
    {
        return of(self).block(type, detail, true);
    }
    static int leaveBlock(MD_BLOCKTYPE type, void *detail, void *self)
    {
        return of(self).block(type, detail, false);
    }
    static int enterSpan(MD_SPANTYPE type, void *detail, void *self)
    {
        return of(self).span(type, detail, true);
    }
    static int leaveSpan(MD_SPANTYPE type, void *detail, void *self)
    {
        return of(self).span(type, detail, false);
    }
    static int text(MD_TEXTTYPE type, const MD_CHAR *text, MD_SIZE size, void *self)
    {
        return of(self).write(type, {text, static_cast<qsizetype>(size)});
    }

private:
    static HTMLWriter &of(void *self) { return *static_cast<HTMLWriter *>(self); }

    int block(MD_BLOCKTYPE type, const void *detail, bool enters);
    int span(MD_SPANTYPE type, const void *detail, bool enters);
    int write(MD_TEXTTYPE type, QByteArrayView text);
    void tag(const char *name, bool enters);
    void cell(const char *name, const MD_BLOCK_TD_DETAIL &detail, bool enters);
    void item(const MD_BLOCK_LI_DETAIL &detail, bool enters);
    void link(const MD_SPAN_A_DETAIL &detail, bool enters);
    void image(const MD_SPAN_IMG_DETAIL &detail, bool enters);
    void attribute(const char *name, const MD_ATTRIBUTE &value);
    void escaped(QByteArrayView text);
    [[nodiscard]] int answer() const { return isTooLarge() ? 1 : 0; }

    QByteArray _html;
    qsizetype _limit;
    int _images = 0; ///< open pictures, whose texts are alternative texts
};

void HTMLWriter::tag(const char *name, bool enters)
{
    _html += enters ? "<" : "</";
    _html += name;
    _html += '>';
}

int HTMLWriter::block(MD_BLOCKTYPE type, const void *detail, bool enters)
{
    switch (type) {
    case MD_BLOCK_QUOTE:
        tag("blockquote", enters);
        break;
    case MD_BLOCK_UL:
        tag("ul", enters);
        break;
    case MD_BLOCK_OL:
        if (enters)
            _html +=
                "<ol start=" + QByteArray::number(static_cast<const MD_BLOCK_OL_DETAIL *>(detail)->start) +
                '>';
        else
            tag("ol", false);
        break;
    case MD_BLOCK_LI:
        item(*static_cast<const MD_BLOCK_LI_DETAIL *>(detail), enters);
        break;
    case MD_BLOCK_HR:
        if (enters)
            _html += "<hr>";
        break;
    case MD_BLOCK_H: {
        const auto level = static_cast<size_t>(static_cast<const MD_BLOCK_H_DETAIL *>(detail)->level - 1);
        constexpr std::array<const char *, 6> names{"h1", "h2", "h3", "h4", "h5", "h6"};
        tag(names[std::min<size_t>(level, 5)], enters);
        break;
    }
    case MD_BLOCK_CODE:
        tag("pre", enters);
        break;
    case MD_BLOCK_P:
        tag("p", enters);
        break;
    case MD_BLOCK_TABLE:
        _html += enters ? "<table border=1>" : "</table>";
        break;
    case MD_BLOCK_TR:
        tag("tr", enters);
        break;
    case MD_BLOCK_TH:
    case MD_BLOCK_TD:
        cell(type == MD_BLOCK_TH ? "th" : "td", *static_cast<const MD_BLOCK_TD_DETAIL *>(detail), enters);
        break;
    default: // the document, raw HTML, and the parts of a table
        break;
    }
    return answer();
}

void HTMLWriter::item(const MD_BLOCK_LI_DETAIL &detail, bool enters)
{
    tag("li", enters);
    if (enters && detail.is_task != 0)
        _html += detail.task_mark == ' ' ? "&#9744; " : "&#9745; ";
}

void HTMLWriter::cell(const char *name, const MD_BLOCK_TD_DETAIL &detail, bool enters)
{
    if (!enters)
        return tag(name, false);
    _html += '<';
    _html += name;
    if (detail.align == MD_ALIGN_CENTER)
        _html += " align=center";
    else if (detail.align == MD_ALIGN_RIGHT)
        _html += " align=right";
    _html += '>';
}

int HTMLWriter::span(MD_SPANTYPE type, const void *detail, bool enters)
{
    if (type == MD_SPAN_IMG)
        image(*static_cast<const MD_SPAN_IMG_DETAIL *>(detail), enters);
    else if (_images > 0)
        return answer();
    else if (type == MD_SPAN_EM)
        tag("em", enters);
    else if (type == MD_SPAN_STRONG)
        tag("strong", enters);
    else if (type == MD_SPAN_CODE)
        tag("code", enters);
    else if (type == MD_SPAN_DEL)
        tag("del", enters);
    else if (type == MD_SPAN_A)
        link(*static_cast<const MD_SPAN_A_DETAIL *>(detail), enters);
    return answer();
}

void HTMLWriter::link(const MD_SPAN_A_DETAIL &detail, bool enters)
{
    if (!enters)
        return tag("a", false);
    _html += "<a";
    attribute("href", detail.href);
    attribute("title", detail.title);
    _html += '>';
}

/// The texts inside a picture make up its alternative text.
void HTMLWriter::image(const MD_SPAN_IMG_DETAIL &detail, bool enters)
{
    if (enters && _images++ == 0) {
        _html += "<img";
        attribute("src", detail.src);
        _html += " alt=\"";
    } else if (!enters && --_images == 0) {
        _html += "\">";
    }
}

void HTMLWriter::attribute(const char *name, const MD_ATTRIBUTE &value)
{
    if (!value.text)
        return;
    _html += ' ';
    _html += name;
    _html += "=\"";
    for (int piece = 0; value.substr_offsets[piece] < value.size; ++piece) {
        const MD_OFFSET from = value.substr_offsets[piece];
        const QByteArrayView text(value.text + from,
                                  static_cast<qsizetype>(value.substr_offsets[piece + 1] - from));
        write(value.substr_types[piece], text);
    }
    _html += '"';
}

int HTMLWriter::write(MD_TEXTTYPE type, QByteArrayView text)
{
    switch (type) {
    case MD_TEXT_NULLCHAR:
        _html += "\xEF\xBF\xBD";
        break;
    case MD_TEXT_BR:
        _html += _images > 0 ? " " : "<br>";
        break;
    case MD_TEXT_SOFTBR:
        _html += '\n';
        break;
    case MD_TEXT_HTML:
        if (_images == 0)
            _html += text;
        break;
    case MD_TEXT_ENTITY:
        _html += text;
        break;
    default:
        escaped(text);
        break;
    }
    return answer();
}

void HTMLWriter::escaped(QByteArrayView text)
{
    qsizetype copied = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char *reference = text[i] == '&'   ? "&amp;"
                                : text[i] == '<' ? "&lt;"
                                : text[i] == '"' ? "&quot;"
                                                 : nullptr;
        if (!reference)
            continue;
        _html += text.sliced(copied, i - copied);
        _html += reference;
        copied = i + 1;
    }
    _html += text.sliced(copied);
}

} // namespace

DocumentResult MarkdownImporter::read(const QByteArray &markdown, const QString &baseFolder)
{
    if (markdown.size() > std::numeric_limits<MD_SIZE>::max() / 2)
        return DocumentResult::failure(u"the document is too large"_s);
    HTMLWriter writer(markdown.size());
    const MD_PARSER parser{0,
                           MD_DIALECT_GITHUB,
                           &HTMLWriter::enterBlock,
                           &HTMLWriter::leaveBlock,
                           &HTMLWriter::enterSpan,
                           &HTMLWriter::leaveSpan,
                           &HTMLWriter::text,
                           nullptr,
                           nullptr};
    const int status =
        md_parse(markdown.constData(), static_cast<MD_SIZE>(markdown.size()), &parser, &writer);
    if (writer.isTooLarge())
        return DocumentResult::failure(u"it would grow too large"_s);
    if (status != 0)
        return DocumentResult::failure(u"it cannot be read as Markdown"_s);
    return {HTMLImporter::readText(QString::fromUtf8(writer.html()), baseFolder), {}};
}
