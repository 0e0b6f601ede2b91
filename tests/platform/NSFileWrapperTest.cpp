#include "platform/NSFileWrapper.h"
#include "tests/Files.h"
#include "tests/Rows.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

class NSFileWrapperTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { _folder = std::make_unique<QTemporaryDir>(); }
    void cleanup() { _folder.reset(); }

    void keepsATree_data();
    void keepsATree();
    void readsOnlyWhatItMay();
    void keepsChildrenInside_data();
    void keepsChildrenInside();
    void namesChildren();
    void refusesPlacesThatAreTaken();
    void saysWhenTheDiskIsFull_data();
    void saysWhenTheDiskIsFull();
    void boundsDepth();

private:
    [[nodiscard]] QString path(const QString &name) const { return _folder->filePath(name); }
    [[nodiscard]] QStringList names() const
    {
        return QDir(_folder->path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> _folder;
};

namespace {

NSFileWrapperPtr file(const QByteArray &bytes)
{
    return NSFileWrapper::regularFileWithContents(bytes);
}

NSFileWrapperPtr link(const QString &destination)
{
    return NSFileWrapper::symbolicLinkWithDestination(destination);
}

} // namespace

void NSFileWrapperTest::keepsATree_data()
{
    const Rows<bool> row({"atomically"});
    row("straight", false);
    row("atomically", true);
}

void NSFileWrapperTest::keepsATree()
{
    QFETCH(bool, atomically);
    const auto large = file(QByteArray(200'000, 'x'));
    large->setFileAttributes({06755, QDateTime::fromMSecsSinceEpoch(1'234'567, Qt::UTC)});
    const auto folder = NSFileWrapper::directoryWithNamedFileWrappers(
        {{u"\u00E9 large"_s, large},
         {u"empty"_s, file("")},
         {u"dangling"_s, link(u"../nowhere"_s)},
         {u"sub"_s, NSFileWrapper::directoryWithNamedFileWrappers({{u"in/../deep"_s, file("deep")}})}});
    folder->setFileAttributes({0555, {}});
    QVERIFY(folder->writeToPath(path(u"tree//"_s), atomically));
    QCOMPARE(names(), QStringList{u"tree"_s});

    const NSFileWrapperPtr back = NSFileWrapper::wrapperWithPath(path(u"tree/"_s));
    QFile::setPermissions(path(u"tree"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QVERIFY(back);
    QCOMPARE(back->filename(), u"tree"_s);
    QCOMPARE(back->fileAttributes().posixPermissions, 0555U);
    QCOMPARE(back->fileWrappers().keys(), folder->fileWrappers().keys());
    const auto largeBack = back->fileWrappers()[u"\u00E9 large"_s];
    QCOMPARE(largeBack->regularFileContents(), large->regularFileContents());
    QCOMPARE(largeBack->preferredFilename(), u"\u00E9 large"_s);
    QCOMPARE(largeBack->fileAttributes().posixPermissions, 0755U);
    QCOMPARE(largeBack->fileAttributes().modificationDate, large->fileAttributes().modificationDate);
    QVERIFY(!back->fileWrappers()[u"empty"_s]->regularFileContents().isNull());
    QCOMPARE(back->fileWrappers()[u"dangling"_s]->symbolicLinkDestination(), u"../nowhere"_s);
    QCOMPARE(contents(path(u"tree/sub/deep"_s)), QByteArray("deep"));
}

void NSFileWrapperTest::readsOnlyWhatItMay()
{
    QVERIFY(file("0123456789")->writeToPath(path(u"ten"_s), false));
    QVERIFY(link(u"ten"_s)->writeToPath(path(u"link"_s), true));
    QVERIFY(NSFileWrapper::wrapperWithPath(path(u"ten"_s), 10));
    QVERIFY(!NSFileWrapper::wrapperWithPath(path(u"ten"_s), 9));
    QVERIFY(!NSFileWrapper::wrapperWithPath(_folder->path(), 500));
    QVERIFY(NSFileWrapper::wrapperWithPath(path(u"link"_s))->isSymbolicLink());
    QVERIFY(NSFileWrapper::wrapperWithPath(_folder->path()));
    // A pipe does not hang the reader, and a folder with one in it is not read by halves.
    QCOMPARE(::mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
    QVERIFY(!NSFileWrapper::wrapperWithPath(path(u"pipe"_s)));
    QVERIFY(!NSFileWrapper::wrapperWithPath(_folder->path()));
    for (const QString &nothing :
         {QString(), u"/dev/null"_s, path(u"missing"_s), path(u"ten"_s) + QChar(u'\0')})
        QVERIFY(!NSFileWrapper::wrapperWithPath(nothing));
}

void NSFileWrapperTest::keepsChildrenInside_data()
{
    const Rows<QString, QString> row({"name", "written"});
    row("upwards", u"../../out"_s, u"out"_s);
    row("from the root", u"/nowhere/out"_s, u"out"_s);
    row("parent", u"a/.."_s, {});
    row("itself", u"."_s, {});
    row("root", u"/"_s, {});
    row("empty", u""_s, {});
    row("NUL", u"a\0b"_s, {});
}

void NSFileWrapperTest::keepsChildrenInside()
{
    QFETCH(QString, name);
    QFETCH(QString, written);
    const auto folder = NSFileWrapper::directoryWithNamedFileWrappers({{name, file("x")}});
    QCOMPARE(folder->writeToPath(path(u"a"_s), true), !written.isNull());
    QCOMPARE(names(), written.isNull() ? QStringList() : QStringList{u"a"_s});
    if (!written.isNull())
        QCOMPARE(contents(path(u"a/"_s + written)), QByteArray("x"));
}

void NSFileWrapperTest::namesChildren()
{
    QList<NSFileWrapperPtr> children{nullptr};
    for (int i = 0; i < 3; ++i) {
        children.append(file("x"));
        children.last()->setPreferredFilename(u"same"_s);
    }
    const auto folder = NSFileWrapper::directoryWithFileWrappers(children);
    QCOMPARE(folder->fileWrappers().size(), 3);
    QVERIFY(folder->fileWrappers().contains(u"same"_s));
    QVERIFY(folder->writeToPath(path(u"a"_s), false));
    // Two names that are one on disk: never one file over the other.
    const auto twice =
        NSFileWrapper::directoryWithNamedFileWrappers({{u"x"_s, file("1")}, {u"y/x"_s, link(u"a"_s)}});
    QVERIFY(!twice->writeToPath(path(u"b"_s), true));
    QCOMPARE(names(), QStringList{u"a"_s});
}

void NSFileWrapperTest::refusesPlacesThatAreTaken()
{
    QVERIFY(file("old")->writeToPath(path(u"file"_s), false));
    QVERIFY(QDir().mkdir(path(u"folder"_s)));
    QVERIFY(link(u"file"_s)->writeToPath(path(u"link"_s), false));
    QVERIFY(link(u"target"_s)->writeToPath(path(u"dangling"_s), false));
    const QStringList before = names();
    for (const QString &place : {u"file"_s, u"folder"_s, u"folder/"_s, u"link"_s, u"dangling"_s,
                                 u"file/below"_s, u"missing/below"_s, u""_s}) {
        for (const bool atomically : {false, true}) {
            for (const auto &wrapper :
                 {file("new"), link(u"new"_s), NSFileWrapper::directoryWithFileWrappers({file("x")})})
                QVERIFY2(!wrapper->writeToPath(place.isEmpty() ? place : path(place), atomically),
                         qPrintable(place));
        }
    }
    QCOMPARE(names(), before);
    QCOMPARE(contents(path(u"file"_s)), QByteArray("old"));
}

void NSFileWrapperTest::saysWhenTheDiskIsFull_data()
{
    keepsATree_data();
}

/// The limit on a file's size makes writing fail half-way, as a full disk does.
void NSFileWrapperTest::saysWhenTheDiskIsFull()
{
    QFETCH(bool, atomically);
    rlimit before{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{5'000, before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = NSFileWrapper::directoryWithNamedFileWrappers(
                             {{u"first"_s, file("x")}, {u"second"_s, file(QByteArray(10'000, 'x'))}})
                             ->writeToPath(path(u"a"_s), atomically);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    QVERIFY(!written);
    QCOMPARE(names().isEmpty(), atomically);
}

void NSFileWrapperTest::boundsDepth()
{
    NSFileWrapperPtr wrapper = NSFileWrapper::directoryWithFileWrappers(QList<NSFileWrapperPtr>());
    for (int i = 0; i < 64; ++i)
        wrapper = NSFileWrapper::directoryWithNamedFileWrappers({{u"d"_s, wrapper}});
    QVERIFY(wrapper->writeToPath(path(u"a"_s), true));
    QVERIFY(NSFileWrapper::wrapperWithPath(path(u"a"_s)));
    QVERIFY(!NSFileWrapper::wrapperWithPath(_folder->path()));
    QVERIFY(
        !NSFileWrapper::directoryWithNamedFileWrappers({{u"d"_s, wrapper}})->writeToPath(path(u"b"_s), true));
    QCOMPARE(names(), QStringList{u"a"_s});
}

QTEST_APPLESS_MAIN(NSFileWrapperTest)
#include "NSFileWrapperTest.moc"
