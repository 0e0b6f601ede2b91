#include "export/CVHTMLFileWrapper.h"
#include "tests/Files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class CVHTMLFileWrapperTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void replacesFilesAndLinksButNoFolders();
};

void CVHTMLFileWrapperTest::replacesFilesAndLinksButNoFolders()
{
    const QTemporaryDir folder;
    const auto write = [&folder](const QString &name, const QByteArray &bytes) {
        return CVHTMLFileWrapper::writeToFile(*NSFileWrapper::regularFileWithContents(bytes),
                                              folder.filePath(name));
    };
    const auto contents = [&folder](const QString &name) { return ::contents(folder.filePath(name)); };
    QVERIFY(write(u"file"_s, "long old contents"));
    QVERIFY(write(u"file"_s, "new"));
    QCOMPARE(contents(u"file"_s), QByteArray("new"));

    for (const QString &target : {u"file"_s, u"folder"_s, u"missing"_s}) {
        QDir(folder.path()).mkdir(u"folder"_s);
        QVERIFY(QFile::link(target, folder.filePath(u"link"_s)));
        QVERIFY(write(u"link/"_s, "instead"));
        QVERIFY(!QFileInfo(folder.filePath(u"link"_s)).isSymbolicLink());
        QCOMPARE(contents(u"link"_s), QByteArray("instead"));
        QVERIFY(QFile::remove(folder.filePath(u"link"_s)));
    }
    QCOMPARE(contents(u"file"_s), QByteArray("new"));
    QVERIFY(!QFileInfo::exists(folder.filePath(u"missing"_s)));

    QVERIFY(!write(u"folder"_s, "x"));
    QVERIFY(!write(u"missing/x"_s, "x"));
    QVERIFY(!CVHTMLFileWrapper::writeToFile(*NSFileWrapper::regularFileWithContents("x"), QString()));
    QVERIFY(QFileInfo(folder.filePath(u"folder"_s)).isDir());
}

QTEST_APPLESS_MAIN(CVHTMLFileWrapperTest)
#include "CVHTMLFileWrapperTest.moc"
