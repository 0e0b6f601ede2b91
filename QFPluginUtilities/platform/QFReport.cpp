#include "platform/QFReport.h"

#include <QDebug>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

thread_local QFReport *currentReport = nullptr;
thread_local const QFReport::Place *currentPlace = nullptr;

} // namespace

void QFReport::addHere(QFReportRecord record)
{
    if (!currentReport)
        return;
    if (const Place *place = currentPlace) {
        record.page = place->_page;
        record.range = place->_range;
    }
    currentReport->add(std::move(record));
}

void QFReport::add(QFReportRecord record)
{
    if (_records.size() < maximumRecords)
        _records.append(std::move(record));
    else
        ++_omitted;
}

QJsonArray QFReport::toJson() const
{
    QJsonArray array;
    for (const QFReportRecord &record : _records) {
        QJsonObject object{
            {u"kind"_s, record.kind}, {u"message"_s, record.message}, {u"logged"_s, record.logged}};
        if (!record.page.isNull())
            object.insert(u"page"_s, record.page);
        if (!record.file.isNull())
            object.insert(u"file"_s, record.file);
        if (record.range.location != NSNotFound) {
            object.insert(u"location"_s, static_cast<qint64>(record.range.location));
            object.insert(u"length"_s, static_cast<qint64>(record.range.length));
        }
        array.append(object);
    }
    return array;
}

QFReport *QFReport::current()
{
    return currentReport;
}

QFReport::Installed::Installed(QFReport &report) : _previous(std::exchange(currentReport, &report)) {}

QFReport::Installed::~Installed()
{
    currentReport = _previous;
}

QFReport::Place::Place(const QString &page, NSRange range)
    : _previous(currentPlace), _page(page), _range(range)
{
    currentPlace = this;
}

QFReport::Place::~Place()
{
    currentPlace = _previous;
}

void logFailure(const QLoggingCategory &category, const QString &kind, const QString &message,
                const QString &file)
{
    qCWarning(category).noquote().nospace() << message;
    QFReport::addHere({kind, message, {}, {NSNotFound, 0}, file, true});
}

void reportLoss(const QString &kind, const QString &message, const QString &file)
{
    QFReport::addHere({kind, message, {}, {NSNotFound, 0}, file, false});
}
