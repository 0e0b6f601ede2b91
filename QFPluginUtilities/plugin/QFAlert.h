#pragma once

#include "platform/QFExport.h"

#include <QString>

/// Alerts with a message and, smaller below it, an informative text, both shown as they are, markup and all;
/// a nil text is shown as "". They are modal: an operation returns when a button was chosen, and runs the
/// event loop until then. The buttons OK and Cancel are in the user's language.
///
/// Escape chooses Cancel, or the only button; where there is neither, it does nothing, like the close box of
/// the window. An alert that is hidden without a choice is logged and answers 0. So does an operation outside
/// the main thread or without a QApplication, which shows nothing.
class QF_EXPORT QFAlert
{
public:
    static constexpr int kDefaultReturn = 1;
    static constexpr int kAlternateReturn = 1002;
    static constexpr int kOtherReturn = 0;

    /// One button, OK: 1.
    static int runInfoAlert(const QString &message, const QString &informativeText);
    /// The default button answers 1, the alternate one 1002. The titles of the first call that the process
    /// makes stay: later calls show them, whatever they give.
    static int runInfoAlert(const QString &message, const QString &informativeText,
                            const QString &defaultButton, const QString &alternateButton);
    /// OK answers 1, Cancel 0; in the language of the first call.
    static int runInfoAlertOKCancel(const QString &message, const QString &informativeText);
    /// OK answers 1, the button `alternate` (nil: without a title) 1002, Cancel 0.
    static int runInfoAlertOKCancelAlternate(const QString &message, const QString &informativeText,
                                             const QString &alternate);
};
