#pragma once

#include <QString>
#include <QVariant>

class QObject;

/// What an anchor's start tag says, before escaping. Nil fields are not written; without an address nothing
/// is.
struct CVHTMLResolvedLink
{
    QString address;
    QString rel;
    QString title;
};

/// Resolves a link value as seen from `page` (the exporting page, or nullptr). Strings are their own address;
/// a `QFLinkPtr` is resolved by its kind, pages of the site through the host; any other value has no address.
/// A subpage that the host cannot place is logged ("Couldn't resolve subpage '%@'").
[[nodiscard]] CVHTMLResolvedLink resolvedLink(const QVariant &link, QObject *page, qint64 depthCorrection,
                                              const QString &assetsFolderName);
