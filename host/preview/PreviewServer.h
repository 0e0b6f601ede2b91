#pragma once

#include "host/preview/PreviewConnection.h"
#include "host/preview/PreviewFolder.h"
#include "host/preview/PreviewReport.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTcpServer>

struct PreviewLimits
{
    int connections = 100; ///< at a time; each open page holds one
    PreviewConnection::Times times;
};

/// Serves a built site to browsers on this machine, and to nobody else. Pages that a person looks at get a
/// script which shows the problems of the last build and reloads the page when there is something new; a page
/// that could not be made is shown as the report that says why.
class PreviewServer : public QObject
{
public:
    explicit PreviewServer(const QString &folder, PreviewLimits limits = {}, QObject *parent = nullptr);

    /// On the port, or with 0 on a free one. False when it cannot be had.
    [[nodiscard]] bool listen(quint16 port) { return _server.listen(QHostAddress::LocalHost, port); }
    [[nodiscard]] QString errorString() const { return _server.errorString(); }
    [[nodiscard]] quint16 port() const { return _server.serverPort(); }
    [[nodiscard]] QString address() const;

    /// Shows what a build came to. Open pages are reloaded, unless they would look the same.
    void show(const PreviewReport &report);

private:
    void accept();
    void tell(PreviewConnection &connection) const;

    const PreviewFolder _folder;
    const PreviewLimits _limits;
    const QByteArray _start; ///< distinguishes the versions of this server from those of an earlier one
    QTcpServer _server;
    PreviewReport _report;
    qint64 _count = 0; ///< reports so far
    [[nodiscard]] QByteArray version() const { return _start + '-' + QByteArray::number(_count); }
};
