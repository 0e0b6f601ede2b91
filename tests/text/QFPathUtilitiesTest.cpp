#include "text/QFPathUtilities.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class QFPathUtilitiesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resolvesNothing();
    void findsFilesAgain();
    void refersToWhatExists();
};

void QFPathUtilitiesTest::resolvesNothing()
{
    const QTemporaryDir folder;
    const QString link = folder.filePath(u"link"_s);
    QVERIFY(QFile::link(folder.path(), link));
    for (const QString &path : {link, u"/a//b/"_s, u"relative"_s, u""_s}) {
        QCOMPARE(QFPathUtilities::resolveAlias(path), path);
        QCOMPARE(QFPathUtilities::resolveAliases(path), path);
        QVERIFY(QFPathUtilities::resolveAliasRelativeTo(path.toUtf8(), folder.path(), true).isNull());
    }
}

void QFPathUtilitiesTest::findsFilesAgain()
{
    const QTemporaryDir folder;
    QVERIFY(QFPathUtilities::aliasForPathRelativeTo(folder.filePath(u"x"_s), folder.path()).isNull());
    QVERIFY(QFPathUtilities::aliasForPathRelativeTo({}, {}).isNull());
    QVERIFY(QDir(folder.path()).mkdir(u"x"_s));
    const QByteArray alias = QFPathUtilities::aliasForPathRelativeTo(folder.filePath(u"x"_s), {});
    QCOMPARE(QFPathUtilities::resolveAliasRelativeTo(alias, {}, true), folder.filePath(u"x"_s));
    QVERIFY(QDir(folder.path()).rename(u"x"_s, u"y"_s));
    QCOMPARE(QFPathUtilities::resolveAliasRelativeTo(alias, folder.path(), false), folder.filePath(u"y"_s));
    QVERIFY(QDir(folder.path()).rmdir(u"y"_s));
    QVERIFY(QFPathUtilities::resolveAliasRelativeTo(alias, folder.path(), true).isNull());
}

void QFPathUtilitiesTest::refersToWhatExists()
{
    const QTemporaryDir folder;
    QString reference = u"untouched"_s;
    for (const QString &missing : {folder.filePath(u"none"_s), u"/tmp\0x"_s, u":/"_s})
        QCOMPARE(QFPathUtilities::pathToFSRef(missing, &reference), -43);
    QCOMPARE(QFPathUtilities::pathToFSSpec({}, &reference), -50);
    QCOMPARE(reference, u"untouched"_s);
    QVERIFY(QDir::setCurrent(folder.path()) && QDir().mkdir(u":odd"_s));
    QCOMPARE(QFPathUtilities::pathToFSRef(u":odd"_s, &reference), 0);
    QCOMPARE(reference, folder.path() + u"/:odd"_s);
    QCOMPARE(QFPathUtilities::pathToFSSpec(folder.path(), nullptr), 0);
}

QTEST_APPLESS_MAIN(QFPathUtilitiesTest)
#include "QFPathUtilitiesTest.moc"
