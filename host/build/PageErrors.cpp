#include "host/build/PageErrors.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

/// Kinds of unlogged record that mean a failure. The library's other failures are logged.
constexpr std::array<QStringView, 6> kFailures{u"build",  u"document", u"exception",
                                               u"memory", u"plugin",   u"site"};

bool isFailure(const QFReportRecord &record)
{
    return record.logged || std::find(kFailures.begin(), kFailures.end(), record.kind) != kFailures.end();
}

/// A record of a report, for people.
class ReportedError : public QFPageError
{
public:
    ReportedError(const QFReportRecord &record, int level) : _level(level), _reason(record.message)
    {
        if (!record.file.isNull() && !record.message.contains(record.file))
            _reason += u" ("_s + record.file + u')';
    }

    [[nodiscard]] int level() const override { return _level; }
    [[nodiscard]] QString reason() const override { return _reason; }

private:
    int _level;
    QString _reason;
};

} // namespace

QList<PageErrors> pageErrors(const QList<QFReportRecord> &records, const QStringList &failed)
{
    QList<PageErrors> pages;
    for (const QFReportRecord &record : records) {
        if (pages.isEmpty() || pages.constLast().page != record.page)
            pages.append({record.page, {}});
        const bool hasFailed = isFailure(record) || failed.contains(record.page);
        pages.last().errors.append(
            std::make_shared<const ReportedError>(record, hasFailed ? kPageErrorFailure : kPageErrorLoss));
    }
    return pages;
}
