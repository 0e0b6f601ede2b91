// Whole sites, by the command line: how the time of a page depends on how many there are, what a build costs
// when nothing or one page has changed, and a site with pictures beside Hugo, where that is installed.

#include "Contest.h"
#include "Measuring.h"
#include "Photo.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <array>
#include <cstring>
#include <random>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFanOut = 12; ///< pages below a page, so that each shows as many links as the others
constexpr QSize kPhotograph(1600, 1067);
constexpr int kShownWidth = 800;

struct Cost
{
    double milliseconds = 0;
    double peakMegabytes = 0;
};

/// Runs a program to its end, with nothing on standard output.
Cost run(const QStringList &command, const QString &folder = {})
{
    std::vector<QByteArray> bytes;
    for (const QString &word : command)
        bytes.push_back(QFile::encodeName(word));
    std::vector<char *> words;
    for (QByteArray &word : bytes)
        words.push_back(word.data());
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (!folder.isNull())
        posix_spawn_file_actions_addchdir_np(&actions, QFile::encodeName(folder).constData());
    const auto start = std::chrono::steady_clock::now();
    pid_t process = 0;
    require(posix_spawnp(&process, words.front(), &actions, nullptr, words.data(), environ) == 0,
            words.front());
    int status = 0;
    rusage usage{};
    wait4(process, &status, 0, &usage);
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
    posix_spawn_file_actions_destroy(&actions);
    require(status == 0, qPrintable(command.join(u' ')));
    return {wall.count(), double(usage.ru_maxrss) / 1024};
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), qPrintable(path));
}

/// Markdown that reads like prose: headings, paragraphs with some bold words and links, lists.
class Prose
{
public:
    explicit Prose(unsigned seed) : _random(seed) {}

    [[nodiscard]] QByteArray page(int number, int bytes, const QByteArray &linkTarget)
    {
        QByteArray text = "# Page " + QByteArray::number(number) + "\n\n";
        while (text.size() < bytes) {
            const unsigned kind = _random() % 10;
            if (kind == 0)
                text += "## " + words(4) + "\n\n";
            else if (kind == 1)
                text += "- " + words(8) + "\n- " + words(9) + "\n- " + words(7) + "\n\n";
            else if (kind < 4)
                text += words(30) + " **" + words(2) + "** " + words(20) + " [" + words(2) + "](" +
                        linkTarget + ") " + words(10) + "\n\n";
            else
                text += words(70) + "\n\n";
        }
        return text;
    }

private:
    [[nodiscard]] QByteArray words(int count)
    {
        static constexpr std::array<const char *, 24> kWords{
            "harbour", "a",     "lantern", "of",   "the",   "morning", "between", "stones",
            "slowly",  "river", "and",     "with", "light", "every",   "window",  "over",
            "bread",   "to",    "garden",  "in",   "wool",  "was",     "north",   "kitchen"};
        QByteArray text;
        for (int i = 0; i < count; ++i)
            text += QByteArray(i == 0 ? "" : " ") + kWords.at(_random() % kWords.size());
        return text + '.';
    }

    std::mt19937 _random;
};

const QString &qf()
{
    static const QString path = QCoreApplication::applicationDirPath() + u"/qf"_s;
    return path;
}

QJsonObject recordOf(int page, int count)
{
    const QString id = u"p"_s + QString::number(page);
    QJsonObject record{{u"id"_s, id},
                       {u"title"_s, u"Page "_s + QString::number(page)},
                       {u"plugin"_s, u"com.corvale.quillfern.styled-text"_s},
                       {u"imageQuality"_s, u"High"_s},
                       {u"settings"_s, QJsonObject{{u"source"_s, u"pages/"_s + id + u".md"_s}}}};
    if (page > 0)
        record.insert(u"folder"_s, id);
    QJsonArray children;
    for (int child = page * kFanOut + 1; child <= page * kFanOut + kFanOut && child < count; ++child)
        children.append(recordOf(child, count));
    record.insert(u"children"_s, children);
    return record;
}

/// A site of prose; its first `pictures` pages show a photograph.
QString makeSite(const QString &folder, int pages, int bytes, const QList<QByteArray> &pictures)
{
    const QString site = folder + u"/site"_s + QString::number(pages);
    run({qf(), u"new"_s, u"site"_s, QFileInfo(site).fileName(), u"--in"_s, folder});
    writeFile(site + u"/site.json"_s, QJsonDocument(QJsonObject{{u"title"_s, u"Prose"_s},
                                                                {u"pages"_s, QJsonArray{recordOf(0, pages)}}})
                                          .toJson());
    for (int page = 0; page < pages; ++page) {
        const QString stem = site + u"/pages/p"_s + QString::number(page);
        QByteArray text =
            Prose(unsigned(page)).page(page, bytes, "page:p" + QByteArray::number(page * 7 % pages));
        if (page < pictures.size()) {
            writeFile(stem + u".jpg"_s, pictures.at(page));
            text += "<img src=\"p" + QByteArray::number(page) + ".jpg\" width=\"" +
                    QByteArray::number(kShownWidth) + "\" alt=\"A view\">\n";
        }
        writeFile(stem + u".md"_s, text);
    }
    return site;
}

