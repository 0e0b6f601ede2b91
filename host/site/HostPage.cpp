#include "host/site/HostPage.h"

#include "host/site/HostDocument.h"
#include "plugin/QFAbstractPlugin.h"

using namespace Qt::StringLiterals;

HostPage::HostPage(HostDocument &document, qsizetype index)
    : QObject(&document), _document(document), _index(index)
{
}

const SitePage &HostPage::page() const
{
    return _document.site().pages.at(_index);
}

QString HostPage::uniqueID() const
{
    return page().id;
}

QString HostPage::title() const
{
    return page().title;
}

QObject *HostPage::document() const
{
    return &_document;
}

QVariantMap HostPage::attributes() const
{
    QVariantMap attributes{{u"filenameExt"_s, page().extension},
                           {u"externalPageAssets"_s, _document.assets()}};
    if (!page().imageFormat.isNull())
        attributes.insert(u"imageFormat"_s, page().imageFormat);
    if (!page().imageQuality.isNull())
        attributes.insert(u"imageQuality"_s, page().imageQuality);
    return attributes;
}

QObject *HostPage::plugin() const
{
    return _document.pluginOfPage(_index);
}

bool HostPage::isExternalPage() const
{
    return page().isExternal();
}

QString HostPage::externalPageURL() const
{
    return page().external;
}
