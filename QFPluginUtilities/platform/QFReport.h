#pragma once

#include "platform/NSRange.h"
#include "platform/QFExport.h"

#include <QJsonArray>
#include <QList>
#include <QLoggingCategory>
#include <QString>

/// What went wrong, or was left out by rule, at one place.
struct QFReportRecord
{
    QString kind;                 ///< short fixed word, such as "attachment" or "dropped-list-line"
    QString message;              ///< the log text unchanged, or a sentence for losses that are not logged
    QString page;                 ///< unique ID of the page being exported; nil for none
    NSRange range{NSNotFound, 0}; ///< UTF-16 units of the outermost text; location NSNotFound for none
    QString file;                 ///< path or name of the file concerned; nil for none
    bool logged = false;          ///< whether the message also went to the log

    friend bool operator==(const QFReportRecord &, const QFReportRecord &) = default;
};

/// Collects records while it is installed. At most `maximumRecords` are kept; what comes later is only
/// counted. A report belongs to the thread that installed it; nothing changes in the work that is reported.
class QF_EXPORT QFReport
{
public:
    static constexpr qsizetype maximumRecords = 10000;

    QFReport() = default;
    QFReport(const QFReport &) = delete;
    QFReport &operator=(const QFReport &) = delete;

    [[nodiscard]] const QList<QFReportRecord> &records() const { return _records; }
    /// Records beyond the limit, counted only.
    [[nodiscard]] qsizetype omitted() const { return _omitted; }
    void add(QFReportRecord record);
    /// Adds a record with page and range of the places open on this thread to this thread's report, if there
    /// is one.
    static void addHere(QFReportRecord record);

    /// `[{"kind", "message", "page", "location", "length", "file", "logged"}]`, absent fields left out.
    [[nodiscard]] QJsonArray toJson() const;

    /// The report that this thread collects into, or nullptr.
    [[nodiscard]] static QFReport *current();

    /// Installs a report on this thread for the scope's life; scopes nest.
    class QF_EXPORT Installed
    {
    public:
        explicit Installed(QFReport &report);
        ~Installed();
        Installed(const Installed &) = delete;
        Installed &operator=(const Installed &) = delete;

    private:
        QFReport *_previous;
    };

    /// Page and range that records made in this scope get; on this thread. Of scopes that nest, the inner one
    /// counts.
    class QF_EXPORT Place
    {
    public:
        Place(const QString &page, NSRange range);
        ~Place();
        Place(const Place &) = delete;
        Place &operator=(const Place &) = delete;

    private:
        const Place *_previous;
        QString _page;
        NSRange _range;
        friend class QFReport;
    };

private:
    QList<QFReportRecord> _records;
    qsizetype _omitted = 0;
};

/// Logs `message` as it stands, whole and unquoted, and makes a record of it in the current report.
QF_EXPORT void logFailure(const QLoggingCategory &category, const QString &kind, const QString &message,
                          const QString &file = {});

/// Makes a record, without a log line, of something that the rules silently leave out.
QF_EXPORT void reportLoss(const QString &kind, const QString &message, const QString &file = {});
