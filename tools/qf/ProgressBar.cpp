#include "tools/qf/ProgressBar.h"

#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMilliseconds = 80;
constexpr qsizetype kBarWidth = 24;

qsizetype terminalWidth()
{
    winsize size = {};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

ProgressBar::ProgressBar(bool isWanted) : _isShown(isWanted && ::isatty(STDERR_FILENO) != 0) {}

ProgressBar::~ProgressBar()
{
    if (_isDirty)
        std::fputs("\r\033[K", stderr);
}

void ProgressBar::show(qsizetype done, qsizetype total, const QString &message)
{
    const bool isTooSoon = _sinceLast.isValid() && _sinceLast.elapsed() < kMilliseconds;
    if (!_isShown || total <= 0 || isTooSoon)
        return;
    _sinceLast.start();
    const qsizetype filled = std::clamp<qsizetype>(kBarWidth * done / total, 0, kBarWidth);
    const QString bar = u'[' + QString(filled, u'#') + QString(kBarWidth - filled, u' ') + u"] "_s +
                        QString::number(done) + u'/' + QString::number(total) + u' ';
    QString line = bar + message;
    // Titles of pages are foreign text: nothing of it may move the cursor.
    std::replace_if(
        line.begin(), line.end(), [](QChar unit) { return !unit.isPrint(); }, u' ');
    line.truncate(std::max<qsizetype>(terminalWidth() - 1, 0));
    std::fprintf(stderr, "\r\033[K%s", line.toUtf8().constData());
    std::fflush(stderr);
    _isDirty = true;
}
