#include "platform/AliasRecord.h"
#include "platform/FileIdentity.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

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
/// date), "ln target link", "hard a b". Folders on the way to a new file are made.
class Place
{
public:
    [[nodiscard]] QString at(const QString &path) const { return _folder.filePath(path); }

    [[nodiscard]] bool run(const QString &command) const
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
        QFile file(first);
        return words[0] == u"write" && file.open(QIODevice::WriteOnly) && file.write("12345") == 5;
    }

private:
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
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<QString>("expected"); // nil where nothing is found
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("base");
    const auto row = [](const char *name, const QStringList &commands, const QString &expected,
                        const QString &target = kPicture, const QString &base = u"site"_s) {
        QTest::newRow(name) << commands << expected << target << base;
    };
    const QString nil;
    row("untouched", {}, kPicture);
    row("renamed", {u"mv site/a/pic.jpg site/a/ü:.jpg"_s}, u"site/a/ü:.jpg"_s);
    row("moved to another folder", {u"mv site/a/pic.jpg site/b/c/pic.jpg"_s}, u"site/b/c/pic.jpg"_s);
    row("its folder renamed", {u"mv site/a site/z"_s}, u"site/z/pic.jpg"_s);
    row("the site moved", {u"mv site far/new"_s}, u"far/new/a/pic.jpg"_s, kPicture, u"far/new"_s);
    row("moved, and the site too", {u"mv site/a site/z"_s, u"mv site new"_s}, u"new/z/pic.jpg"_s, kPicture,
        u"new"_s);
    row("moved, another one in its place", {u"mv site/a/pic.jpg site/b/x.jpg"_s, u"write site/a/pic.jpg"_s},
        u"site/b/x.jpg"_s);
    row("deleted", {u"rm site/a/pic.jpg"_s}, nil);
    row("deleted, another one in its place", {u"rm site/a/pic.jpg"_s, u"write site/a/pic.jpg"_s}, nil);
    row("deleted, its inode given to another", {u"rm site/a/pic.jpg"_s, u"write site/a/other.jpg"_s}, nil);
    row("a copy is left", {u"cp site/a/pic.jpg site/b/pic.jpg"_s, u"rm site/a/pic.jpg"_s},
        u"site/b/pic.jpg"_s);
    row("two copies are left",
        {u"cp site/a/pic.jpg site/b/pic.jpg"_s, u"cp site/a/pic.jpg site/pic.jpg"_s, u"rm site/a/pic.jpg"_s},
        nil);
    row("the site copied, its dates lost", {u"write copy/a/pic.jpg"_s, u"rm site/a/pic.jpg"_s},
        u"copy/a/pic.jpg"_s, kPicture, u"copy"_s);
    row("a folder in its place in the copied site", {u"write copy/a/pic.jpg/x"_s, u"rm site/a/pic.jpg"_s},
        nil, kPicture, u"copy"_s);
    row("the other one of two hard links", {u"hard site/a/pic.jpg site/h"_s, u"rm site/a/pic.jpg"_s},
        u"site/h"_s);
    row("behind a link", {u"mv site/a/pic.jpg far/pic.jpg"_s, u"ln far site/near"_s}, nil);
    row("in the trash", {u"mv site/a/pic.jpg site/data/Trash/files/pic.jpg"_s}, nil);
    row("in a disk's trash", {u"mv site/a/pic.jpg site/.Trash-1000/files/pic.jpg"_s}, nil);
    row("a folder", {u"mv site/a site/b/c"_s}, u"site/b/c"_s, u"site/a/"_s);
    row("a link", {u"mv site/link site/b/l"_s}, u"site/b/l"_s, u"site/link"_s);
    row("a link that leads nowhere now", {u"rm site/target"_s}, nil, u"site/link"_s);
    row("outside of the base, moved into it", {u"mv out/x.jpg site/x.jpg"_s}, u"site/x.jpg"_s,
        u"out/x.jpg"_s);
    row("outside of the base, both moved", {u"mv site new/site"_s, u"mv out new/out"_s}, u"new/out/x.jpg"_s,
        u"out/x.jpg"_s, u"new/site"_s);
}

void AliasRecordTest::findsWhatHasMoved()
{
    QFETCH(QStringList, commands);
    QFETCH(QString, expected);
    QFETCH(QString, target);
    QFETCH(QString, base);
    const Place place;
    qputenv("XDG_DATA_HOME", place.at(u"site/data"_s).toUtf8());
    for (const QString &file : {u"write site/a/pic.jpg"_s, u"write site/target"_s, u"write out/x.jpg"_s,
                                u"ln site/target site/link"_s})
        QVERIFY(place.run(file));

    const auto made = AliasRecord::ofFile(place.at(target), place.at(u"site"_s));
    QVERIFY(made);
    const auto record = AliasRecord::fromBytes(made->toBytes());
    QVERIFY(record);
    for (const QString &command : commands)
        QVERIFY2(place.run(command), qPrintable(command));
    const QString found = record->resolve(place.at(base));
    QCOMPARE(found, expected.isNull() ? QString() : place.at(expected));
    QCOMPARE(found.isNull(), expected.isNull());
}

void AliasRecordTest::looksAsFarAsHome()
{
    const Place place;
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(place.at(u"home"_s)));
    QVERIFY(place.run(u"write home/a/x"_s) && place.run(u"write out/a/x"_s));
    QVERIFY(QDir::setCurrent(place.at(u"home/a"_s)));
    const auto inside = AliasRecord::ofFile(u"../a/x"_s, {});
    const auto outside = AliasRecord::ofFile(place.at(u"out/a/x"_s), {});
    QVERIFY(inside && outside && !AliasRecord::ofFile(u"none"_s, {}) && !AliasRecord::ofFile(u"x\0"_s, {}));
    QVERIFY(place.run(u"mv home/a/x home/b/y"_s) && place.run(u"mv out/a/x out/b/y"_s));
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
    QTest::addColumn<FileIdentity>("other");
    QTest::addColumn<int>("expected");
    const auto row = [&](const char *name, const FileIdentity &other, FileIdentity::Agreement expected) {
        QTest::newRow(name) << other << static_cast<int>(expected);
    };
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
    QTEST(static_cast<int>(one.agreementWith(other)), "expected");
    QTEST(static_cast<int>(other.agreementWith(one)), "expected");
}

QTEST_GUILESS_MAIN(AliasRecordTest)
#include "AliasRecordTest.moc"
