#pragma once

#include <QElapsedTimer>
#include <QString>

/// A line on standard error that shows how far long work is. Shown only where standard error is a terminal,
/// and not more often than people can read; gone with the bar.
class ProgressBar
{
public:
    explicit ProgressBar(bool isWanted);
    ~ProgressBar();
    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;

    void show(qsizetype done, qsizetype total, const QString &message);

private:
    const bool _isShown;
    bool _isDirty = false; ///< whether there is a line to be taken away
    QElapsedTimer _sinceLast;
};
