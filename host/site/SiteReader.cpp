#include "host/site/SiteReader.h"

#include "host/ContainedPath.h"
#include "host/JSONFile.h"
#include "host/site/KeyReader.h"
#include "text/QFLocale.h"
#include "text/QFStrings.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaximumNameLength = 200;
constexpr QStringView kUsualIndex = u"index.html";
constexpr int kMaximumSources = 64; ///< of settings, one behind the other

bool isSafeCharacter(QChar unit)
{
    const char16_t c = unit.unicode();
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' ||
           c == u'_' || c == u'.';
}

/// What a page takes over where it says nothing itself.
struct Inherited
{
    QString style;
    QStringList variations;
};

class Reader
{
public:
    Reader(Site &site, const QString &file) : _site(site), _file(file) {}

    void readPages(const QJsonArray &pages, const QString &place, qsizetype parent, qsizetype level,
                   const QString &folder);
    void checkSettingsSources();
    Inherited inherited;

private:
    [[nodiscard]] bool readPage(KeyReader &keys, SitePage &page, const QString &parentFolder);
    [[nodiscard]] bool readID(KeyReader &keys, SitePage &page);
    [[nodiscard]] bool readMaker(KeyReader &keys, SitePage &page);
    void readLooks(KeyReader &keys, SitePage &page);
    [[nodiscard]] bool readPlace(KeyReader &keys, SitePage &page, const QString &parentFolder);
    [[nodiscard]] QString containedFile(KeyReader &keys, const QString &key);
    void checkSettingsSource(SitePage &page);

    Site &_site;
    const QString _file;
    bool _hasHome = false; ///< whether the first page has been read, even if it is left out
};

void Reader::readPages(const QJsonArray &pages, const QString &place, qsizetype parent, qsizetype level,
                       const QString &folder)
{
    for (qsizetype i = 0; i < pages.size(); ++i) {
        const QString pagePlace = place + u'[' + QString::number(i) + u']';
        KeyReader keys(pages.at(i).toObject(), _file, pagePlace);
        if (!pages.at(i).isObject()) {
            KeyReader({}, _file, {}).complain(pagePlace, u"should be an object"_s);
            ++_site.leftOut;
            continue;
        }
        if (_site.pages.size() >= SiteReader::kMaximumPages) {
            keys.complain(u"id"_s, u"is one page too many; the rest is left out"_s);
            return;
        }
        SitePage page;
        page.key = pagePlace;
        page.parent = parent;
        page.written = pages.at(i).toObject();
        page.written.remove(u"children"_s);
        const bool isGood = readPage(keys, page, folder);
        const QJsonArray children = keys.array(u"children"_s);
        keys.complainOfUnknownKeys();
        const QString below = page.isExternal() ? folder : page.folder;
        qsizetype childrensParent = parent;
        _site.leftOut += isGood ? 0 : 1;
        if (isGood) {
            childrensParent = _site.pages.size();
            (parent >= 0 ? _site.pages[parent].children : _site.topPages).append(childrensParent);
            _site.indexOfID.insert(page.id, childrensParent);
            _site.pages.append(std::move(page));
        }
        if (level >= SiteReader::kMaximumLevels && !children.isEmpty())
            keys.complain(u"children"_s, u"are nested too deeply and left out"_s);
        else
            readPages(children, pagePlace + u".children"_s, childrensParent, level + 1, below);
    }
}

/// False when the page cannot be built; its place is worked out all the same, for the pages below it.
bool Reader::readPage(KeyReader &keys, SitePage &page, const QString &parentFolder)
{
    const bool isNamed = readID(keys, page);
    page.title = keys.string(u"title"_s, page.id);
    page.hidden = keys.boolean(u"hidden"_s, false);
    page.settings = keys.object(u"settings"_s).toVariantMap();
    page.settingsFrom = keys.string(u"settingsFrom"_s);
    page.themeOptions = keys.object(u"themeOptions"_s).toVariantMap();
    const bool isMade = readMaker(keys, page);
    readLooks(keys, page);
    if (!readPlace(keys, page, parentFolder) || !isNamed || !isMade)
        return false;
    if (page.isExternal() || _site.claims.takePage(page))
        return true;
    keys.complain(u"folder"_s, u"puts the page where something else lies (\""_s + page.path() +
                                   u"\"); the page is left out"_s);
    return false;
}

