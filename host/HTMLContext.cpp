#include "host/HTMLContext.h"

#include "host/CSSValues.h"
#include "host/WebFonts.h"
#include "platform/NSFont.h"

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// Sizes of the six headings as browsers have them, by the size of body text.
constexpr std::array<float, 6> kHeadingSizes{2.0F, 1.5F, 1.17F, 1.0F, 0.83F, 0.67F};
constexpr float kRaisedSize = 0.75F; // of superscripts and subscripts where no element can carry them

float bodySize()
{
    return NSFont::userFontOfSize(0).pointSize;
}

qint64 spanFrom(const QString &text)
{
    bool ok = false;
    const qint64 span = text.trimmed().toLongLong(&ok);
    return ok && span > 0 ? span : 1;
}

NSTextBlockVerticalAlignment verticalAlignment(QStringView name, NSTextBlockVerticalAlignment otherwise)
{
    if (name.compare(u"top", Qt::CaseInsensitive) == 0)
        return NSTextBlockVerticalAlignment::Top;
    if (name.compare(u"middle", Qt::CaseInsensitive) == 0 ||
        name.compare(u"center", Qt::CaseInsensitive) == 0)
        return NSTextBlockVerticalAlignment::Middle;
    if (name.compare(u"bottom", Qt::CaseInsensitive) == 0)
        return NSTextBlockVerticalAlignment::Bottom;
    if (name.compare(u"baseline", Qt::CaseInsensitive) == 0)
        return NSTextBlockVerticalAlignment::Baseline;
    return otherwise;
}

} // namespace

HTMLContext HTMLContext::ofBody()
{
    HTMLContext context;
    context.style.size = bodySize();
    return context;
}

HTMLContext HTMLContext::inside(HTMLElement element, const HTMLTokenizer &tag, bool inCell) const
{
    HTMLContext context = *this;
    context.applyElement(element, tag, inCell);
    if (!tag.hasAttributes())
        return context;
    context.applyAttributes(element, tag);
    // The look of the page as a whole is the theme's business.
    if (element != HTMLElement::Root) {
        CSSValues::forEachDeclaration(tag.attribute(u"style"), [&](QStringView property, QStringView value) {
            context.applyDeclaration(property, value);
        });
    }
    return context;
}

void HTMLContext::applyElement(HTMLElement element, const HTMLTokenizer &tag, bool inCell)
{
    switch (element) {
    case HTMLElement::Heading: {
        const auto level = static_cast<size_t>(tag.name().at(1).digitValue() - 1);
        style.size = level == 3 ? bodySize() : std::round(bodySize() * kHeadingSizes[level]);
        style.bold = true;
        break;
    }
    case HTMLElement::Bold:
        style.bold = true;
        break;
    case HTMLElement::Quote:
    case HTMLElement::Italic:
        style.italic = true;
        break;
    case HTMLElement::Underlined:
        style.underlined = true;
        break;
    case HTMLElement::Preformatted:
        keepsWhitespace = true;
        [[fallthrough]];
    case HTMLElement::Code:
        style.family = WebFonts::monospacedFamily.toString();
        break;
    case HTMLElement::Small:
        style.size = std::max(1.0F, std::round(style.size / 1.2F));
        break;
    case HTMLElement::Big:
        style.size = std::min(500.0F, std::round(style.size * 1.2F));
        break;
    case HTMLElement::Raised:
        // Between the runs of a cell an element would stand outside the cell.
        if (inCell)
            style.size = std::max(1.0F, std::round(style.size * kRaisedSize));
        else
            style.directive = tag.name();
        break;
    case HTMLElement::Cell:
        style.bold = tag.name() == u"th";
        break;
    case HTMLElement::Center:
        alignment = NSTextAlignment::Center;
        break;
    case HTMLElement::Skipped:
        isHidden = true;
        break;
    default:
        break;
    }
}

void HTMLContext::applyAttributes(HTMLElement element, const HTMLTokenizer &tag)
{
    if (isBlock(element) || element == HTMLElement::Root)
        setDirection(tag.attribute(u"dir"));
    if (isBlock(element) && element != HTMLElement::Table)
        setAlignment(tag.attribute(u"align"));
    if (!tag.attribute(u"hidden").isNull())
        isHidden = true;
    if (element != HTMLElement::Font)
        return;
    if (const auto color = CSSValues::color(tag.attribute(u"color")))
        style.color = color;
    if (const QString family = WebFonts::familyForStack(tag.attribute(u"face")); !family.isNull())
        style.family = family;
    style.size = CSSValues::legacyFontSize(tag.attribute(u"size"), bodySize()).value_or(style.size);
}

