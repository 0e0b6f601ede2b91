#include "platform/QFReport.h"
#include "platform/Logging.h"

#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;

class QFReportTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void logsVerbatimAndRecords()
    {
        QFReport report;
        const QFReport::Installed installed(report);
        const QFReport::Place page(u"p1"_s, {10, 20});
        const QFReport::Place item(u"p1"_s, {3, 4});
        QTest::ignoreMessage(QtWarningMsg, "Failed to write \"%1\" to /a b");
        logFailure(qfExportLog(), u"attachment"_s, u"Failed to write \"%1\" to /a b"_s, u"/a b"_s);
        QCOMPARE(report.records(),
                 (QList<QFReportRecord>{{u"attachment"_s, u"Failed to write \"%1\" to /a b"_s, u"p1"_s,
                                         NSRange{3, 4}, u"/a b"_s, true}}));
    }
    void belongsToItsThreadAndScope()
    {
        QFReport outer;
        QFReport inner;
        const QFReport::Installed installed(outer);
        {
            const QFReport::Installed nested(inner);
            reportLoss(u"loss"_s, u"a"_s);
        }
        const std::unique_ptr<QThread> thread(QThread::create([] { reportLoss(u"loss"_s, u"b"_s); }));
        thread->start();
        thread->wait();
        QCOMPARE(inner.records().size(), 1);
        QCOMPARE(outer.records().size(), 0);
    }
    void countsWhatIsTooMuch()
    {
        QFReport report;
        for (qsizetype i = 0; i < QFReport::maximumRecords + 3; ++i)
            report.add({});
        QCOMPARE(report.records().size(), QFReport::maximumRecords);
        QCOMPARE(report.omitted(), 3);
    }
};

QTEST_APPLESS_MAIN(QFReportTest)
#include "QFReportTest.moc"
