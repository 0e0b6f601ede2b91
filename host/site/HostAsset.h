#pragma once

#include <QObject>
#include <QString>

#include <utility>

/// A file of a site's assets, as links name it.
class HostAsset : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString url READ url CONSTANT)

public:
    HostAsset(QString name, QString url, QObject *parent)
        : QObject(parent), _name(std::move(name)), _url(std::move(url))
    {
    }

    [[nodiscard]] QString name() const { return _name; }
    /// A file URL.
    [[nodiscard]] QString url() const { return _url; }

private:
    const QString _name;
    const QString _url;
};
