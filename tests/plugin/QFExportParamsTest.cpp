#include "plugin/QFExportParams.h"
#include "tests/Rows.h"

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
    QVariantMap map{{u"attributes"_s, 1}};
    char16_t value = u'a';
    for (const QString &key : {u"mode"_s, u"name"_s, u"FilenameExt"_s, u"title"_s, u"path"_s, u"location"_s,
                               u"filesfoldername"_s, u"imagesfoldername"_s, u"assetsfoldername"_s, u"index"_s,
                               u"themecommonpath"_s, u"plugincommonpath"_s, u"base"_s})
        map.insert(key, QString(QChar(value++)));
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
    const Rows<QVariant, int> row({"mode", "which"}); // bits of which: preview, export, publish
    row("preview", u"preview"_s, 1);
    row("export", u"export"_s, 2);
    row("publish", u"publish"_s, 4);
    row("capitalised", u"Preview"_s, 0);
    row("missing", {}, 0);
    row("number", 1, 0);
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
    const Rows<QVariant, bool> row({"value", "truth"});
    row("true", true, true);
    row("text of a number", u"1"_s, true);
    row("text that denies", u"NO"_s, false);
    row("missing", {}, false);
    row("list", QVariantList{true}, false);
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
