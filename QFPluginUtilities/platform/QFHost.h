#pragma once

#include "platform/QFExport.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

/// The host application's objects, whose classes are not known here, behind typed functions. Each operation
/// is tested for before it is called and may do what it likes: throw, answer something of another type (both
/// count as nil), or destroy objects. So keep host objects as QPointers and look again after every call. A
/// nullptr receiver answers nil. Strings are nil where the host has none; a URL object or number is no
/// string.
namespace QFHost {

// Of a page

/// The page's settings: a map or an object, read by key.
[[nodiscard]] QF_EXPORT QVariant pageAttributes(QObject *page);
/// Its setting "imageFormat".
[[nodiscard]] QF_EXPORT QString imageFormat(QObject *page);
/// Its setting "imageQuality".
[[nodiscard]] QF_EXPORT QString imageQuality(QObject *page);
/// Extension of the page's file, without the dot.
[[nodiscard]] QF_EXPORT QString filenameExt(QObject *page);
[[nodiscard]] QF_EXPORT QPointer<QObject> document(QObject *page);
[[nodiscard]] QF_EXPORT QString uniqueID(QObject *page);
[[nodiscard]] QF_EXPORT QPointer<QObject> plugin(QObject *page);
/// Whether the page only stands for an address outside the site.
[[nodiscard]] QF_EXPORT bool isExternalPage(QObject *page);
[[nodiscard]] QF_EXPORT QString externalPageURL(QObject *page);

// Of a document

[[nodiscard]] QF_EXPORT QPointer<QObject> pageFromUniqueID(QObject *document, const QString &uniqueID);
/// Relative address of the page with the ID `to` on the page with the ID `from`, which lies `correction`
/// folders deeper than the site says.
[[nodiscard]] QF_EXPORT QString pathFromPage(QObject *document, const QString &from, const QString &to,
                                             qint64 correction);
[[nodiscard]] QF_EXPORT QString pageFilesFolderName(QObject *document, const QString &uniqueID);
/// Path of the document's file, or of the one that it is being saved to.
[[nodiscard]] QF_EXPORT QString fileNameOrSaveToFileName(QObject *document);

// Of a theme

/// Names of the style sheets that each style has its own version of; what is no string is left out.
[[nodiscard]] QF_EXPORT QStringList colourTagFiles(QObject *theme);

// Of a plug-in

/// Name of the file that holds the subpage: nullopt when the plug-in does not map subpages to files at all,
/// nil when it does but knows none for this one.
[[nodiscard]] QF_EXPORT std::optional<QString> internalPageLinkFileMapper(QObject *plugin,
                                                                          const QString &subpageID);

} // namespace QFHost
