#pragma once

#include "host/build/BuildContext.h"

#include <QByteArray>
#include <QHash>
#include <QString>

/// Digests of what goes into the parts of a site beside the files that are read for them. A part with another
/// key than before must be made anew.
class BuildKeys
{
public:
    BuildKeys(const BuildContext &context, const QString &preferencesFolder);

    [[nodiscard]] QString ofPage(const SitePage &page);
    /// For the files that the pages of a kind share.
    [[nodiscard]] QString ofKind(const QString &plugin);

private:
    [[nodiscard]] QByteArray ofModule(const QString &plugin);

    const BuildContext &_context;
    QByteArray _common; ///< digest of program, preferences, theme and the structure of the site
    QHash<QString, QByteArray> _modules;
};