bool Reader::readID(KeyReader &keys, SitePage &page)
{
    page.id = keys.string(u"id"_s);
    const bool isControlled =
        std::any_of(page.id.cbegin(), page.id.cend(), [](QChar unit) { return unit < u' '; });
    if (page.id.isEmpty() || page.id.size() > kMaximumNameLength || isControlled || page.id.contains(u'/'))
        keys.complain(u"id"_s,
                      u"should be a text of 1 to 200 characters without \"/\"; the page is left out"_s);
    else if (_site.indexOfID.contains(page.id))
        keys.complain(u"id"_s, u"is another page's, too; the page is left out"_s);
    else
        return true;
    return false;
}

bool Reader::readMaker(KeyReader &keys, SitePage &page)
{
    page.plugin = keys.string(u"plugin"_s);
    page.external = keys.string(u"external"_s);
    if (page.external.isEmpty())
        page.external = QString();
    if (!page.plugin.isEmpty() && page.isExternal())
        keys.complain(u"plugin"_s, u"means nothing for an external page"_s);
    if (!page.plugin.isEmpty() || page.isExternal())
        return true;
    keys.complain(u"plugin"_s, u"is needed, or \"external\"; the page is left out"_s);
    return false;
}

void Reader::readLooks(KeyReader &keys, SitePage &page)
{
    page.style = keys.string(u"style"_s, inherited.style);
    page.variations = keys.has(u"variations"_s) ? keys.strings(u"variations"_s) : inherited.variations;
    page.css = containedFile(keys, u"css"_s);
    page.script = containedFile(keys, u"script"_s);
    page.header = containedFile(keys, u"header"_s);
    page.imageFormat = keys.string(u"imageFormat"_s);
    page.imageQuality = keys.string(u"imageQuality"_s);
    constexpr std::array<QStringView, 3> formats{u"JPEG", u"PNG", u"GIF"};
    constexpr std::array<QStringView, 4> qualities{u"Best", u"High", u"Medium", u"Low"};
    if (!page.imageFormat.isNull() &&
        std::find(formats.begin(), formats.end(), page.imageFormat) == formats.end())
        keys.complain(u"imageFormat"_s, u"should be JPEG, PNG or GIF"_s);
    if (!page.imageQuality.isNull() &&
        std::find(qualities.begin(), qualities.end(), page.imageQuality) == qualities.end())
        keys.complain(u"imageQuality"_s, u"should be Best, High, Medium or Low"_s);
}

/// The safe form of the text, made one that may stand in paths; empty where nothing is left of it.
QString folderNamed(const QString &text)
{
    QString name = QFStringUtilities::stringEscapedForFilename(text);
    while (name.startsWith(u'.'))
        name.remove(0, 1);
    return name.left(kMaximumNameLength);
}

bool Reader::readPlace(KeyReader &keys, SitePage &page, const QString &parentFolder)
{
    // The first page of all is the site's home, unless it says otherwise. When it is left out, no other takes
    // its place.
    const bool isFirst = !page.isExternal() && !std::exchange(_hasHome, _hasHome || !page.isExternal());
    const QString ofTitle = folderNamed(page.title);
    const QString usual = isFirst ? QString() : ofTitle.isEmpty() ? folderNamed(page.id) : ofTitle;
    const QString folder = keys.string(u"folder"_s, usual);
    page.folder = parentFolder;
    page.filename = keys.string(u"filename"_s, u"index"_s);
    page.extension = keys.string(u"extension"_s, u"html"_s);
    if (page.isExternal())
        return true;
    const std::array<std::pair<QString, QString>, 3> names{
        {{u"folder"_s, folder}, {u"filename"_s, page.filename}, {u"extension"_s, page.extension}}};
    for (const auto &[key, name] : names) {
        const bool mayBeEmpty = key != u"filename";
        if (!(mayBeEmpty && name.isEmpty()) && !SiteReader::isSafeName(name)) {
            keys.complain(key, u"is no safe name; the page is left out"_s);
            return false;
        }
    }
    if (!folder.isEmpty())
        page.folder = joinedPath(parentFolder, folder);
    return true;
}

