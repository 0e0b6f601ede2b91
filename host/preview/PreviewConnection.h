#pragma once

#include "host/build/FileDescriptor.h"
#include "host/preview/PreviewAnswer.h"

#include <QByteArray>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <functional>

/// One request and its answer. Deletes itself when the browser has gone, or after too long a silence. One who
/// closes the own direction after the request, which browsers do not, counts as gone and gets no answer.
class PreviewConnection : public QObject
{
    Q_OBJECT

public:
    struct Times
    {
        int head = 10000; ///< milliseconds for the whole head of a request
        int idle = 30000; ///< … in which nothing of an answer is taken
    };
    using Answer = std::function<PreviewAnswer(const HTTPRequest &)>;

    /// Takes the socket over.
    PreviewConnection(QTcpSocket *socket, Times times, Answer answer, QObject *parent);

    [[nodiscard]] bool isEventStream() const { return _phase == Phase::Events; }
    /// Sends an event. One who does not read them is cut off.
    void tell(const QByteArray &json);

Q_SIGNALS:
    void eventStreamBegan();

private:
    enum class Phase : quint8 { Head, Answer, Events, End };

    void readMore();
    void begin(PreviewAnswer answer);
    void sendMore();
    void endWhenSent();
    void timeOut();

    QTcpSocket *const _socket;
    const Times _times;
    const Answer _answer;
    Phase _phase = Phase::Head;
    QByteArray _received;
    FileDescriptor _file;
    qint64 _left = 0; ///< bytes of the file that were not read yet
    QTimer _timer;
};