void HTMLContext::applyDeclaration(QStringView property, QStringView value)
{
    if (property == u"color") {
        if (const auto color = CSSValues::color(value))
            style.color = color;
    } else if (property == u"font-family") {
        if (const QString family = WebFonts::familyForStack(value); !family.isNull())
            style.family = family;
    } else if (property == u"font-size") {
        style.size = CSSValues::fontSize(value, style.size, bodySize()).value_or(style.size);
    } else if (property == u"font-weight") {
        style.bold = value == u"bold" || value == u"bolder" || value.toInt() >= 600;
    } else if (property == u"font-style") {
        style.italic = value == u"italic" || value == u"oblique";
    } else if (property == u"font") {
        applyFontShorthand(value);
    } else if (property == u"text-decoration") {
        style.underlined = value.contains(u"underline") || (style.underlined && value != u"none");
    } else if (property == u"text-align") {
        setAlignment(value);
    } else if (property == u"direction") {
        setDirection(value);
    } else if (property == u"white-space") {
        keepsWhitespace = value.startsWith(u"pre");
    } else if (property == u"display") {
        isHidden = isHidden || value == u"none";
    }
}

/// "bold 14px Georgia, serif": words up to the size, which the families follow.
void HTMLContext::applyFontShorthand(QStringView value)
{
    while (!value.isEmpty()) {
        const qsizetype blank = value.indexOf(u' ');
        const QStringView word = value.left(blank < 0 ? value.size() : blank);
        value = blank < 0 ? QStringView() : value.mid(blank + 1).trimmed();
        if (word == u"bold" || word == u"bolder")
            style.bold = true;
        else if (word == u"italic" || word == u"oblique")
            style.italic = true;
        const QStringView size = word.left(word.indexOf(u'/') < 0 ? word.size() : word.indexOf(u'/'));
        if (const auto points = CSSValues::fontSize(size, style.size, bodySize())) {
            style.size = *points;
            return applyDeclaration(u"font-family", value);
        }
    }
}

void HTMLContext::setAlignment(QStringView name)
{
    const bool isRightToLeft = direction == NSWritingDirection::RightToLeft;
    if (name.compare(u"left", Qt::CaseInsensitive) == 0)
        alignment = NSTextAlignment::Left;
    else if (name.compare(u"right", Qt::CaseInsensitive) == 0)
        alignment = NSTextAlignment::Right;
    else if (name.compare(u"center", Qt::CaseInsensitive) == 0)
        alignment = NSTextAlignment::Center;
    else if (name.compare(u"justify", Qt::CaseInsensitive) == 0)
        alignment = NSTextAlignment::Justified;
    else if (name == u"start" || name == u"end")
        alignment = (name == u"start") == isRightToLeft ? NSTextAlignment::Right : NSTextAlignment::Left;
}

void HTMLContext::setDirection(QStringView name)
{
    if (name.compare(u"rtl", Qt::CaseInsensitive) == 0)
        direction = NSWritingDirection::RightToLeft;
    else if (name.compare(u"ltr", Qt::CaseInsensitive) == 0)
        direction = NSWritingDirection::LeftToRight;
    else
        return;
    setAlignment(u"start");
}

StyledTextBuilder::TableLook tableLook(const HTMLTokenizer &tag)
{
    StyledTextBuilder::TableLook look;
    const QString border = tag.attribute(u"border");
    if (!border.isNull())
        look.border = CSSValues::length(border).value_or(1);
    look.padding = CSSValues::length(tag.attribute(u"cellpadding")).value_or(look.padding);
    look.spacing = CSSValues::length(tag.attribute(u"cellspacing")).value_or(look.spacing);
    look.borderColor = CSSValues::color(tag.attribute(u"bordercolor"));
    CSSValues::forEachDeclaration(tag.attribute(u"style"), [&](QStringView property, QStringView value) {
        if (property == u"table-layout")
            look.fixedLayout = value == u"fixed";
        else if (property == u"border-color")
            look.borderColor = CSSValues::color(value);
    });
    return look;
}

StyledTextBuilder::CellLook cellLook(const HTMLTokenizer &tag)
{
    StyledTextBuilder::CellLook look;
    look.rowSpan = spanFrom(tag.attribute(u"rowspan"));
    look.columnSpan = spanFrom(tag.attribute(u"colspan"));
    look.width = CSSValues::length(tag.attribute(u"width")).value_or(0);
    look.height = CSSValues::length(tag.attribute(u"height")).value_or(0);
    look.verticalAlignment = verticalAlignment(tag.attribute(u"valign"), look.verticalAlignment);
    look.backgroundColor = CSSValues::color(tag.attribute(u"bgcolor"));
    CSSValues::forEachDeclaration(tag.attribute(u"style"), [&](QStringView property, QStringView value) {
        if (property == u"width")
            look.width = CSSValues::length(value).value_or(look.width);
        else if (property == u"height")
            look.height = CSSValues::length(value).value_or(look.height);
        else if (property == u"vertical-align")
            look.verticalAlignment = verticalAlignment(value, look.verticalAlignment);
        else if (property == u"background-color" || property == u"background")
            look.backgroundColor = CSSValues::color(value);
    });
    return look;
}
