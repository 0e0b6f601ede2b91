#include "tests/Files.h"
#include "tests/plugin/SamplePlugin.h"

#include "platform/Formatting.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class QFPluginFoldersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        _folder = std::make_unique<QTemporaryDir>(u"/tmp/qf-XXXXXX"_s);
        useTemp(_folder->path());
        _process = _folder->path() + u"/Quillfern/"_s + QString::number(QCoreApplication::applicationPid());
    }
    void makesEachLevelWhenAsked();
    void joinsNamesAsTheyAre();
    void makesTheTemporaryFolder();
    void refusesLongTemporaryPaths();
    void leavesWhatIsInTheWay();
    void refusesForeignLinks();
    void listsFolders();

private:
    static void useTemp(const QString &folder) { qputenv("TMPDIR", QFile::encodeName(folder)); }
    static void expectNotMade(const QString &path)
    {
        QTest::ignoreMessage(
            QtWarningMsg,
            QRegularExpression(u"^-\\[QFAbstractPlugin _createFolder\\]: Failed to create directory "_s +
                               QRegularExpression::escape(path) + u'$'));
    }

    std::unique_ptr<QTemporaryDir> _folder;
    QString _process;
    SampleKind _kind{u"Notes"_s};
};

void QFPluginFoldersTest::makesEachLevelWhenAsked()
{
    QObject window;
    SamplePlugin a(_kind);
    SamplePlugin b(_kind);
    a.setUniqueID(u"a"_s);
    b.setUniqueID(u"b"_s);
    a.setDocumentWindow(&window);
    b.setDocumentWindow(&window);
    const QString document = _process + formatted(u"/document-%d", {reinterpret_cast<qintptr>(&window)});
    const QString thumbs = a.tempFilesDirectory(u"thumbs"_s);
    QCOMPARE(thumbs, document + u"/a/thumbs"_s);
    QCOMPARE(b.tempFilesDirectory(u"thumbs"_s), document + u"/b/thumbs"_s);
    QVERIFY(QFileInfo(thumbs).isDir() && QFileInfo(document + u"/b/thumbs"_s).isDir());
    QVERIFY(QDir(thumbs).removeRecursively());
    QVERIFY2(QFileInfo(a.tempFilesDirectory(u"thumbs"_s)).isDir(), "made again after somebody removed it");
    QCOMPARE(_kind.tempFilesDirectoryForUniqueID(u"x"_s, u"a"_s), _process + u"/a/x"_s);
    QVERIFY(QFileInfo(_process + u"/a/x"_s).isDir());
}

void QFPluginFoldersTest::joinsNamesAsTheyAre()
{
    SamplePlugin plugin(_kind); // neither ID nor window
    const QString instance = _process + u"/document-0/(null)"_s;
    QCOMPARE(plugin.tempFilesDirectory(u"x"_s), instance + u"/x"_s);
    QCOMPARE(_kind.tempFilesDirectoryForPlugin({}, nullptr), instance + u"/(null)"_s);
    expectNotMade(instance + u"/a/b"_s); // one level at a time
    QCOMPARE(plugin.tempFilesDirectory(u"a/b"_s), instance + u"/a/b"_s);
    const QString cut = u"cut\0off"_s;
    expectNotMade(instance + u'/' + cut);
    QCOMPARE(plugin.tempFilesDirectory(cut), instance + u'/' + cut);
    QVERIFY(!QFileInfo::exists(instance + u"/cut"_s));
}

void QFPluginFoldersTest::makesTheTemporaryFolder()
{
    useTemp(_folder->filePath(u"new"_s));
    QCOMPARE(_kind.qfTempFilesDirectory(), _folder->filePath(u"new/Quillfern"_s));
    useTemp(_folder->filePath(u"two/levels"_s));
    for (int i = 0; i < 2; ++i)
        QTest::ignoreMessage(QtWarningMsg, "FSFindFolder returned -43");
    QVERIFY(_kind.qfTempFilesDirectory().isNull() && _kind.appTempFilesDirectory().isNull());
}

void QFPluginFoldersTest::refusesLongTemporaryPaths()
{
    // Characters of two bytes each, up to the limit and one byte beyond.
    const qsizetype room = 127 - _folder->path().size() - 1;
    const QString name = QString(room / 2, u'é') + QString(room % 2, u'a');
    useTemp(_folder->filePath(name));
    QVERIFY(!_kind.qfTempFilesDirectory().isNull());
    useTemp(_folder->filePath(name + u'a'));
    for (int i = 0; i < 3; ++i)
        QTest::ignoreMessage(QtWarningMsg, "FSRefMakePath returned -2110");
    QVERIFY(_kind.qfTempFilesDirectory().isNull() && _kind.appTempFilesDirectory().isNull());
    // The other levels hang on nothing, and cannot be made.
    expectNotMade(u"(null)/a"_s);
    expectNotMade(u"(null)/a/x"_s);
    QCOMPARE(_kind.tempFilesDirectoryForUniqueID(u"x"_s, u"a"_s), u"(null)/a/x"_s);
}

void QFPluginFoldersTest::leavesWhatIsInTheWay()
{
    const QString path = _folder->filePath(u"file"_s);
    QVERIFY(write(path, "kept"));
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    _kind._createFolder(path);
    QCOMPARE(QFileInfo(path).size(), 4);
    // A link that points nowhere is nothing, yet no folder can take its place.
    const QString link = _folder->filePath(u"link"_s);
    QVERIFY(QFile::link(_folder->filePath(u"none"_s), link));
    expectNotMade(link);
    _kind._createFolder(link);
}

void QFPluginFoldersTest::refusesForeignLinks()
{
    const QString target = _folder->filePath(u"target"_s);
    const QString link = _folder->filePath(u"Quillfern"_s);
    QVERIFY(QDir().mkdir(target) && QFile::link(target, link));
    QCOMPARE(_kind.qfTempFilesDirectory(), link); // our own is fine
    constexpr uid_t somebody = 12345;
    if (::lchown(QFile::encodeName(link).constData(), somebody, somebody) != 0)
        QSKIP("needs to give a file away");
    expectNotMade(link);
    QVERIFY(_kind.appTempFilesDirectory().isNull());
    QVERIFY(QDir(target).isEmpty());
}

void QFPluginFoldersTest::listsFolders()
{
    QFAbstractPlugin plugin;
    const QString folder = _folder->path();
    QVERIFY(plugin.directoryContents(folder).isEmpty());
    QVERIFY(QDir(folder).mkdir(u"a"_s) && QFile::link(u"none"_s, folder + u"/link"_s));
    QVERIFY(write(folder + u"/.b"_s, ""));
    const QByteArray undecodable = QFile::encodeName(folder) + "/raw\xFF";
    QCOMPARE(::mkfifo(undecodable.constData(), 0600), 0);
    const auto removal = qScopeGuard([&] { ::unlink(undecodable.constData()); }); // Qt could not
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(u"^Skipped a file whose name is in another encoding: raw"_s));
    QStringList contents = plugin.directoryContents(folder + u'/');
    contents.sort();
    QCOMPARE(contents, (QStringList{folder + u"/.b"_s, folder + u"/a"_s, folder + u"/link"_s}));
    for (const QString &missing : {folder + u"/none"_s, QString(), folder + u"/.b"_s, u"/tmp\0x"_s})
        QVERIFY(plugin.directoryContents(missing).isEmpty());
}

QTEST_GUILESS_MAIN(QFPluginFoldersTest)
#include "QFPluginFoldersTest.moc"
