#pragma once

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <optional>

/// A theme as its `theme.json` describes it.
struct SiteTheme
{
    QString folder; ///< absolute
    QString name;
    QString pageTemplate; ///< text of the template
    QString templateFile; ///< absolute path
    QStringList styles;
    QStringList colourTagFiles;
    qint64 styleVariationMode = 0;
    QVariantList variations; ///< of {"Name", "Type", "Files"}, as export parameters have them
    bool contentOnlySubpages = true;

    /// Reads the theme in a folder. Nothing, and a sentence in `error`, when `theme.json` or the template
    /// cannot be read; other faults make records in the current report.
    [[nodiscard]] static std::optional<SiteTheme> read(const QString &folder, QString &error);

    /// The named ones, in the theme's order; names that it lacks are appended to `missing`.
    [[nodiscard]] QVariantList variationsNamed(const QStringList &names, QStringList &missing) const;
};