/// The same pages and pictures for Hugo.
QString makeHugoSite(const QString &folder, int pages, int bytes, const QList<QByteArray> &pictures)
{
    const QString site = folder + u"/hugo"_s;
    writeFile(site + u"/config.toml"_s, "baseURL = \"/\"\ntitle = \"Prose\"\ndisableKinds = "
                                        "[\"taxonomy\", \"term\", \"RSS\", \"sitemap\"]\n");
    const QByteArray page =
        "<!DOCTYPE html><html><head><title>{{ .Title }}</title></head><body><nav>{{ range first 12 "
        ".Site.RegularPages }}<a href=\"{{ .RelPermalink }}\">{{ .Title }}</a>{{ end }}</nav>"
        "<main>{{ .Content }}</main></body></html>\n";
    writeFile(site + u"/layouts/_default/single.html"_s, page);
    writeFile(site + u"/layouts/_default/list.html"_s, page);
    writeFile(site + u"/layouts/_default/_markup/render-image.html"_s,
              "{{ $p := (.Page.Resources.GetMatch .Destination).Resize \"" + QByteArray::number(kShownWidth) +
                  "x q75\" }}<img src=\"{{ $p.RelPermalink }}\" width=\"{{ $p.Width }}\" height=\"{{ "
                  "$p.Height }}\" "
                  "alt=\"{{ .Text }}\">");
    for (int number = 0; number < pages; ++number) {
        const QString bundle = site + u"/content/p"_s + QString::number(number);
        QByteArray text =
            "---\ntitle: Page " + QByteArray::number(number) + "\n---\n" +
            Prose(unsigned(number)).page(number, bytes, "/p" + QByteArray::number(number * 7 % pages));
        if (number < pictures.size()) {
            writeFile(bundle + u"/view.jpg"_s, pictures.at(number));
            text += "![A view](view.jpg)\n";
        }
        writeFile(bundle + u"/index.md"_s, text);
    }
    return site;
}

QList<QByteArray> photographs(int count)
{
    QList<QByteArray> files;
    const QImage photo = Photo::opaque(kPhotograph);
    for (int i = 0; i < count; ++i) {
        // Others of the same kind: the same picture from another edge.
        QImage shifted(photo.size(), photo.format());
        for (int y = 0; y < photo.height(); ++y)
            std::memcpy(shifted.scanLine(y), photo.constScanLine((y + i * 20) % photo.height()),
                        size_t(photo.bytesPerLine()));
        QByteArray bytes;
        QBuffer buffer(&bytes);
        require(buffer.open(QIODevice::WriteOnly) && shifted.save(&buffer, "JPEG", 88), "photograph");
        files.append(bytes);
    }
    return files;
}

Cost built(const QString &site, const QString &output, const QStringList &options = {})
{
    return run(QStringList{qf(), u"build"_s, site, u"-o"_s, output, u"--quiet"_s} + options);
}

void measureGrowth(const QString &folder)
{
    std::printf("Pages of 20 KB of prose\n");
    for (const int pages : {100, 1000, 4000}) {
        const QString site = makeSite(folder, pages, 20'000, {});
        const QString output = folder + u"/out"_s + QString::number(pages);
        usleep(50'000); // files that have just changed are not taken for settled
        const Cost first = built(site, output);
        Cost second;
        second.milliseconds = 1e9;
        for (int turn = 0; turn < 3; ++turn)
            second.milliseconds = std::min(second.milliseconds, built(site, output).milliseconds);
        require(QFileInfo(output + u"/p1/index.html"_s).size() > 15'000, "page");
        std::printf("  %5d pages: first %8.1f ms (%6.3f ms a page, peak %5.1f MB)   nothing changed %7.1f ms "
                    "(%5.1f times "
                    "faster)\n",
                    pages, first.milliseconds, first.milliseconds / pages, first.peakMegabytes,
                    second.milliseconds, first.milliseconds / second.milliseconds);
    }
}

void measurePictures(const QString &folder)
{
    constexpr int kPages = 100;
    constexpr int kPictures = 50;
    const QList<QByteArray> pictures = photographs(kPictures);
    const QString site = makeSite(folder + u"/with"_s, kPages, 6'000, pictures);
    const QString output = folder + u"/with/out"_s;
    const QString hugo = QStandardPaths::findExecutable(u"hugo"_s);
    const QString hugoSite = makeHugoSite(folder, kPages, 6'000, pictures);
    std::printf("%d pages of prose with %d pictures of %d x %d, shown %d wide, cold\n", kPages, kPictures,
                kPhotograph.width(), kPhotograph.height(), kShownWidth);
    Contest contest;
    contest.add("qf build", [&] {
        QDir(output).removeRecursively();
        return timed([&] { built(site, output); }, RUSAGE_CHILDREN);
    });
    if (!hugo.isEmpty())
        contest.add("hugo", [&] {
            QDir(hugoSite + u"/public"_s).removeRecursively();
            QDir(hugoSite + u"/resources"_s).removeRecursively();
            QDir(hugoSite + u"/cache"_s).removeRecursively();
            return timed(
                [&] {
                    run({hugo, u"--quiet"_s, u"--cacheDir"_s, hugoSite + u"/cache"_s}, hugoSite);
                },
                RUSAGE_CHILDREN);
        });
    contest.run(5);
    contest.print([](const std::string &) { return std::string(); });
    const QImage shown(output + u"/p3/index_files/image_1.jpg"_s);
    require(shown.width() == kShownWidth && shown.height() == 534, "picture");

    double changed = 1e9;
    double start = 1e9;
    for (int turn = 0; turn < 7; ++turn) {
        QFile page(site + u"/pages/p3.md"_s);
        require(page.open(QIODevice::Append), "page");
        page.write("One more line.\n");
        page.close();
        usleep(50'000);
        changed = std::min(changed, built(site, output).milliseconds);
        start = std::min(start, run({qf(), u"--version"_s}).milliseconds);
    }
    std::printf("  one page with a picture changed: %.1f ms, of which the start of a process takes %.1f ms\n",
                changed, start);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    QDir(folder.path()).mkpath(u"with"_s);
    measurePictures(folder.path());
    measureGrowth(folder.path());
    return 0;
}
