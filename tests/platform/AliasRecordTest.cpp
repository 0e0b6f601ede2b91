#include "platform/AliasRecord.h"
#include "platform/FileIdentity.h"
#include "tests/Files.h"
#include "tests/Rows.h"

#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class AliasRecordTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsWhatHasMoved_data();
    void findsWhatHasMoved();
    void looksAsFarAsHome();
    void staysWithinItsLimits();
    void takesNoOtherBytes();
    void provesIdentity_data();
    void provesIdentity();
};

namespace {

const QString kPicture = u"site/a/pic.jpg"_s;

/// A temporary folder in which small commands are done: "mv a b", "rm a", "write a", "cp a b" (with its
/// date), "ln target link", "hard a b", several with "; " between. Folders on the way to a new file are made.
class Place
{
public:
    [[nodiscard]] QString at(const QString &path) const { return _folder.filePath(path); }

    [[nodiscard]] bool run(const QString &commands) const
    {
        const QStringList all = commands.split(u"; "_s, Qt::SkipEmptyParts);
        return std::ranges::all_of(all, [this](const QString &command) { return runOne(command); });
    }

private:
    [[nodiscard]] bool runOne(const QString &command) const
    {
        const QStringList words = command.split(u' ');
        const QString first = at(words[1]);
        const QString last = at(words.last());
        QDir().mkpath(QFileInfo(last).path());
        const QByteArray from = QFile::encodeName(first);
        const QByteArray to = QFile::encodeName(last);
        if (words[0] == u"mv")
            return ::rename(from.constData(), to.constData()) == 0;
        if (words[0] == u"ln")
            return ::symlink(from.constData(), to.constData()) == 0;
        if (words[0] == u"hard")
            return ::link(from.constData(), to.constData()) == 0;
        if (words[0] == u"rm")
            return QFile::remove(first);
        if (words[0] == u"cp")
            return copy(first, last);
        return words[0] == u"write" && ::write(first, "12345");
    }
    static bool copy(const QString &from, const QString &to)
    {
        struct stat status = {};
        if (!QFile::copy(from, to) || ::stat(QFile::encodeName(from).constData(), &status) != 0)
            return false;
        const timespec times[] = {status.st_atim, status.st_mtim};
        return ::utimensat(AT_FDCWD, QFile::encodeName(to).constData(), times, 0) == 0;
    }

    QTemporaryDir _folder;
};

FileIdentity identity(quint64 device, const QByteArray &handle, std::optional<qint64> birthTime,
                      FileIdentity::Kind kind = FileIdentity::Kind::File)
{
    FileIdentity identity;
    identity.device = device;
    identity.inode = 2;
    identity.handle = handle;
    identity.birthTime = birthTime;
    identity.kind = kind;
    return identity;
}

} // namespace

void AliasRecordTest::findsWhatHasMoved_data()
{
    addRows({"commands", "found", "target", "base"}, uR"(
untouched                        | | site/a/pic.jpg
renamed                          | mv site/a/pic.jpg site/a/ü:.jpg | site/a/ü:.jpg
moved to another folder          | mv site/a/pic.jpg site/b/c/pic.jpg | site/b/c/pic.jpg
its folder renamed               | mv site/a site/z | site/z/pic.jpg
the site moved                   | mv site far/new | far/new/a/pic.jpg | | far/new
moved, and the site too          | mv site/a site/z; mv site new | new/z/pic.jpg | | new
moved, another one in its place  | mv site/a/pic.jpg site/b/x.jpg; write site/a/pic.jpg | site/b/x.jpg
deleted                          | rm site/a/pic.jpg
deleted, another one in its place | rm site/a/pic.jpg; write site/a/pic.jpg
deleted, its inode given to another | rm site/a/pic.jpg; write site/a/other.jpg
a copy is left                   | cp site/a/pic.jpg site/b/pic.jpg; rm site/a/pic.jpg | site/b/pic.jpg
two copies are left              | cp site/a/pic.jpg site/b/pic.jpg; cp site/a/pic.jpg site/pic.jpg; rm site/a/pic.jpg
the site copied, its dates lost  | write copy/a/pic.jpg; rm site/a/pic.jpg | copy/a/pic.jpg | | copy
a folder in its place in the copied site | write copy/a/pic.jpg/x; rm site/a/pic.jpg | | | copy
the other one of two hard links  | hard site/a/pic.jpg site/h; rm site/a/pic.jpg | site/h
behind a link                    | mv site/a/pic.jpg far/pic.jpg; ln far site/near
in the trash                     | mv site/a/pic.jpg site/data/Trash/files/pic.jpg
in a disk's trash                | mv site/a/pic.jpg site/.Trash-1000/files/pic.jpg
a folder                         | mv site/a site/b/c | site/b/c | site/a/
a link                           | mv site/link site/b/l | site/b/l | site/link
a link that leads nowhere now    | rm site/target | | site/link
outside of the base, moved into it | mv out/x.jpg site/x.jpg | site/x.jpg | out/x.jpg
outside of the base, both moved  | mv site new/site; mv out new/out | new/out/x.jpg | out/x.jpg | new/site
)"_s);
}

