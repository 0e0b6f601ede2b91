#pragma once

#include "platform/QFExport.h"

#include <QStringList>
#include <QVariantMap>

#include <memory>

/// The domain that holds what is set for all applications, such as the list "AppleLanguages".
inline constexpr QStringView NSGlobalDomain = u"NSGlobalDomain";

/// Preferences. Each domain is one property-list file, read when it is first asked for and written whole. A
/// key is looked up in the application's domain, then in the global domain, then among the registered
/// defaults.
///
/// Values are those of property lists. Any thread; reading a key takes a shared lock and one look-up. Two
/// processes that change one domain at the same time: they write one after the other, and the last one wins.
///
/// A file that cannot be read as preferences counts as empty; before it would be replaced it is renamed, to
/// "<domain>.plist.damaged" or the like.
class QF_EXPORT NSUserDefaults
{
public:
    /// Preferences in a folder of their own, which is made when something is written.
    NSUserDefaults(const QString &folder, const QString &applicationDomain);
    /// Writes what has been changed.
    ~NSUserDefaults();
    NSUserDefaults(const NSUserDefaults &) = delete;
    NSUserDefaults &operator=(const NSUserDefaults &) = delete;

    /// The process's preferences: the domain of `mainIdentifier` in the user's configuration folder, below
    /// "QFPluginUtilities".
    [[nodiscard]] static NSUserDefaults &standardUserDefaults();
    /// Names the application, and so its domain in the standard preferences; "com.corvale.quillfern" unless
    /// the application sets another. Empty: it has no domain, and what is set there is lost.
    [[nodiscard]] static QString mainIdentifier();
    static void setMainIdentifier(const QString &identifier);
    /// Looks for the files elsewhere from now on. Changes that have not been written are dropped.
    void setFolder(const QString &folder);

    /// Nil, false, 0 or empty for what is not set; values of other types are read by the rules of `Values.h`.
    [[nodiscard]] QVariant objectForKey(const QString &key) const;
    [[nodiscard]] bool boolForKey(const QString &key) const;
    [[nodiscard]] qint64 integerForKey(const QString &key) const;
    [[nodiscard]] float floatForKey(const QString &key) const;
    [[nodiscard]] QString stringForKey(const QString &key) const;
    [[nodiscard]] QVariantList arrayForKey(const QString &key) const;
    [[nodiscard]] QVariantMap dictionaryForKey(const QString &key) const;
    /// The strings of an array; empty when any element is something else.
    [[nodiscard]] QStringList stringArrayForKey(const QString &key) const;

    /// Sets in the application's domain; nil removes. What no property list can hold is not set, here and
    /// below.
    void setObject(const QVariant &value, const QString &key);
    void removeObjectForKey(const QString &key) { setObject({}, key); }
    /// Adds to the defaults that hold where no domain has a value. They are not written anywhere.
    void registerDefaults(const QVariantMap &defaults);

    /// A whole domain; empty when there is none. Domains are known by the last component of their names, so
    /// that none can lie outside the folder; where nothing is left of a name, nothing is read or set.
    [[nodiscard]] QVariantMap persistentDomainForName(const QString &name) const;
    /// Replaces a whole domain; an empty one has its file removed. False, with nothing changed, for what no
    /// property list can hold and for a name that is none.
    bool setPersistentDomain(const QVariantMap &domain, const QString &name);

    /// Writes what has been changed, and lets everything else be read afresh. False when a file could not be
    /// written; its changes are kept for the next time.
    bool synchronize();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
