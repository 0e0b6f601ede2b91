#pragma once

#include "plugin/QFAbstractPlugin.h"

#include <QFile>
#include <QVariant>

/// Records of files that all pages of a kind share, out of the resources under a prefix of the module.
inline QVariant sharedFiles(const QString &prefix, const QStringList &names)
{
    QVariantList records;
    for (const QString &name : names) {
        QFile file(prefix + name);
        const bool isOpen = file.open(QIODevice::ReadOnly);
        Q_ASSERT(isOpen);
        records.append(
            QFAbstractPlugin::contentOnlySubpageWithData(isOpen ? file.readAll() : QByteArray(), name));
    }
    return records;
}
