#include "plugin/QFExportParams.h"

#include <QTest>

using namespace Qt::StringLiterals;

class QFExportParamsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void looksUpByKey();
    void tellsModes_data();
    void tellsModes();
    void readsBooleansOnly_data();
    void readsBooleansOnly();
};

void QFExportParamsTest::looksUpByKey()
{
    const QVariantMap map{{u"mode"_s, u"a"_s},
                          {u"name"_s, u"b"_s},
                          {u"FilenameExt"_s, u"c"_s},
                          {u"title"_s, u"d"_s},
                          {u"path"_s, u"e"_s},
                          {u"location"_s, u"f"_s},
                          {u"filesfoldername"_s, u"g"_s},
                          {u"imagesfoldername"_s, u"h"_s},
                          {u"assetsfoldername"_s, u"i"_s},
                          {u"attributes"_s, 1},
                          {u"index"_s, u"j"_s},
                          {u"themecommonpath"_s, u"k"_s},
                          {u"plugincommonpath"_s, u"l"_s},
                          {u"base"_s, u"m"_s}};
    const QFExportParams params(map);
    QCOMPARE(params.exportMode() + params.exportFilename() + params.exportFilenameExtension() +
                 params.exportPageTitle() + params.exportPagePath() + params.exportPageLocation() +
                 params.exportFilesFolderName() + params.exportImagesFolderName() +
                 params.exportAssetsFolderName() + params.exportSiteIndexFilename() +
                 params.exportPathToCommonThemeFiles() + params.exportPathToCommonPluginFiles() +
                 params.exportSiteBaseURL(),
             u"abcdefghijklm"_s);
    QCOMPARE(params.exportPageAttributes(), 1);
    const QVariantMap wrong{{u"title"_s, 3}};
    QVERIFY(QFExportParams(wrong).exportPageTitle().isNull());
}

void QFExportParamsTest::tellsModes_data()
{
    QTest::addColumn<QVariant>("mode");
    QTest::addColumn<int>("which"); // bits: preview, export, publish
    QTest::newRow("preview") << QVariant(u"preview"_s) << 1;
    QTest::newRow("export") << QVariant(u"export"_s) << 2;
    QTest::newRow("publish") << QVariant(u"publish"_s) << 4;
    QTest::newRow("capitalised") << QVariant(u"Preview"_s) << 0;
    QTest::newRow("missing") << QVariant() << 0;
    QTest::newRow("number") << QVariant(1) << 0;
}

void QFExportParamsTest::tellsModes()
{
    QFETCH(QVariant, mode);
    const QVariantMap map{{u"mode"_s, mode}};
    const QFExportParams params(map);
    const int which = (params.isPreviewExportMode() ? 1 : 0) + (params.isExportExportMode() ? 2 : 0) +
                      (params.isPublishExportMode() ? 4 : 0);
    QTEST(which, "which");
}

void QFExportParamsTest::readsBooleansOnly_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("truth");
    QTest::newRow("true") << QVariant(true) << true;
    QTest::newRow("text of a number") << QVariant(u"1"_s) << true;
    QTest::newRow("text that denies") << QVariant(u"NO"_s) << false;
    QTest::newRow("missing") << QVariant() << false;
    QTest::newRow("list") << QVariant(QVariantList{true}) << false;
}

void QFExportParamsTest::readsBooleansOnly()
{
    QFETCH(QVariant, value);
    QFETCH(bool, truth);
    for (const QString &key :
         {u"commonpathsrelative"_s, u"commonpathsabsolute"_s, u"contentonlysubpages"_s, u"subpage"_s}) {
        const QVariantMap map{{key, value}};
        const QFExportParams params(map);
        QCOMPARE(params.exportCommonPathsAreRelatve(), truth && key == u"commonpathsrelative");
        QCOMPARE(params.exportCommonPathsAreAbsolute(), truth && key == u"commonpathsabsolute");
        QCOMPARE(params.contentOnlySubpagesEnabled(), truth && key == u"contentonlysubpages");
        QCOMPARE(params.emitContentForSubpage(), truth && key == u"subpage");
    }
}

QTEST_APPLESS_MAIN(QFExportParamsTest)
#include "QFExportParamsTest.moc"
