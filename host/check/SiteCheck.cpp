#include "host/check/SiteCheck.h"

#include "host/TextFile.h"
#include "host/build/BuildManifest.h"
#include "host/check/PublishedPage.h"
#include "host/site/Site.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

class Checker
{
public:
    Checker(const QString &output, const BuildManifest &manifest) : _output(output), _manifest(manifest) {}

    void checkFiles();
    void checkPage(const QString &file);
    void checkStyleSheet(const QString &file);
    void checkRecords();
    QList<SiteFinding> findings;

private:
    void find(const QString &kind, const QString &file, const QString &message)
    {
        findings.append({kind, file, message});
    }
    void checkAddress(const QString &file, const QString &element, const QString &address);
    [[nodiscard]] std::optional<QString> pathOf(const QString &file, const QString &address) const;
    [[nodiscard]] bool hasAnchor(const QString &file, const QString &anchor);

    const QString _output;
    const BuildManifest &_manifest;
    QHash<QString, QSet<QString>> _anchors; ///< by page
};

bool isHTML(const QString &file)
{
    const QString extension = QFileInfo(file).suffix().toLower();
    return extension == u"html" || extension == u"htm" || extension == u"php" || extension == u"xhtml";
}

/// Whether an address lies in the site at all.
bool isLocal(const QString &address)
{
    static const QRegularExpression scheme(u"^[A-Za-z][A-Za-z0-9+.-]*:"_s);
    return !address.startsWith(u"//") && !scheme.match(address).hasMatch();
}

/// The path inside the published site that an address in a file leads to; nothing when it leads out of the
/// site.
std::optional<QString> Checker::pathOf(const QString &file, const QString &address) const
{
    QString path = address;
    path.truncate(path.indexOf(u'#') < 0 ? path.size() : path.indexOf(u'#'));
    path.truncate(path.indexOf(u'?') < 0 ? path.size() : path.indexOf(u'?'));
    path = QUrl::fromPercentEncoding(path.toUtf8());
    if (path.isEmpty())
        return file;
    const bool isFolder = path.endsWith(u'/');
    if (path.startsWith(u'/')) {
        if (_manifest.root.isEmpty() || !path.startsWith(_manifest.root))
            return {};
        path = path.mid(_manifest.root.size());
    } else {
        path = joinedPath(file.left(std::max<qsizetype>(file.lastIndexOf(u'/'), 0)), path);
    }
    path = QDir::cleanPath(path);
    if (path == u".." || path.startsWith(u"../"))
        return {};
    if (isFolder || path.isEmpty() || path == u"." || QFileInfo(_output + u'/' + path).isDir())
        return QDir::cleanPath(path + u"/"_s + _manifest.index);
    return path;
}

bool Checker::hasAnchor(const QString &file, const QString &anchor)
{
    if (!isHTML(file) || anchor.isEmpty() || anchor == u"top")
        return true;
    const auto known = _anchors.constFind(file);
    if (known != _anchors.constEnd())
        return known->contains(anchor);
    return _anchors.insert(file, PublishedPage::read(_output + u'/' + file).anchors)->contains(anchor);
}

void Checker::checkAddress(const QString &file, const QString &element, const QString &address)
{
    if (!isLocal(address))
        return;
    const std::optional<QString> path = pathOf(file, address);
    if (!path) {
        find(u"broken-link"_s, file, u"the address \""_s + address + u"\" leads out of the site"_s);
        return;
    }
    if (!QFileInfo(_output + u'/' + *path).isFile()) {
        const bool isAsset = path->startsWith(kPublishedAssets + u'/');
        find(isAsset ? u"missing-asset"_s : u"broken-link"_s, file,
             u"the "_s + element + u" leads to nothing: \""_s + address + u'"');
        return;
    }
    const qsizetype hash = address.indexOf(u'#');
    if (hash < 0)
        return;
    const QString anchor = QUrl::fromPercentEncoding(address.mid(hash + 1).toUtf8());
    if (!hasAnchor(*path, anchor))
        find(u"missing-anchor"_s, file, u"there is no place \"#"_s + anchor + u"\" in "_s + *path);
}

void Checker::checkPage(const QString &file)
{
    const PublishedPage page = PublishedPage::read(_output + u'/' + file);
    if (!page.error.isNull()) {
        find(u"missing-file"_s, file, page.error);
        return;
    }
    for (const PublishedPage::Reference &reference : page.references)
        checkAddress(file, reference.element, reference.address);
    for (const QString &image : page.bareImages)
        find(u"missing-alt"_s, file, u"the picture \""_s + image + u"\" has no alternative text"_s);
}

void Checker::checkStyleSheet(const QString &file)
{
    static const QRegularExpression url(u"url\\(\\s*([\"']?)([^\"')]*)\\1\\s*\\)"_s);
    const TextFile sheet = TextFile::read(_output + u'/' + file);
    auto matches = url.globalMatch(sheet.text);
    while (matches.hasNext())
        checkAddress(file, u"style sheet"_s, matches.next().captured(2));
}

/// Whether what lies there is what the last build has left.
void Checker::checkFiles()
{
    const QStringList files = _manifest.allFiles();
    const QSet<QString> known(files.begin(), files.end());
    const QSet<QString> orphans(_manifest.orphans.begin(), _manifest.orphans.end());
    for (const QString &file : files) {
        if (!QFileInfo(_output + u'/' + file).isFile())
            find(u"missing-file"_s, file, u"the file of the last build is not there any more"_s);
    }
    QDirIterator entries(_output, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString file = entries.next().mid(_output.size() + 1);
        if (file.startsWith(kBuilderFolder + u'/') || known.contains(file))
            continue;
        if (orphans.contains(file))
            find(u"orphan"_s, file, u"an earlier build made it, and no page has it any more"_s);
        else
            find(u"stray-file"_s, file, u"no build has made it"_s);
    }
}

/// What the exporter said when the pages were made.
void Checker::checkRecords()
{
    for (auto page = _manifest.pages.begin(); page != _manifest.pages.end(); ++page) {
        for (const QFReportRecord &record : page->records) {
            if (record.kind == u"file-written-twice")
                find(u"written-twice"_s, page->files.isEmpty() ? page.key() : page->files.constFirst().path,
                     record.message);
        }
    }
}

} // namespace

QList<SiteFinding> SiteCheck::check(const QString &output, QString &error)
{
    const QString folder = QFileInfo(output).canonicalFilePath();
    const BuildManifest manifest = BuildManifest::read(folder);
    if (folder.isEmpty() || manifest.allFiles().isEmpty()) {
        error = output + u": there is no built site"_s;
        return {};
    }
    Checker checker(folder, manifest);
    checker.checkFiles();
    checker.checkRecords();
    const QStringList files = manifest.allFiles();
    for (const QString &file : files) {
        if (!QFileInfo(folder + u'/' + file).isFile())
            continue; // said already
        if (isHTML(file))
            checker.checkPage(file);
        else if (file.endsWith(u".css"_s, Qt::CaseInsensitive))
            checker.checkStyleSheet(file);
    }
    std::stable_sort(checker.findings.begin(), checker.findings.end(),
                     [](const SiteFinding &a, const SiteFinding &b) { return a.file < b.file; });
    return std::move(checker.findings);
}
