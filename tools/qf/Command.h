#pragma once

#include <QByteArray>
#include <QCommandLineParser>
#include <QJsonObject>
#include <QString>
#include <QStringList>

class QFReport;

/// How a command ended, for the shell.
enum ExitCode : int { Done = 0, Failed = 1, WrongUsage = 2 };

// The commands. `arguments` starts with the command's own name.
int runExport(const QStringList &arguments);
int runBuild(const QStringList &arguments);
int runCheck(const QStringList &arguments);
int runConvert(const QStringList &arguments);
int runImage(const QStringList &arguments);
int runMetadata(const QStringList &arguments);
int runMovie(const QStringList &arguments);
int runNew(const QStringList &arguments);
int runPlugins(const QStringList &arguments);
int runPreview(const QStringList &arguments);
int runText(const QStringList &arguments);

/// Parses the arguments of a command. An exit code when that is all there is to do: after `--help`, which
/// prints `help`, and after wrong usage, which says what is wrong.
[[nodiscard]] std::optional<int> parsed(QCommandLineParser &parser, const QStringList &arguments,
                                        const char *help);

/// One line on standard error: "qf: …".
void complain(const QString &sentence);
int wrongUsage(const QString &sentence);
int failed(const QString &sentence);

/// Bytes out exactly: to standard output for "-" or nil, else into a file, which is replaced whole or not at
/// all; devices and pipes are written to. An exit code.
[[nodiscard]] int writeOutput(const QByteArray &bytes, const QString &path);

/// Notes about what was left out without a log line, at most twenty of them.
void printLosses(const QFReport &report);
[[nodiscard]] int writeReport(const QFReport &report, const QString &path);
/// One line of JSON on standard output: the result and the problems.
[[nodiscard]] int printSummary(QJsonObject result, const QFReport &report);
/// Ends a command whose document could not be read; `report` says so too.
int failedToRead(const QString &error, QFReport &report, const QString &reportPath);

/// Nil, or the sentence that says which two of result, `--report -` and `--json` would mix on standard
/// output.
[[nodiscard]] QString outputsThatMix(const QCommandLineParser &parser, const QString &resultPath);
