#include "platform/NSUserDefaults.h"

#include "platform/NSPropertyList.h"
#include "platform/NSStringPathExtensions.h"
#include "platform/Values.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QLockFile>
#include <QReadWriteLock>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kLargestFile = qint64(64) * 1024 * 1024;
constexpr qsizetype kLongestName = 200;
constexpr int kMostDamagedFiles = 100;
constexpr int kLongestWait = 5000; // milliseconds, for another process

struct Domain
{
    QVariantMap values;
    bool isChanged = false; // since it was read or written
    bool isDamaged = false; // the file is there but holds no preferences
};

/// The name without anything that could lead out of the folder; nil for none.
QString safeName(const QString &name)
{
    const QString last = NSStringPathExtensions::lastPathComponent(name);
    const bool isUsable = last.size() <= kLongestName && last != u"." && last != u".." && !last.isEmpty() &&
                          !last.contains(u'/') && !last.contains(QChar::Null) && last.isValidUtf16();
    return isUsable ? last : QString();
}

Domain readDomain(const QString &path)
{
    Domain domain;
    QFile file(path);
    if (!file.exists())
        return domain;
    domain.isDamaged = true;
    // Opening a pipe would wait for its other end.
    if (!QFileInfo(path).isFile() || file.size() > kLargestFile || !file.open(QIODevice::ReadOnly))
        return domain;
    const QVariant list = NSPropertyList::propertyListFromData(file.read(kLargestFile));
    if (list.typeId() == QMetaType::QVariantMap) {
        domain.values = list.toMap();
        domain.isDamaged = false;
    }
    return domain;
}

/// Renames a file to the first free name.
bool keepAside(const QString &path)
{
    for (int n = 1; n <= kMostDamagedFiles; ++n) {
        const QString aside = path + u".damaged"_s + (n == 1 ? QString() : u'-' + QString::number(n));
        if (QFile::rename(path, aside))
            return true;
    }
    return !QFile::exists(path);
}

/// Whether the value can be written; one that cannot would keep its whole domain from the disk.
bool isStorable(const QVariant &value)
{
    return !NSPropertyList::dataFromPropertyList(value, NSPropertyListFormat::Binary).isNull();
}

bool writeDomain(const QString &path, const Domain &domain)
{
    const QString folder = NSStringPathExtensions::stringByDeletingLastPathComponent(path);
    if (domain.values.isEmpty() && !QFile::exists(path))
        return true;
    const QByteArray data = NSPropertyList::dataFromPropertyList(domain.values, NSPropertyListFormat::Binary);
    if (data.isNull() || !QDir().mkpath(folder))
        return false;
    QLockFile lock(path + u".lock"_s);
    if (!lock.tryLock(kLongestWait))
        return false;
    // Another process may have replaced the damaged file in the meantime.
    if (domain.isDamaged && readDomain(path).isDamaged && !keepAside(path))
        return false;
    if (domain.values.isEmpty())
        return !QFile::exists(path) || QFile::remove(path);
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit();
}

} // namespace

/// `lock` guards everything. `merged` holds the value of each key that is found somewhere, and is made anew
/// after a change.
struct NSUserDefaults::Private
{
    QReadWriteLock lock;
    QString folder;
    QString applicationDomain;
    QHash<QString, Domain> domains;
    QVariantMap registered;
    QHash<QString, QVariant> merged;
    bool isMerged = false;

    [[nodiscard]] QString pathOf(const QString &name) const
    {
        return NSStringPathExtensions::stringByAppendingPathComponent(folder, QString(name + u".plist"_s));
    }

    Domain &domainNamed(const QString &name)
    {
        const auto known = domains.find(name);
        return known != domains.end() ? *known : *domains.insert(name, readDomain(pathOf(name)));
    }

    void merge()
    {
        merged.clear();
        const auto add = [this](const QVariantMap &values) {
            for (auto entry = values.begin(); entry != values.end(); ++entry)
                merged.insert(entry.key(), entry.value());
        };
        add(registered);
        add(domainNamed(NSGlobalDomain.toString()).values);
        if (!applicationDomain.isNull())
            add(domainNamed(applicationDomain).values);
        isMerged = true;
    }
};

