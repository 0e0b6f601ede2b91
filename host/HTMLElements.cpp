#include "host/HTMLElements.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

using enum HTMLElement;

constexpr std::array<std::pair<QStringView, HTMLElement>, 106> kElements{{
    {u"a", Anchor},
    {u"abbr", Inline},
    {u"acronym", Inline},
    {u"address", Block},
    {u"applet", Skipped},
    {u"area", Void},
    {u"article", Block},
    {u"aside", Block},
    {u"audio", Skipped},
    {u"b", Bold},
    {u"base", Void},
    {u"basefont", Void},
    {u"bdi", Inline},
    {u"bdo", Inline},
    {u"big", Big},
    {u"blockquote", Quote},
    {u"body", Root},
    {u"br", Break},
    {u"canvas", Skipped},
    {u"caption", Caption},
    {u"center", Center},
    {u"cite", Italic},
    {u"code", Code},
    {u"col", Void},
    {u"data", Inline},
    {u"datalist", Skipped},
    {u"dd", Definition},
    {u"del", Inline},
    {u"details", Block},
    {u"dfn", Italic},
    {u"dialog", Block},
    {u"dir", List},
    {u"div", Block},
    {u"dl", DefinitionList},
    {u"dt", Term},
    {u"em", Italic},
    {u"embed", Void},
    {u"fieldset", Block},
    {u"figcaption", Block},
    {u"figure", Block},
    {u"font", Font},
    {u"footer", Block},
    {u"form", Block},
    {u"h1", Heading},
    {u"h2", Heading},
    {u"h3", Heading},
    {u"h4", Heading},
    {u"h5", Heading},
    {u"h6", Heading},
    {u"head", Skipped},
    {u"header", Block},
    {u"hgroup", Block},
    {u"hr", Rule},
    {u"html", Root},
    {u"i", Italic},
    {u"img", Image},
    {u"input", Void},
    {u"ins", Underlined},
    {u"kbd", Code},
    {u"label", Inline},
    {u"legend", Block},
    {u"li", Item},
    {u"link", Void},
    {u"listing", Preformatted},
    {u"main", Block},
    {u"mark", Inline},
    {u"menu", List},
    {u"meta", Void},
    {u"nav", Block},
    {u"object", Skipped},
    {u"ol", List},
    {u"option", Skipped},
    {u"p", Paragraph},
    {u"param", Void},
    {u"plaintext", Preformatted},
    {u"pre", Preformatted},
    {u"q", Inline},
    {u"s", Inline},
    {u"samp", Code},
    {u"search", Block},
    {u"section", Block},
    {u"select", Skipped},
    {u"small", Small},
    {u"source", Void},
    {u"span", Inline},
    {u"strike", Inline},
    {u"strong", Bold},
    {u"sub", Raised},
    {u"summary", Block},
    {u"sup", Raised},
    {u"table", Table},
    {u"tbody", Section},
    {u"td", Cell},
    {u"template", Skipped},
    {u"tfoot", Section},
    {u"th", Cell},
    {u"thead", Section},
    {u"time", Inline},
    {u"tr", Row},
    {u"track", Void},
    {u"tt", Code},
    {u"u", Underlined},
    {u"ul", List},
    {u"var", Italic},
    {u"video", Skipped},
    {u"wbr", Void},
}};

constexpr bool before(QStringView a, QStringView b)
{
    return std::u16string_view(a.utf16(), static_cast<size_t>(a.size())) <
           std::u16string_view(b.utf16(), static_cast<size_t>(b.size()));
}

static_assert(std::is_sorted(kElements.begin(), kElements.end(),
                             [](const auto &a, const auto &b) { return before(a.first, b.first); }));

} // namespace

HTMLElement htmlElement(QStringView name)
{
    const auto *found =
        std::lower_bound(kElements.begin(), kElements.end(), name,
                         [](const auto &row, QStringView wanted) { return before(row.first, wanted); });
    return found != kElements.end() && found->first == name ? found->second : Unknown;
}

bool isBlock(HTMLElement element)
{
    return (element >= Block && element <= Caption) || element == Rule;
}

bool isVoid(HTMLElement element)
{
    return element == Void || element == Break || element == Rule || element == Image;
}
