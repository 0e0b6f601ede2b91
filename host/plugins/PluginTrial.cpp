#include "host/plugins/PluginTrial.h"

#include "host/plugins/PluginLoading.h"
#include "plugin/QFPluginClass.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QDir>
#include <QThread>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <optional>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMilliseconds = 5000;
constexpr qsizetype kLongestAnswer = 4000;
constexpr char kEndOfAnswer = '\0';

int timeLimit()
{
    bool isNumber = false;
    const int given = qEnvironmentVariableIntValue("QF_PLUGIN_TIMEOUT", &isNumber);
    return isNumber && given > 0 ? given : kMilliseconds;
}

/// A process's usual behaviour, whatever this program or a sanitizer made of it; and no output.
void becomePlain()
{
    // Also ends what the module may have started, with the process group.
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    constexpr rlimit noCoreFile{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCoreFile);
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGPIPE, SIGTERM})
        std::signal(signal, SIG_DFL);
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(nothing, standard);
}

/// The copy's whole life.
[[noreturn]] void tryOut(const QString &file, int answerTo)
{
    becomePlain();
    QString fault;
    QFPluginClass *pluginClass = loadPluginClass(file, fault);
    if (pluginClass)
        fault = faultOfInstance(*pluginClass);
    const QByteArray answer = fault.toUtf8().left(kLongestAnswer) + kEndOfAnswer;
    const bool isSaid = ::write(answerTo, answer.constData(), size_t(answer.size())) == answer.size();
    ::_exit(isSaid ? EXIT_SUCCESS : EXIT_FAILURE);
}

/// What the copy says, up to its end, or to the deadline.
QByteArray answerFrom(int pipe, QDeadlineTimer deadline)
{
    QByteArray answer;
    while (!answer.endsWith(kEndOfAnswer)) {
        pollfd waiting{pipe, POLLIN, 0};
        const int ready = ::poll(&waiting, 1, int(deadline.remainingTime()));
        if (ready < 0 && errno == EINTR)
            continue;
        std::array<char, 1024> bytes{};
        const ssize_t count = ready > 0 ? ::read(pipe, bytes.data(), bytes.size()) : 0;
        if (count <= 0)
            break;
        answer.append(bytes.data(), count);
    }
    return answer;
}

/// Whether the copy has ended when the deadline comes. It is not forgotten by the system yet, so its number
/// is still its own.
bool hasEnded(pid_t copy, QDeadlineTimer deadline)
{
    while (true) {
        siginfo_t info{};
        const int result = ::waitid(P_PID, id_t(copy), &info, WEXITED | WNOHANG | WNOWAIT);
        if (info.si_pid == copy || (result != 0 && errno != EINTR))
            return true;
        if (deadline.hasExpired())
            return false;
        QThread::msleep(1);
    }
}

/// How the copy ended; nullopt when it had to be ended. 0 when somebody else has asked before.
std::optional<int> endOf(pid_t copy, QDeadlineTimer deadline)
{
    const bool isInTime = hasEnded(copy, deadline);
    ::kill(-copy, SIGKILL); // with what it has started
    ::kill(copy, SIGKILL);
    int status = 0;
    ::waitpid(copy, &status, 0);
    return isInTime ? std::optional(status) : std::nullopt;
}

QString faultOfEnd(std::optional<int> status)
{
    if (!status)
        return u"it did not come back while it was being loaded"_s;
    if (!WIFSIGNALED(*status))
        return u"it ended the program while it was being loaded"_s;
    const char *name = ::sigabbrev_np(WTERMSIG(*status));
    return u"it crashed while it was being loaded ("_s +
           (name ? u"SIG"_s + QString::fromLatin1(name) : u"signal "_s + QString::number(WTERMSIG(*status))) +
           u')';
}

} // namespace

bool PluginTrial::isPossible()
{
    return QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() == 1;
}

QString PluginTrial::faultOf(const QString &file)
{
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0)
        return u"it could not be tried out ("_s + qt_error_string(errno) + u')';
    const pid_t copy = ::fork();
    if (copy == 0)
        tryOut(file, pipe[1]);
    ::close(pipe[1]);
    if (copy < 0) {
        ::close(pipe[0]);
        return u"it could not be tried out, since no process could be started"_s;
    }
    const QDeadlineTimer deadline(timeLimit());
    QByteArray answer = answerFrom(pipe[0], deadline);
    ::close(pipe[0]);
    const std::optional<int> status = endOf(copy, deadline);
    if (!answer.endsWith(kEndOfAnswer) || !status || WIFSIGNALED(*status))
        return faultOfEnd(status);
    answer.chop(1);
    return answer.isEmpty() ? QString() : QString::fromUtf8(answer);
}
