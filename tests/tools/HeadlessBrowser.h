#pragma once

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <array>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

/// A real browser with one page, spoken to through a pair of pipes.
class HeadlessBrowser
{
public:
    [[nodiscard]] static QString program() { return QStandardPaths::findExecutable(u"chromium"_s); }

    /// Keeps all its files in `folder`.
    explicit HeadlessBrowser(const QString &folder)
    {
        if (::pipe2(_to.data(), O_CLOEXEC) != 0 || ::pipe2(_from.data(), O_CLOEXEC) != 0)
            qFatal("no pipes");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, folder);
        for (const char *name : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
            environment.insert(QString::fromLatin1(name), folder);
        _process.setProcessEnvironment(environment);
        _process.setStandardErrorFile(QProcess::nullDevice());
        _process.setChildProcessModifier([this] { // where the browser expects them
            const int in = ::fcntl(_to.at(0), F_DUPFD, 10);
            const int out = ::fcntl(_from.at(1), F_DUPFD, 10);
            ::dup2(in, 3);
            ::dup2(out, 4);
        });
        _process.start(program(), u"--headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
                                  "--disable-background-networking --disable-component-update "
                                  "--disable-sync --hide-scrollbars --remote-debugging-pipe"_s.split(u' ') +
                                      QStringList{u"--user-data-dir="_s + folder});
        const QJsonObject target = call("Target.createTarget", {{u"url"_s, u"about:blank"_s}});
        _session =
            call("Target.attachToTarget", {{u"targetId"_s, target.value(u"targetId")}, {u"flatten"_s, true}})
                .value(u"sessionId")
                .toString();
    }
    ~HeadlessBrowser()
    {
        _session = QString();
        call("Browser.close", {});
        if (!_process.waitForFinished(10000)) {
            _process.kill();
            _process.waitForFinished();
        }
        for (const int end : {_to.at(0), _to.at(1), _from.at(0), _from.at(1)})
            ::close(end);
    }
    HeadlessBrowser(const HeadlessBrowser &) = delete;
    HeadlessBrowser &operator=(const HeadlessBrowser &) = delete;

    /// Sends a command to the page and answers its result; an empty one after an error or 30 s.
    QJsonObject call(const char *method, const QJsonObject &params)
    {
        QJsonObject command{
            {u"id"_s, ++_count}, {u"method"_s, QString::fromLatin1(method)}, {u"params"_s, params}};
        if (!_session.isNull())
            command.insert(u"sessionId"_s, _session);
        QByteArray bytes = QJsonDocument(command).toJson(QJsonDocument::Compact);
        bytes.append('\0');
        if (::write(_to.at(1), bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size())
            return {};
        for (;;) {
            const QJsonObject message = QJsonDocument::fromJson(nextMessage()).object();
            if (message.isEmpty() || message.value(u"id").toInt() == _count)
                return message.value(u"result").toObject();
        }
    }
    void open(const QString &address) { call("Page.navigate", {{u"url"_s, address}}); }
    /// What the page shows, the preview's own corner behind it.
    [[nodiscard]] QString text()
    {
        const QString expression =
            u"document.body.innerText + (document.querySelector('qf-preview')?.shadowRoot.textContent ?? '')"_s;
        return call("Runtime.evaluate", {{u"expression"_s, expression}})
            .value(u"result")
            .toObject()
            .value(u"value")
            .toString();
    }
    /// Milliseconds until the page shows a text; -1 when it does not within 20 s.
    [[nodiscard]] qint64 waitFor(const QString &wanted)
    {
        QElapsedTimer timer;
        timer.start();
        while (!text().contains(wanted)) {
            if (timer.elapsed() > 20000) {
                qWarning("the page shows: %s", qPrintable(text()));
                return -1;
            }
            QTest::qSleep(10);
        }
        return timer.elapsed();
    }

private:
    [[nodiscard]] QByteArray nextMessage()
    {
        while (!_received.contains('\0')) {
            pollfd waiting{_from.at(0), POLLIN, 0};
            std::array<char, 65536> piece;
            const ssize_t count =
                ::poll(&waiting, 1, 30000) == 1 ? ::read(_from.at(0), piece.data(), piece.size()) : 0;
            if (count <= 0)
                return {};
            _received.append(piece.data(), count);
        }
        const QByteArray message = _received.left(_received.indexOf('\0'));
        _received.remove(0, message.size() + 1);
        return message;
    }

    std::array<int, 2> _to{};
    std::array<int, 2> _from{};
    QProcess _process;
    QString _session;
    QByteArray _received;
    int _count = 0;
};
