#include "host/plugins/PluginMetadata.h"

#include "plugin/QFPluginAPI.h"
#include "plugin/QFPluginClass.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QPluginLoader>
#include <QRegularExpression>

#include <cmath>
#include <cstring>
#include <limits>

#include <elf.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestIdentifier = 200;

/// Nil for a file that can be opened and whose bytes could be a module's.
QString faultOfFile(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return u"This link leads nowhere. Remove it, or put back the module that it points to."_s;
    if (!info.isFile())
        return info.isDir() ? u"This is a folder, and a module is a file. Move the folder elsewhere."_s
                            : u"This is no regular file, as a module is. Remove it."_s;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return u"The file cannot be read. Give yourself the right to read it."_s;
    const QByteArray start = file.read(sizeof(Elf64_Ehdr));
    if (!start.startsWith(ELFMAG))
        return start.isEmpty() ? u"The file is empty. Install the module again."_s
                               : u"This is no module, whatever its name says. Move it elsewhere."_s;
    Elf64_Ehdr header{};
    if (start.size() < qsizetype(sizeof header))
        return u"The file is cut short. Install the module again."_s;
    std::memcpy(&header, start.constData(), sizeof header);
    // The table of sections is the last thing in a module, so a file that was cut short lacks some of it.
    const quint64 size = quint64(file.size());
    const bool isWhole =
        header.e_ident[EI_CLASS] != ELFCLASS64 ||
        (header.e_shoff <= size && quint64(header.e_shnum) * header.e_shentsize <= size - header.e_shoff);
    return isWhole ? QString() : u"The file is damaged or cut short. Install the module again."_s;
}

/// Reads the metadata's keys; the first fault counts.
class KeyReader
{
public:
    explicit KeyReader(const QJsonObject &metadata) : _metadata(metadata) {}

    QString string(const QString &key)
    {
        const QJsonValue value = _metadata.value(key);
        if (!isThere(key, value))
            return {};
        if (!value.isString() || value.toString().trimmed().isEmpty())
            fault(key, u"must be a string that is not empty"_s);
        return value.toString();
    }

    int level(const QString &key)
    {
        const QJsonValue value = _metadata.value(key);
        if (!isThere(key, value))
            return 0;
        const double number = value.toDouble(-1);
        if (number < 0 || number > std::numeric_limits<int>::max() || number != std::floor(number)) {
            fault(key, u"must be a whole number"_s);
            return 0;
        }
        return int(number);
    }

    QString identifier()
    {
        QString text = string(u"identifier"_s);
        // It also names a folder of the built site.
        static const QRegularExpression form(u"\\A[A-Za-z][A-Za-z0-9-]*(\\.[A-Za-z0-9-]+)+\\z"_s);
        if (text.size() > kLongestIdentifier || !form.match(text).hasMatch())
            fault(u"identifier"_s, u"must be of the form \"com.example.notes\""_s);
        return text;
    }

    [[nodiscard]] QString refusal() const
    {
        return _fault.isNull()
                   ? QString()
                   : u"The module's metadata is not right: "_s + _fault +
                         u". Ask its author for a module that was made with qf_add_page_plugin."_s;
    }

private:
    bool isThere(const QString &key, const QJsonValue &value)
    {
        if (value.isUndefined())
            fault(key, u"is missing"_s);
        return !value.isUndefined();
    }

    void fault(const QString &key, const QString &what)
    {
        if (_fault.isNull())
            _fault = u'"' + key + u"\" "_s + what;
    }

    const QJsonObject _metadata;
    QString _fault;
};

/// Nil when module and library understand each other.
QString faultOfLevels(const PluginModuleInfo &info)
{
    const QString title = info.name + u' ' + info.version;
    if (info.oldestApiLevel > QFPluginAPILevel)
        return title + u" is made for a newer Quillfern (level "_s + QString::number(info.oldestApiLevel) +
               u" of the plug-in interface; this one has "_s + QString::number(QFPluginAPILevel) +
               u"). Update Quillfern."_s;
    if (info.apiLevel < QFPluginAPIOldestLevel)
        return title + u" was built for an older Quillfern (level "_s + QString::number(info.apiLevel) +
               u" of the plug-in interface; this one needs "_s + QString::number(QFPluginAPIOldestLevel) +
               u" at least). Ask its author, "_s + info.author + u", for a newer build."_s;
    return {};
}

QString faultOfKind(const QString &interface, const QString &loaderText)
{
    if (interface.isEmpty())
        return u"This is no page plug-in of Quillfern, or it is damaged ("_s + loaderText +
               u"). Install it again, or move it elsewhere."_s;
    if (interface != QLatin1StringView(QFPluginClass_iid))
        return u"This is a plug-in of another program (its interface is \""_s + interface +
               u"\"). Move it elsewhere."_s;
    return {};
}

} // namespace

PluginMetadata PluginMetadata::read(const QString &file)
{
    PluginMetadata result;
    result.info.file = file;
    result.refusal = faultOfFile(file);
    if (!result.refusal.isNull())
        return result;
    const QPluginLoader loader(file);
    const QJsonObject whole = loader.metaData();
    result.refusal = faultOfKind(whole.value(u"IID"_s).toString(), loader.errorString());
    if (!result.refusal.isNull())
        return result;
    KeyReader keys(whole.value(u"MetaData"_s).toObject());
    result.info.identifier = keys.identifier();
    result.info.version = keys.string(u"version"_s);
    result.info.name = keys.string(u"name"_s);
    result.info.author = keys.string(u"author"_s);
    result.info.description = keys.string(u"description"_s);
    result.info.apiLevel = keys.level(u"apiLevel"_s);
    result.info.oldestApiLevel = keys.level(u"oldestApiLevel"_s);
    result.refusal = keys.refusal();
    if (result.refusal.isNull())
        result.refusal = faultOfLevels(result.info);
    return result;
}
