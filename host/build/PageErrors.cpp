#include "host/build/PageErrors.h"

using namespace Qt::StringLiterals;

namespace {

/// A record of a report, for people.
class ReportedError : public QFPageError
{
public:
    explicit ReportedError(const QFReportRecord &record)
        : _level(record.logged || record.kind == u"build" ? kPageErrorFailure : kPageErrorLoss),
          _reason(record.message)
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

QList<PageErrors> pageErrors(const QList<QFReportRecord> &records)
{
    QList<PageErrors> pages;
    for (const QFReportRecord &record : records) {
        if (pages.isEmpty() || pages.constLast().page != record.page)
            pages.append({record.page, {}});
        pages.last().errors.append(std::make_shared<const ReportedError>(record));
    }
    return pages;
}
