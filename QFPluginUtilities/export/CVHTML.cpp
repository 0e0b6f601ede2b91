#include "export/CVHTML.h"

#include "export/CVHTMLLink.h"
#include "export/CVHTMLWalk.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "text/QFStrings.h"

#include <QStringBuilder>

#include <algorithm>
#include <array>
#include <new>

using namespace Qt::StringLiterals;

struct CVHTML::Private
{
    bool allowWebUnsafeFonts = false;
    QVariantMap currentMarkupAttribute;
    QString filesFolderName;
    QString imagesFolderName;
    QString assetsFolderName;
};

namespace {

struct ListMarker
{
    QStringView format;
    QStringView cssClass;
    int listType;
};

constexpr int kOrdered = 0;
constexpr int kUnordered = 1;

constexpr std::array<ListMarker, 8> kListMarkers{{
    {u"{disc}", u"disc", kUnordered},
    {u"{circle}", u"circle", kUnordered},
    {u"{square}", u"square", kUnordered},
    {u"{decimal}", u"arabic-numbers", kOrdered},
    {u"{upper-alpha}", u"upper-alpha", kOrdered},
    {u"{lower-alpha}", u"lower-alpha", kOrdered},
    {u"{upper-roman}", u"upper-roman", kOrdered},
    {u"{lower-roman}", u"lower-roman", kOrdered},
}};

QString orDefault(const QString &name, const QString &defaultName)
{
    return name.isNull() ? defaultName : name;
}

} // namespace

CVHTML::CVHTML() : _private(std::make_unique<Private>()) {}

CVHTML::~CVHTML() = default;

bool CVHTML::allowWebUnsafeFonts() const
{
    return _private->allowWebUnsafeFonts;
}

void CVHTML::setAllowWebUnsafeFonts(bool allow)
{
    _private->allowWebUnsafeFonts = allow;
}

QString CVHTML::filesFolderName() const
{
    return orDefault(_private->filesFolderName, u"files"_s);
}

void CVHTML::setFilesFolderName(const QString &name)
{
    _private->filesFolderName = name;
}

QString CVHTML::imagesFolderName() const
{
    return orDefault(_private->imagesFolderName, u"images"_s);
}

void CVHTML::setImagesFolderName(const QString &name)
{
    _private->imagesFolderName = name;
}

QString CVHTML::assetsFolderName() const
{
    return orDefault(_private->assetsFolderName, u"assets"_s);
}

void CVHTML::setAssetsFolderName(const QString &name)
{
    _private->assetsFolderName = name;
}

QVariantMap CVHTML::currentMarkupAttribute() const
{
    return _private->currentMarkupAttribute;
}

void CVHTML::setCurrentMarkupAttribute(const QVariantMap &directive)
{
    _private->currentMarkupAttribute = directive;
}

QString CVHTML::exportAttributedString(const NSAttributedString &text, const QString &toPath,
                                       const QString &imagePrefix)
{
    return exportAttributedString(text, toPath, toPath, imagePrefix, u"%content%"_s, u"content"_s);
}

QString CVHTML::exportAttributedString(const NSAttributedString &text, const QString &toPath,
                                       const QString &imagesFolder, const QString &imagePrefix,
                                       const QString &HTMLTemplate, const QString &contentTag,
                                       QObject *fromPage, qint64 depthCorrection)
{
    try {
        CVHTMLExport job(*this,
                         {.toPath = toPath,
                          .imagesFolder = sameString(toPath, imagesFolder) ? filesFolderName() : imagesFolder,
                          .imagePrefix = imagePrefix,
                          .HTMLTemplate = HTMLTemplate,
                          .contentTag = contentTag,
                          .fromPage = fromPage,
                          .depthCorrection = depthCorrection},
                         text);
        return job.exported();
    } catch (const std::bad_alloc &) {
        reportLoss(u"memory"_s, u"There is not enough memory for the page."_s);
        return {};
    }
}

QString &CVHTML::substituteNewlines(QString &text)
{
    text.replace(u"<?php\r\n"_s, u"<?php "_s);
    text.replace(u"<?php\r"_s, u"<?php "_s);
    text.replace(u"<?php\n"_s, u"<?php "_s);
    return text.removeIf([](QChar unit) { return unit == u'\r' || unit == u'\n'; });
}

QString CVHTML::stringForAlignment(NSTextAlignment alignment)
{
    switch (alignment) {
    case NSTextAlignment::Right:
        return u"right"_s;
    case NSTextAlignment::Center:
        return u"center"_s;
    case NSTextAlignment::Justified:
        return u"justify"_s;
    default:
        return u"left"_s;
    }
}

QString CVHTML::attributeForAlignment(NSTextAlignment alignment)
{
    if (alignment == NSTextAlignment::Left || alignment == NSTextAlignment::Natural)
        return u""_s;
    return u" style=\"text-align:" % stringForAlignment(alignment) % u";\" ";
}

QString CVHTML::htmlBulletStyleFromCocoaTextListMarkerFormat(const QString &markerFormat, int *listType)
{
    const auto found = std::ranges::find(kListMarkers, QStringView(markerFormat), &ListMarker::format);
    if (found == kListMarkers.end())
        return {};
    if (listType)
        *listType = found->listType;
    return found->cssClass.toString();
}

QString CVHTML::textListStyleAttribute(const NSAttributedString &text, int *listType)
{
    const NSAttributeDictionary attributes = text.attributesAtIndex(0);
    const auto *style = attributes.find<NSParagraphStyle>(NSParagraphStyleAttributeName);
    if (!style || style->textLists.isEmpty())
        return {};
    return htmlBulletStyleFromCocoaTextListMarkerFormat(style->textLists.constFirst().markerFormat, listType);
}

void CVHTML::processLink(const QVariant &link, QObject *page, qint64 depthCorrection, QString &toHTML,
                         const QString & /*filesFolderName*/) const
{
    const CVHTMLResolvedLink resolved = resolvedLink(link, page, depthCorrection, assetsFolderName());
    if (resolved.address.isNull()) {
        reportLoss(u"unresolved-link"_s, u"A link has no address and is left out."_s);
        return;
    }
    toHTML += u"<a href=\"" % QFStringUtilities::convertToEntities(resolved.address) % u'"';
    if (!resolved.rel.isEmpty())
        toHTML += u" rel=\"" % resolved.rel % u'"';
    if (!resolved.title.isEmpty())
        toHTML += u" title=\"" % QFStringUtilities::stringEscapedForHTMLAttribute(resolved.title) % u'"';
    toHTML += u'>';
}
