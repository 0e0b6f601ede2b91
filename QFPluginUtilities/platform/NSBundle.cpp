#include "platform/NSBundle.h"

#include "platform/NSStringsTable.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <mutex>

using namespace Qt::StringLiterals;

namespace {

// A strings file that is larger is no strings file.
constexpr qint64 maximumStringsFileSize = qint64(16) << 20;

// "de_AT.UTF-8@euro" as "de_AT"; nothing for the two names of no language.
QString languageOfLocaleName(const QString &locale)
{
    const QString language = locale.section(u'.', 0, 0).section(u'@', 0, 0);
    return language == u"C" || language == u"POSIX" ? QString() : language;
}

QStringList languagesOfEnvironment()
{
    QStringList names = qEnvironmentVariable("LANGUAGE").split(u':');
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const QString locale = qEnvironmentVariable(variable); !locale.isEmpty()) {
            names.append(locale);
            break;
        }
    }
    QStringList languages;
    for (const QString &name : std::as_const(names))
        if (const QString language = languageOfLocaleName(name); !language.isEmpty())
            languages.append(language);
    languages.removeDuplicates();
    return languages;
}

// Folders to look into, best first: the regional form before the language itself, English at the end.
QStringList localizationFolders(const QStringList &languages)
{
    QStringList folders;
    for (const QString &language : languages) {
        const QString regional = QString(language).replace(u'-', u'_');
        folders << regional << regional.section(u'_', 0, 0);
    }
    folders << u"en"_s;
    folders.removeDuplicates();
    return folders;
}

QHash<QString, QString> readStringsFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > maximumStringsFileSize)
        return {};
    return parseStringsFile(file.read(maximumStringsFileSize));
}

} // namespace

struct NSBundle::Private
{
    mutable std::mutex mutex; // guards everything below
    QString root;
    QStringList languages;
    QHash<QString, QHash<QString, QString>> tables; // by table name, for `languages`

    [[nodiscard]] QString pathInLanguages(const QString &file) const
    {
        for (const QString &language : localizationFolders(languages)) {
            QString path = root + u'/' + language + u".lproj/"_s + file;
            if (QFileInfo::exists(path))
                return path;
        }
        return {};
    }
};

NSBundle::NSBundle() : _private(std::make_unique<Private>())
{
    setResourcePath({});
    _private->languages = languagesOfEnvironment();
}

NSBundle::~NSBundle() = default;

NSBundle &NSBundle::libraryBundle()
{
    static NSBundle bundle;
    return bundle;
}

NSBundle *NSBundle::bundleWithIdentifier(const QString &identifier)
{
    NSBundle &library = libraryBundle();
    return identifier == library.bundleIdentifier() ? &library : nullptr;
}

QString NSBundle::bundleIdentifier() const
{
    return u"com.corvale.qfpluginutilities"_s;
}

QString NSBundle::pathForResourceOfType(const QString &name, const QString &type) const
{
    if (name.isEmpty())
        return {};
    const QString file = type.isEmpty() ? name : name + u'.' + type;
    const std::lock_guard lock(_private->mutex);
    const QString common = _private->root + u'/' + file;
    return QFileInfo::exists(common) ? common : _private->pathInLanguages(file);
}

QString NSBundle::localizedStringForKey(const QString &key, const QString &value, const QString &table) const
{
    const QString name = table.isEmpty() ? u"Localizable"_s : table;
    const std::lock_guard lock(_private->mutex);
    auto strings = _private->tables.constFind(name);
    if (strings == _private->tables.constEnd())
        strings =
            _private->tables.insert(name, readStringsFile(_private->pathInLanguages(name + u".strings"_s)));
    return strings->value(key, value.isEmpty() ? key : value);
}

QStringList NSBundle::preferredLanguages()
{
    const Private &library = *libraryBundle()._private;
    const std::lock_guard lock(library.mutex);
    return library.languages;
}

void NSBundle::setPreferredLanguages(const QStringList &languages)
{
    Private &library = *libraryBundle()._private;
    const std::lock_guard lock(library.mutex);
    library.languages = languages.isEmpty() ? languagesOfEnvironment() : languages;
    library.tables.clear();
}

void NSBundle::setResourcePath(const QString &folder)
{
    const std::lock_guard lock(_private->mutex);
    _private->root = folder.isNull() ? u":/com.corvale.qfpluginutilities"_s : folder;
    _private->tables.clear();
}