NSUserDefaults::NSUserDefaults(const QString &folder, const QString &applicationDomain)
    : d(std::make_unique<Private>())
{
    d->folder = folder;
    d->applicationDomain = safeName(applicationDomain);
}

NSUserDefaults::~NSUserDefaults()
{
    synchronize();
}

NSUserDefaults &NSUserDefaults::standardUserDefaults()
{
    static NSUserDefaults defaults(
        NSStringPathExtensions::stringByAppendingPathComponent(
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation), u"QFPluginUtilities"),
        u"com.corvale.quillfern"_s);
    return defaults;
}

QString NSUserDefaults::mainIdentifier()
{
    const NSUserDefaults &standard = standardUserDefaults();
    const QReadLocker locker(&standard.d->lock);
    return standard.d->applicationDomain;
}

void NSUserDefaults::setMainIdentifier(const QString &identifier)
{
    const NSUserDefaults &standard = standardUserDefaults();
    const QWriteLocker locker(&standard.d->lock);
    standard.d->applicationDomain = safeName(identifier);
    standard.d->isMerged = false;
}

void NSUserDefaults::setFolder(const QString &folder)
{
    const QWriteLocker locker(&d->lock);
    d->folder = folder;
    d->domains.clear();
    d->isMerged = false;
}

QVariant NSUserDefaults::objectForKey(const QString &key) const
{
    {
        const QReadLocker locker(&d->lock);
        if (d->isMerged)
            return d->merged.value(key);
    }
    const QWriteLocker locker(&d->lock);
    if (!d->isMerged)
        d->merge();
    return d->merged.value(key);
}

bool NSUserDefaults::boolForKey(const QString &key) const
{
    return boolValue(objectForKey(key));
}

qint64 NSUserDefaults::integerForKey(const QString &key) const
{
    return intValue(objectForKey(key));
}

float NSUserDefaults::floatForKey(const QString &key) const
{
    return floatValue(objectForKey(key));
}

QString NSUserDefaults::stringForKey(const QString &key) const
{
    return stringValue(objectForKey(key));
}

QVariantList NSUserDefaults::arrayForKey(const QString &key) const
{
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QVariantList ? value.toList() : QVariantList();
}

QVariantMap NSUserDefaults::dictionaryForKey(const QString &key) const
{
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QVariantMap ? value.toMap() : QVariantMap();
}

QStringList NSUserDefaults::stringArrayForKey(const QString &key) const
{
    QStringList strings;
    for (const QVariant &element : arrayForKey(key)) {
        if (element.typeId() != QMetaType::QString)
            return {};
        strings.append(element.toString());
    }
    return strings;
}

void NSUserDefaults::setObject(const QVariant &value, const QString &key)
{
    const QWriteLocker locker(&d->lock);
    if (d->applicationDomain.isNull() || key.isNull() || (!isNil(value) && !isStorable(value)))
        return;
    Domain &domain = d->domainNamed(d->applicationDomain);
    if (isNil(value))
        domain.values.remove(key);
    else
        domain.values.insert(key, value);
    domain.isChanged = true;
    d->isMerged = false;
}

void NSUserDefaults::registerDefaults(const QVariantMap &defaults)
{
    const QWriteLocker locker(&d->lock);
    d->registered.insert(defaults);
    d->isMerged = false;
}

QVariantMap NSUserDefaults::persistentDomainForName(const QString &name) const
{
    const QWriteLocker locker(&d->lock);
    const QString safe = safeName(name);
    return safe.isNull() ? QVariantMap() : d->domainNamed(safe).values;
}

bool NSUserDefaults::setPersistentDomain(const QVariantMap &domain, const QString &name)
{
    const QWriteLocker locker(&d->lock);
    const QString safe = safeName(name);
    if (safe.isNull() || !isStorable(domain))
        return false;
    Domain &known = d->domainNamed(safe);
    known.values = domain;
    known.isChanged = true;
    d->isMerged = false;
    return true;
}

bool NSUserDefaults::synchronize()
{
    const QWriteLocker locker(&d->lock);
    bool allWritten = true;
    d->domains.removeIf([&](QHash<QString, Domain>::iterator domain) {
        const bool isWritten = !domain->isChanged || writeDomain(d->pathOf(domain.key()), *domain);
        allWritten = allWritten && isWritten;
        return isWritten;
    });
    d->isMerged = false;
    return allWritten;
}
