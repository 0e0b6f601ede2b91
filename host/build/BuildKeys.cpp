#include "host/build/BuildKeys.h"

#include "host/build/FileStamp.h"
#include "host/plugins/PluginModules.h"
#include "platform/QFReport.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QIODevice>
#include <QJsonDocument>

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray digestOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

void append(QDataStream &stream, const FileStamp &stamp)
{
    stream << stamp.inode << stamp.size << stamp.modified << stamp.changed;
}

/// The program, the library, and what of the environment may show in a page.
void appendProgram(QDataStream &stream)
{
    append(stream, FileStamp::ofFile(u"/proc/self/exe"_s));
    Dl_info library = {};
    if (::dladdr(reinterpret_cast<const void *>(&logFailure), &library) != 0)
        append(stream, FileStamp::ofFile(QString::fromLocal8Bit(library.dli_fname)));
    for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG", "TZ"})
        stream << qgetenv(name);
}

void appendPreferences(QDataStream &stream, const QString &folder)
{
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo &info : files) {
        QFile file(info.filePath());
        if (file.open(QIODevice::ReadOnly))
            stream << info.fileName() << digestOf(file.readAll());
    }
}

void appendTheme(QDataStream &stream, const SiteTheme &theme)
{
    stream << theme.name << theme.pageTemplate << theme.styles << theme.colourTagFiles
           << theme.styleVariationMode << theme.variations << theme.contentOnlySubpages;
}

/// What every page may show of the site and its other pages.
void appendStructure(QDataStream &stream, const Site &site)
{
    stream << site.folder << site.title << site.language << site.baseURL << site.index << site.footer
           << site.normaliseImages << QDir(site.assets).entryList(QDir::Files, QDir::Name);
    for (const SitePage &page : site.pages)
        stream << page.id << page.title << page.plugin << page.external << page.hidden << page.path()
               << page.extension << qint64(page.parent);
}

} // namespace

BuildKeys::BuildKeys(const BuildContext &context, const QString &preferencesFolder) : _context(context)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    appendProgram(stream);
    appendPreferences(stream, preferencesFolder);
    appendTheme(stream, context.theme);
    appendStructure(stream, context.site);
    stream << context.parameters.modeName();
    _common = digestOf(bytes);
}

QByteArray BuildKeys::ofModule(const QString &plugin)
{
    QByteArray &digest = _modules[plugin];
    if (!digest.isEmpty())
        return digest;
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << plugin;
    for (const PluginModuleInfo &module : _context.modules.modules()) {
        if (module.identifier == plugin) {
            stream << module.file;
            append(stream, FileStamp::ofFile(module.file));
        }
    }
    digest = digestOf(bytes);
    return digest;
}

QString BuildKeys::ofPage(const SitePage &page)
{
    QByteArray bytes = _common + ofModule(page.plugin);
    QDataStream stream(&bytes, QIODevice::Append);
    stream << QJsonDocument(page.written).toJson(QJsonDocument::Compact) << page.style << page.variations
           << page.css << page.script << page.header;
    return QString::fromLatin1(digestOf(bytes).toHex());
}

QString BuildKeys::ofKind(const QString &plugin)
{
    return QString::fromLatin1(digestOf(_common + ofModule(plugin) + "shared").toHex());
}
