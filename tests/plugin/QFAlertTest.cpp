#include "plugin/QFAlert.h"

#include "platform/NSBundle.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <functional>
#include <thread>

using namespace Qt::StringLiterals;

class QFAlertTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void answersByButton_data();
    void answersByButton();
    void keepsTheTitlesOfTheFirstCall();
    void showsTextsAsTheyAre();
    void answersOneInsideAnother();
    void needsTheMainThread();
};

namespace {

using Act = std::function<void(QMessageBox &)>;

const auto two = [] { return QFAlert::runInfoAlert(u"Message"_s, u"More"_s, u"Save & go"_s, u"Discard"_s); };
const auto okCancel = [] { return QFAlert::runInfoAlertOKCancel(u"Message"_s, u"More"_s); };
const auto three = [] { return QFAlert::runInfoAlertOKCancelAlternate(u"Message"_s, u"More"_s, u"Later"_s); };
const auto one = [] { return QFAlert::runInfoAlert(u"Message"_s, u"More"_s); };

/// Answers what `alert` answers when `act` is done to the box that it shows.
int during(const std::function<int()> &alert, const Act &act)
{
    bool hasActed = false;
    QTimer timer;
    timer.callOnTimeout([&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (box == nullptr || !box->isVisible())
            return;
        timer.stop();
        hasActed = true;
        act(*box);
    });
    timer.start(5);
    const int answer = alert();
    return hasActed ? answer : -1;
}

Act click(const QString &title)
{
    return [title](QMessageBox &box) {
        for (QAbstractButton *button : box.buttons()) {
            if (button->text() == title)
                return QTest::mouseClick(button, Qt::LeftButton);
        }
        qFatal("no such button");
    };
}

QStringList titles(const QMessageBox &box)
{
    QStringList titles;
    for (const QAbstractButton *button : box.buttons())
        titles += button->text();
    titles.sort();
    return titles;
}

} // namespace

void QFAlertTest::initTestCase()
{
    NSBundle::setPreferredLanguages({u"en"_s});
}

void QFAlertTest::answersByButton_data()
{
    QTest::addColumn<std::function<int()>>("alert");
    QTest::addColumn<Act>("act");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("logged");
    const Act escape = [](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Escape); };
    const Act enter = [](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Return); };
    const Act close = [](QMessageBox &box) { box.close(); };
    const Act hide = [](QMessageBox &box) { box.hide(); };
    const auto row = [](const char *name, int (*alert)(), const Act &act, int answer,
                        const QString &logged = {}) {
        QTest::newRow(name) << std::function<int()>(alert) << act << answer << logged;
    };
    row("OK", one, click(u"OK"_s), 1);
    row("OK by Escape", one, escape, 1);
    row("OK hidden", one, hide, 0, u"runInfoAlert returned an unexpected value: 0"_s);
    row("default of two", two, click(u"Save && go"_s), 1);
    row("default of two by Enter", two, enter, 1);
    row("alternate of two", two, click(u"Discard"_s), 1002);
    row("two hidden", two, hide, 0,
        u"runInfoAlertOKCancelAlternate returned an unexpected value: 0"_s); // the shared text
    row("OK of OK and Cancel", okCancel, click(u"OK"_s), 1);
    row("Cancel", okCancel, click(u"Cancel"_s), 0);
    row("Cancel by Escape", okCancel, escape, 0);
    row("Cancel by closing", okCancel, close, 0);
    row("OK and Cancel hidden", okCancel, hide, 0, u"runInfoAlert returned an unexpected value: 0"_s);
    row("OK of three", three, click(u"OK"_s), 1);
    row("alternate of three", three, click(u"Later"_s), 1002);
    row("Cancel of three", three, click(u"Cancel"_s), 0);
    row("three closed", three, close, 0);
    row("three hidden", three, hide, 0, u"runInfoAlertOKCancelAlternate returned an unexpected value: 0"_s);
}

void QFAlertTest::answersByButton()
{
    QFETCH(std::function<int()>, alert);
    QFETCH(Act, act);
    QFETCH(QString, logged);
    if (!logged.isNull())
        QTest::ignoreMessage(QtWarningMsg, qPrintable(logged));
    QTEST(during(alert, act), "answer");
}

void QFAlertTest::keepsTheTitlesOfTheFirstCall()
{
    QStringList shown;
    const auto look = [&](QMessageBox &box) {
        shown = titles(box) + QStringList{box.text(), box.informativeText()};
        QTest::keyClick(&box, Qt::Key_Escape); // nothing cancels: ignored, and so is the close box
        box.close();
        click(u"Discard"_s)(box);
    };
    during(two, look);
    const int answer = during([] { return QFAlert::runInfoAlert(u"Other"_s, {}, u"Yes"_s, u"No"_s); }, look);
    QCOMPARE(shown, QStringList({u"Discard"_s, u"Save && go"_s, u"Other"_s, u""_s}));
    QCOMPARE(answer, 1002);

    NSBundle::setPreferredLanguages({u"de"_s});
    during(three, [&](QMessageBox &box) {
        shown = titles(box);
        box.close();
    });
    NSBundle::setPreferredLanguages({u"en"_s});
    QCOMPARE(shown, QStringList({u"Abbrechen"_s, u"Later"_s, u"OK"_s}));
}

void QFAlertTest::showsTextsAsTheyAre()
{
    const QString markup = u"<b>5 < 6</b>"_s;
    during([&] { return QFAlert::runInfoAlertOKCancelAlternate(markup, markup, {}); },
           [&](QMessageBox &box) {
               QCOMPARE(titles(box), QStringList({u""_s, u"Cancel"_s, u"OK"_s}));
               for (const QLabel *label : box.findChildren<QLabel *>()) {
                   if (label->text() == markup)
                       QCOMPARE(label->textFormat(), Qt::PlainText);
               }
               QCOMPARE(box.text() + box.informativeText(), markup + markup);
               QCOMPARE(box.icon(), QMessageBox::Information);
               box.close();
           });
}

void QFAlertTest::answersOneInsideAnother()
{
    int inner = -1;
    const int outer = during(okCancel, [&](QMessageBox &box) {
        inner = during(okCancel, click(u"OK"_s));
        box.close();
    });
    QCOMPARE(inner, 1);
    QCOMPARE(outer, 0);
}

void QFAlertTest::needsTheMainThread()
{
    QTest::ignoreMessage(QtWarningMsg, "An alert needs the main thread of an application with windows");
    int answer = -1;
    std::thread([&] { answer = one(); }).join();
    QCOMPARE(answer, 0);
}

QTEST_MAIN(QFAlertTest)

#include "QFAlertTest.moc"
