#include "host/preview/PreviewConnection.h"

#include <algorithm>
#include <array>
#include <sys/socket.h>
#include <utility>

namespace {

constexpr qint64 kPiece = 64 << 10;
constexpr qint64 kMaximumWaiting = 256 << 10; ///< bytes of a file that the socket holds
constexpr qint64 kMaximumEvents = 4 << 20;    ///< bytes of events that nobody reads
constexpr int kEndMilliseconds = 1000;

} // namespace

PreviewConnection::PreviewConnection(QTcpSocket *socket, Times times, Answer answer, QObject *parent)
    : QObject(parent), _socket(socket), _times(times), _answer(std::move(answer))
{
    _socket->setParent(this);
    _socket->setReadBufferSize(2 * HTTPRequest::kMaximumHead);
    _timer.setSingleShot(true);
    _timer.start(_times.head);
    connect(_socket, &QTcpSocket::readyRead, this, &PreviewConnection::readMore);
    connect(_socket, &QTcpSocket::bytesWritten, this, &PreviewConnection::sendMore);
    connect(_socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
    connect(&_timer, &QTimer::timeout, this, &PreviewConnection::timeOut);
}

void PreviewConnection::readMore()
{
    const QByteArray bytes = _socket->readAll();
    if (_phase != Phase::Head)
        return; // nothing more is expected
    _received += bytes;
    const HTTPRequest request = HTTPRequest::parse(_received);
    if (request.status == 0)
        return;
    _received.clear();
    begin(_answer(request));
}

void PreviewConnection::begin(PreviewAnswer answer)
{
    _phase = answer.isEventStream ? Phase::Events : Phase::Answer;
    _file = std::move(answer.file);
    _left = _file.isOpen() ? answer.size : 0;
    _timer.start(_times.idle);
    _socket->write(answer.head() + answer.body);
    if (_phase == Phase::Events) {
        _timer.stop();
        _socket->write("retry: 500\n\n");
        Q_EMIT eventStreamBegan();
    }
}

/// Keeps the socket supplied while it drains, so that no large file is ever whole in memory.
void PreviewConnection::sendMore()
{
    if (_phase != Phase::Answer)
        return;
    _timer.start(_times.idle);
    std::array<char, kPiece> piece;
    while (_left > 0 && _socket->bytesToWrite() < kMaximumWaiting) {
        const qint64 count = _file.read(piece.data(), std::min(_left, kPiece));
        if (count <= 0) { // the file is shorter now, and the length has been told
            _socket->abort();
            return;
        }
        _socket->write(piece.data(), count);
        _left -= count;
    }
    endWhenSent();
}

/// Ends only the own direction at first: closing a socket in which something unread has arrived would take
/// the answer back.
void PreviewConnection::endWhenSent()
{
    if (_left > 0 || _socket->bytesToWrite() > 0)
        return;
    _phase = Phase::End;
    _file = {};
    ::shutdown(static_cast<int>(_socket->socketDescriptor()), SHUT_WR);
    _timer.start(kEndMilliseconds);
}

void PreviewConnection::tell(const QByteArray &json)
{
    if (_socket->bytesToWrite() > kMaximumEvents)
        _socket->abort();
    else
        _socket->write("data: " + json + "\n\n");
}

void PreviewConnection::timeOut()
{
    if (_phase == Phase::Head)
        begin(PreviewAnswer::refusal(408));
    else
        _socket->abort();
}