QString Reader::containedFile(KeyReader &keys, const QString &key)
{
    const QString name = keys.string(key);
    if (name.isNull())
        return {};
    QString path = containedPath(_site.folder, name);
    if (!path.isNull() && QFileInfo(path).isFile())
        return path;
    keys.complain(key, u"names no file of the site (\""_s + name.left(kMaximumNameLength) + u"\")"_s);
    return {};
}

/// Settings come from pages of the same plug-in, and not in a circle.
void Reader::checkSettingsSources()
{
    for (SitePage &page : _site.pages) {
        const SitePage *source = page.settingsFrom.isNull() ? &page : _site.pageNamed(page.settingsFrom);
        if (source && source->plugin == page.plugin)
            continue;
        KeyReader({}, _file, page.key)
            .complain(u"settingsFrom"_s, u"should name a page of the same plug-in"_s);
        page.settingsFrom = QString();
    }
    for (SitePage &page : _site.pages)
        checkSettingsSource(page);
}

void Reader::checkSettingsSource(SitePage &page)
{
    const SitePage *source = &page;
    for (int i = 0; i < kMaximumSources && !source->settingsFrom.isNull(); ++i)
        source = _site.pageNamed(source->settingsFrom);
    if (source->settingsFrom.isNull())
        return;
    KeyReader({}, _file, page.key)
        .complain(u"settingsFrom"_s, u"goes round in a circle, or over too many pages"_s);
    page.settingsFrom = QString();
}

/// The folder that a key of the site names, which need not exist.
QString containedFolder(KeyReader &keys, const QString &key, const QString &siteFolder)
{
    const QString name = keys.string(key, key);
    const QString path = containedPath(siteFolder, name);
    if (!path.isNull() && QFileInfo(path).isDir())
        return path;
    if (keys.has(key))
        keys.complain(key, u"names no folder of the site"_s);
    return siteFolder + u'/' + key;
}

} // namespace

bool SiteReader::isSafeName(const QString &name)
{
    return !name.isEmpty() && name.size() <= kMaximumNameLength && name.front() != u'.' &&
           std::all_of(name.cbegin(), name.cend(), isSafeCharacter);
}

std::optional<Site> SiteReader::read(const QString &folder, QString &error)
{
    Site site;
    site.folder = QFileInfo(folder).canonicalFilePath();
    if (site.folder.isEmpty() || !QFileInfo(site.folder).isDir()) {
        error = folder + u": there is no such folder"_s;
        return {};
    }
    const std::optional<QJsonObject> object = JSONFile::read(site.file(), error);
    if (!object)
        return {};
    if (!object->value(u"pages"_s).isArray()) {
        error = site.file() + u": pages should be a list"_s;
        return {};
    }
    KeyReader keys(*object, site.file(), {});
    site.title = keys.string(u"title"_s, u""_s);
    site.language = keys.string(u"language"_s, QFLocale::currentLanguageCode());
    site.baseURL = keys.string(u"baseURL"_s, u"/"_s);
    site.theme = containedFolder(keys, u"theme"_s, site.folder);
    site.assets = containedFolder(keys, u"assets"_s, site.folder);
    site.index = keys.string(u"index"_s, kUsualIndex.toString());
    if (!isSafeName(site.index)) {
        keys.complain(u"index"_s, u"is no safe name"_s);
        site.index = kUsualIndex.toString();
    }
    site.footer = keys.string(u"footer"_s, u""_s);
    site.normaliseImages = keys.boolean(u"normaliseImages"_s, false);
    Reader reader(site, site.file());
    reader.inherited = {keys.string(u"style"_s), keys.strings(u"variations"_s)};
    const QJsonArray pages = keys.array(u"pages"_s);
    keys.complainOfUnknownKeys();
    reader.readPages(pages, u"pages"_s, -1, 1, {});
    reader.checkSettingsSources();
    return site;
}
