#include "plugin/QFAlert.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/MainThread.h"
#include "platform/NSBundle.h"
#include "platform/QFReport.h"

#include <QApplication>
#include <QHash>
#include <QLabel>
#include <QList>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView kUnexpected = u"runInfoAlert returned an unexpected value: %d";
constexpr QStringView kUnexpectedAlternate =
    u"runInfoAlertOKCancelAlternate returned an unexpected value: %d";

struct Button
{
    QString title;
    QMessageBox::ButtonRole role;
    int answer;
};

Button okButton()
{
    return {NSBundle::libraryBundle().localizedStringForKey(u"QFAlertOK"_s), QMessageBox::AcceptRole,
            QFAlert::kDefaultReturn};
}

Button cancelButton()
{
    return {NSBundle::libraryBundle().localizedStringForKey(u"QFAlertCancel"_s), QMessageBox::RejectRole,
            QFAlert::kOtherReturn};
}

void setTexts(QMessageBox &box, const QString &message, const QString &informativeText)
{
    const auto shown = [](const QString &text) { return text.isNull() ? u""_s : text; };
    box.setTextFormat(Qt::PlainText);
    box.setText(shown(message));
    box.setInformativeText(shown(informativeText));
    // The box has a format for the message only and would take this text for markup when it looks like it.
    if (auto *label = box.findChild<QLabel *>(u"qt_msgbox_informativelabel"_s))
        label->setTextFormat(Qt::PlainText);
}

bool canRun()
{
    const bool isPossible =
        MainThread::isCurrent() && qobject_cast<QApplication *>(QCoreApplication::instance()) != nullptr;
    if (!isPossible)
        logFailure(qfPluginLog(), u"alert"_s,
                   u"An alert needs the main thread of an application with windows"_s);
    return isPossible;
}

/// Shows the alert and waits for a choice.
int run(const QList<Button> &buttons, const QString &message, const QString &informativeText,
        QStringView unexpected)
{
    QMessageBox box;
    box.setIcon(QMessageBox::Information);
    setTexts(box, message, informativeText);
    QHash<QAbstractButton *, int> answers;
    for (const Button &button : buttons) {
        const QString title = QString(button.title).replace(u"&"_s, u"&&"_s); // no keyboard shortcut
        answers.insert(box.addButton(title, button.role), button.answer);
    }
    // The number that comes back depends on the buttons' roles, so the button itself is asked for.
    const int result = box.exec();
    if (!answers.contains(box.clickedButton()))
        logFailure(qfPluginLog(), u"alert"_s, formatted(unexpected, {result}));
    return answers.value(box.clickedButton(), 0);
}

} // namespace

int QFAlert::runInfoAlert(const QString &message, const QString &informativeText)
{
    return canRun() ? run({okButton()}, message, informativeText, kUnexpected) : 0;
}

int QFAlert::runInfoAlert(const QString &message, const QString &informativeText,
                          const QString &defaultButton, const QString &alternateButton)
{
    if (!canRun())
        return 0;
    // The titles of the first call stay for all later ones: meant.
    static const QList<Button> buttons{{defaultButton, QMessageBox::AcceptRole, kDefaultReturn},
                                       {alternateButton, QMessageBox::ActionRole, kAlternateReturn}};
    return run(buttons, message, informativeText, kUnexpectedAlternate); // this text: meant
}

int QFAlert::runInfoAlertOKCancel(const QString &message, const QString &informativeText)
{
    if (!canRun())
        return 0;
    static const QList<Button> buttons{okButton(), cancelButton()};
    return run(buttons, message, informativeText, kUnexpected);
}

int QFAlert::runInfoAlertOKCancelAlternate(const QString &message, const QString &informativeText,
                                           const QString &alternate)
{
    if (!canRun())
        return 0;
    return run({okButton(), {alternate, QMessageBox::ActionRole, kAlternateReturn}, cancelButton()}, message,
               informativeText, kUnexpectedAlternate);
}
