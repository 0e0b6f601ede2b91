#include "host/preview/PreviewServer.h"

#include "host/preview/PreviewPages.h"

#include <QRandomGenerator>

using namespace Qt::StringLiterals;

PreviewServer::PreviewServer(const QString &folder, PreviewLimits limits, QObject *parent)
    : QObject(parent), _folder(folder), _limits(limits),
      _start(QByteArray::number(QRandomGenerator::global()->generate64(), 36))
{
    connect(&_server, &QTcpServer::newConnection, this, &PreviewServer::accept);
}

QString PreviewServer::address() const
{
    return u"http://127.0.0.1:"_s + QString::number(port()) + u'/';
}

void PreviewServer::accept()
{
    while (QTcpSocket *const socket = _server.nextPendingConnection()) {
        if (findChildren<PreviewConnection *>(Qt::FindDirectChildrenOnly).size() >= _limits.connections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        auto *const connection = new PreviewConnection(
            socket, _limits.times,
            [this](const HTTPRequest &request) {
                return PreviewAnswer::to(request, {_folder, _report, version(), port()});
            },
            this);
        connect(connection, &PreviewConnection::eventStreamBegan, this,
                [this, connection] { tell(*connection); });
    }
}

/// Browsers are told at once, since a build may have ended between the page and its stream of events.
void PreviewServer::tell(PreviewConnection &connection) const
{
    connection.tell(PreviewPages::state(_report, version()));
}

void PreviewServer::show(const PreviewReport &report)
{
    if (report.written == 0 && report.looksLike(_report))
        return;
    _report = report;
    ++_count;
    for (PreviewConnection *const connection :
         findChildren<PreviewConnection *>(Qt::FindDirectChildrenOnly)) {
        if (connection->isEventStream())
            tell(*connection);
    }
}