void AliasRecordTest::findsWhatHasMoved()
{
    QFETCH(QString, commands);
    QFETCH(QString, found);
    QFETCH(QString, target);
    QFETCH(QString, base);
    const Place place;
    qputenv("XDG_DATA_HOME", place.at(u"site/data"_s).toUtf8());
    QVERIFY(
        place.run(u"write site/a/pic.jpg; write site/target; write out/x.jpg; ln site/target site/link"_s));
    const auto made =
        AliasRecord::ofFile(place.at(target.isEmpty() ? kPicture : target), place.at(u"site"_s));
    QVERIFY(made);
    const auto record = AliasRecord::fromBytes(made->toBytes());
    QVERIFY(record && place.run(commands));
    const QString now = record->resolve(place.at(base.isEmpty() ? u"site"_s : base));
    QCOMPARE(now, found.isEmpty() ? QString() : place.at(found));
    QCOMPARE(now.isNull(), found.isEmpty());
}

void AliasRecordTest::looksAsFarAsHome()
{
    const Place place;
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(place.at(u"home"_s)));
    QVERIFY(place.run(u"write home/a/x; write out/a/x"_s));
    QVERIFY(QDir::setCurrent(place.at(u"home/a"_s)));
    const auto inside = AliasRecord::ofFile(u"../a/x"_s, {});
    const auto outside = AliasRecord::ofFile(place.at(u"out/a/x"_s), {});
    QVERIFY(inside && outside && !AliasRecord::ofFile(u"none"_s, {}) && !AliasRecord::ofFile(u"x\0"_s, {}));
    QVERIFY(place.run(u"mv home/a/x home/b/y; mv out/a/x out/b/y"_s));
    QCOMPARE(inside->resolve({}), place.at(u"home/b/y"_s));
    QVERIFY(outside->resolve({}).isNull());
    QVERIFY(QDir::setCurrent(u"/"_s));
    qputenv("HOME", home);
}

void AliasRecordTest::staysWithinItsLimits()
{
    const Place place;
    QVERIFY(place.run(u"write site/pic.jpg"_s));
    const auto record = AliasRecord::ofFile(place.at(u"site/pic.jpg"_s), place.at(u"site"_s));
    for (int i = 0; i < 300; ++i)
        QVERIFY(place.run(u"write site/file%1"_s.arg(i)));
    QVERIFY(place.run(u"mv site/pic.jpg site/folder/pic.jpg"_s));
    QVERIFY(record->resolve(place.at(u"site"_s), {.entries = 300}).isNull());
    QVERIFY(record->resolve(place.at(u"site"_s), {.time = std::chrono::milliseconds(0)}).isNull());
    QCOMPARE(record->resolve(place.at(u"site"_s)), place.at(u"site/folder/pic.jpg"_s));
}

void AliasRecordTest::takesNoOtherBytes()
{
    const Place place;
    QVERIFY(place.run(u"write site/a/pic.jpg"_s));
    const QString path = place.at(kPicture);
    const QByteArray bytes = AliasRecord::ofFile(path, place.at(u"site"_s))->toBytes();
    QCOMPARE(AliasRecord::fromBytes(bytes)->toBytes(), bytes);
    QVERIFY(!AliasRecord::fromBytes(bytes + '\0'));
    for (qsizetype size = 0; size < bytes.size(); ++size)
        QVERIFY(!AliasRecord::fromBytes(bytes.first(size)));
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        for (const char flip : {'\1', '\x80', '\xff'}) {
            QByteArray damaged = bytes;
            damaged[i] = static_cast<char>(damaged[i] ^ flip);
            const auto record = AliasRecord::fromBytes(damaged);
            const QString found = record ? record->resolve(place.at(u"site"_s), {.entries = 50}) : QString();
            QVERIFY(found.isNull() || QFileInfo(found).canonicalFilePath() == path);
        }
    }
}

void AliasRecordTest::provesIdentity_data()
{
    const Rows<FileIdentity, FileIdentity::Agreement> row({"other", "expected"});
    using enum FileIdentity::Agreement;
    row("a disk numbered anew", identity(9, "h", 3), Same);
    row("another handle", identity(1, "i", 3), Different);
    row("one handle, born later", identity(1, "h", 4), Different);
    row("another kind", identity(1, "h", 3, FileIdentity::Kind::Folder), Different);
    row("no handle", identity(1, "", 3), Same);
    row("no handle, born later", identity(1, "", 4), Different);
    row("no handle, another disk", identity(9, "", 3), Different);
    row("no proof", identity(1, "", {}), Unknown);
}

void AliasRecordTest::provesIdentity()
{
    QFETCH(FileIdentity, other);
    const FileIdentity one = identity(1, "h", 3);
    QTEST(one.agreementWith(other), "expected");
    QTEST(other.agreementWith(one), "expected");
}

QTEST_GUILESS_MAIN(AliasRecordTest)
#include "AliasRecordTest.moc"
