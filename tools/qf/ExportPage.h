#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

/// The page that an export from the command line is made for, as far as the exporter asks: the image
/// settings.
class ExportPage : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantMap attributes READ attributes CONSTANT)

public:
    /// Nil names are left to the exporter.
    ExportPage(const QString &imageFormat, const QString &imageQuality)
    {
        if (!imageFormat.isNull())
            _attributes.insert(QStringLiteral("imageFormat"), imageFormat);
        if (!imageQuality.isNull())
            _attributes.insert(QStringLiteral("imageQuality"), imageQuality);
    }

    [[nodiscard]] QVariantMap attributes() const { return _attributes; }

private:
    QVariantMap _attributes;
};
