#pragma once

#include "platform/QFExport.h"

#include <QString>
#include <QStringList>

#include <memory>

/// The library's resources: files compiled into it, and among them strings in several languages. Any thread.
class QF_EXPORT NSBundle
{
public:
    NSBundle(const NSBundle &) = delete;
    NSBundle &operator=(const NSBundle &) = delete;
    ~NSBundle();

    /// The library's own bundle for "com.corvale.qfpluginutilities"; nullptr for every other identifier.
    [[nodiscard]] static NSBundle *bundleWithIdentifier(const QString &identifier);
    [[nodiscard]] static NSBundle &libraryBundle();
    [[nodiscard]] QString bundleIdentifier() const;

    /// Path of the file "name.type" (of "name" when `type` is empty), for QFile: first among the resources
    /// common to all languages, then in the folder of the best language. Nil when there is none.
    [[nodiscard]] QString pathForResourceOfType(const QString &name, const QString &type) const;

    /// The string under `key` in "table.strings" (an empty `table` is "Localizable") of the first preferred
    /// language that has that file, English last. Without one: `value`, or the key itself when that is empty.
    [[nodiscard]] QString localizedStringForKey(const QString &key, const QString &value = {},
                                                const QString &table = {}) const;

    /// Languages as "de" or "de_AT", best first. Initially those of LANGUAGE and of LC_ALL, LC_MESSAGES or
    /// LANG.
    [[nodiscard]] static QStringList preferredLanguages();
    /// Takes effect at once, for strings looked up from now on; an empty list returns to the environment's.
    static void setPreferredLanguages(const QStringList &languages);

    /// Reads resources from a folder in place of those compiled in; nil returns to these.
    void setResourcePath(const QString &folder);

private:
    NSBundle();

    struct Private;
    std::unique_ptr<Private> _private;
};
