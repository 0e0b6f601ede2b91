#include "export/CVHTMLLink.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/QFHost.h"
#include "platform/QFReport.h"
#include "plugin/QFLink.h"

#include <QPointer>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

namespace {

constexpr qint64 kAssetFile = 1;

/// Folders up, one for each level of depth. The limit only keeps a nonsensical depth from filling memory.
QString parentFolders(qint64 depthCorrection)
{
    constexpr qint64 deepest = 10000;
    return u"../"_s.repeated(std::clamp<qint64>(depthCorrection, 0, deepest));
}

/// Address of a link to no page: an asset's file, or the href as it stands. Nil for unknown kinds of asset.
QString externalAddress(const QFLink &link, qint64 depthCorrection, const QString &assetsFolderName)
{
    if (link.asset() != 0 && link.asset() != kAssetFile)
        return {};
    if (link.asset() == kAssetFile) {
        const QUrl url(link.href(), QUrl::TolerantMode);
        if (url.isLocalFile()) {
            const QString fileName = lastPathComponent(url.path(QUrl::FullyDecoded));
            return parentFolders(depthCorrection) +
                   stringByAppendingPathComponent(assetsFolderName, fileName);
        }
    }
    return link.href();
}

/// The address of the file that holds a subpage, in the files folder of its page. Nil, and a log line, when
/// the page's plug-in does not know the subpage.
QString subpageAddress(const QString &pageAddress, const QFLink &link, const QPointer<QObject> &document,
                       const QPointer<QObject> &target, const QString &mappedName)
{
    if (mappedName.isEmpty()) {
        logFailure(qfExportLog(), u"subpage"_s,
                   formatted(u"Couldn't resolve subpage '%@'", {link.subpageID()}));
        return {};
    }
    const QString targetID = QFHost::uniqueID(target);
    const QString filesFolder = QFHost::pageFilesFolderName(document, targetID);
    const QString folder =
        stringByAppendingPathComponent(stringByDeletingLastPathComponent(pageAddress), filesFolder);
    const QString address = stringByAppendingPathComponent(folder, mappedName);
    if (!pathExtension(mappedName).isEmpty())
        return address;
    const QString extension = QFHost::filenameExt(target);
    return extension.isEmpty() ? address : QString(address + u'.' + extension);
}

/// Address and relation of a link to a page of the site. The anchor is not written: meant so.
CVHTMLResolvedLink resolvedPageLink(const QFLink &link, QObject *page, qint64 depthCorrection)
{
    const QPointer<QObject> exporting(page);
    const QPointer<QObject> document = QFHost::document(page);
    if (!document)
        return {};
    const QPointer<QObject> target = QFHost::pageFromUniqueID(document, link.href());
    if (QFHost::isExternalPage(target)) {
        const QString rel = link.target().isEmpty() ? u"self"_s : link.target();
        return {QFHost::externalPageURL(target), rel, {}};
    }
    const QString from = QFHost::uniqueID(exporting);
    QString address = QFHost::pathFromPage(document, from, link.href(), depthCorrection);
    if (!address.isNull() && !link.subpageID().isEmpty()) {
        if (const auto mappedName =
                QFHost::internalPageLinkFileMapper(QFHost::plugin(target), link.subpageID()))
            address = subpageAddress(address, link, document, target, *mappedName);
    }
    return {address, link.target(), {}};
}

} // namespace

CVHTMLResolvedLink resolvedLink(const QVariant &value, QObject *page, qint64 depthCorrection,
                                const QString &assetsFolderName)
{
    if (value.typeId() == QMetaType::QString)
        return {value.toString(), {}, {}};
    if (value.metaType() != QMetaType::fromType<QFLinkPtr>())
        return {};
    const auto link = value.value<QFLinkPtr>();
    if (!link)
        return {};

    CVHTMLResolvedLink resolved =
        link->internal() ? resolvedPageLink(*link, page, depthCorrection)
                         : CVHTMLResolvedLink{
                               externalAddress(*link, depthCorrection, assetsFolderName), link->target(), {}};
    // The window target stands in for a missing relation, and a fresh link's target is "self": both are
    // meant.
    if (!link->rel().isEmpty())
        resolved.rel = link->rel();
    resolved.title = link->title();
    return resolved;
}
