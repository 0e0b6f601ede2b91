#include "plugin/QFAbstractPlugin.h"

#include "export/CVHTML.h"
#include "tests/Rows.h"

using namespace Qt::StringLiterals;

// A theme that answers anything.
class LooseTheme : public QObject
{
    Q_OBJECT

public:
    QVariant files;
    Q_INVOKABLE QVariant colourTagFiles() const { return files; }
};

class QFPluginTemplateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addressesThemeFiles_data();
    void addressesThemeFiles();
    void limitsDepth();
    void writesHeadInOrder();
    void namesFilesByStyle_data();
    void namesFilesByStyle();
    void takesNothingFromOddParams();
    void replacesPlaceholders_data();
    void replacesPlaceholders();
    void isQuickForLargeThemes();
    void preparesExporters();
    void makesSubpageRecords();

private:
    /// The head of a page at that depth.
    QString head(const QVariantMap &params, qint64 depth = 2)
    {
        QString page = u"%plugin_page_style_sheets%"_s;
        return _plugin.updatePageTemplate(page, params, depth);
    }

    QFAbstractPlugin _plugin;
    LooseTheme _theme;
};

namespace {

QString sheet(const QString &address)
{
    return u"<link rel=\"stylesheet\" type=\"text/css\" href=\""_s + address + u"\" />"_s;
}

QString script(const QString &address)
{
    return u"<script type=\"text/javascript\" src=\""_s + address + u"\"></script>"_s;
}

const QString plainHead = sheet(u"../../styles.css"_s) + script(u"../../javascript.js"_s);

} // namespace

void QFPluginTemplateTest::addressesThemeFiles_data()
{
    const Rows<QString, QVariant, QString, int, QString> row(
        {"flags", "common", "file", "correction", "address"});
    const QString css = u"styles.css"_s;
    row("no flag ignores the common path", u""_s, u"theme"_s, css, 2, u"../../styles.css"_s);
    row("negative correction", u""_s, u"theme"_s, css, -2, css);
    row("absolute", u"a"_s, u"/css"_s, css, 2, u"/css/styles.css"_s);
    row("absolute with slash", u"a"_s, u"/css/"_s, css, 2, u"/css/styles.css"_s);
    row("absolute without common path", u"a"_s, {}, css, 2, u"/styles.css"_s);
    row("absolute wins", u"ar"_s, u"/css"_s, css, 2, u"/css/styles.css"_s);
    row("relative", u"r"_s, u"theme"_s, css, 2, u"../../theme/styles.css"_s);
    row("relative with slashes", u"r"_s, u"theme/"_s, u"/a/"_s, 1, u"../theme/a/"_s);
    row("relative without common path", u"r"_s, {}, css, 1, u"../styles.css"_s);
    row("relative to a server", u"r"_s, u"http://h.example//t/"_s, css, 0,
        u"http://h.example//t/styles.css"_s);
    row("common path of another type", u"r"_s, 5, css, 0, css);
}

void QFPluginTemplateTest::addressesThemeFiles()
{
    QFETCH(QString, flags);
    QFETCH(QVariant, common);
    QFETCH(QString, file);
    QFETCH(int, correction);
    const QVariantMap params{{u"themecommonpath"_s, common},
                             {u"commonpathsabsolute"_s, flags.contains(u'a')},
                             {u"commonpathsrelative"_s, flags.contains(u'r')}};
    QTEST(_plugin.pathToThemeFile(file, params, correction), "address");
}

void QFPluginTemplateTest::limitsDepth()
{
    QCOMPARE(_plugin.pathToThemeFile(u"a"_s, {}, 4096).size(), 3 * 4096 + 1);
    QTest::ignoreMessage(QtWarningMsg, "Depth of 2147483648 folders for the theme file a");
    QCOMPARE(_plugin.pathToThemeFile(u"a"_s, {}, qint64(1) << 31).size(), 3 * 4096 + 1);
}

void QFPluginTemplateTest::writesHeadInOrder()
{
    _theme.files = QStringList{u"tags.css"_s};
    const auto variation = [](const QString &type, const QStringList &files) {
        return QVariantMap{{u"Type"_s, type}, {u"Files"_s, files}};
    };
    const QVariantMap params{
        {u"theme"_s, QVariant::fromValue<QObject *>(&_theme)},
        {u"stylename"_s, u"Blue Sky"_s},
        {u"variations"_s, QVariantList{variation(u"Javascript"_s, {u"v.js"_s}),
                                       variation(u"Stylesheet"_s, {u"v.css"_s, u"w.css"_s}),
                                       variation(u"JavaScript"_s, {u"never.js"_s})}},
        {u"customcss"_s, u"p {}"_s},
        {u"customjavascript"_s, u"go()"_s},
        {u"customheader"_s, u"<meta>%PLUGIN_page_style_sheets%"_s}};
    // The theme's own two files count the depth, all others are one folder up however deep the page lies; and
    // a placeholder in what is filled in stays.
    QCOMPARE(head(params, 3),
             sheet(u"../../../styles.css"_s) + sheet(u"../tags-blue-sky.css"_s) + script(u"../v.js"_s) +
                 sheet(u"../v.css"_s) + sheet(u"../w.css"_s) +
                 u"<style type=\"text/css\" media=\"all\">p {}</style>"_s +
                 script(u"../../../javascript.js"_s) +
                 u"<script type=\"text/javascript\" language=\"JavaScript\">go()</script>"_s +
                 u"<meta>%PLUGIN_page_style_sheets%"_s);
}

void QFPluginTemplateTest::namesFilesByStyle_data()
{
    const Rows<QVariant, QVariant, QString, QString> row({"mode", "style", "file", "linked"});
    row("absent mode", {}, u"Dé"_s, u"a.b.css"_s, u"a.b-d00e9.css"_s);
    row("mode as text", u"0x"_s, u"D"_s, u"a"_s, u"a-d"_s);
    row("no style", 0, {}, u"a.css"_s, u"a-.css"_s);
    row("hidden file", 0, u"D"_s, u".css"_s, u".css-d"_s);
    row("other mode", 2, u"D"_s, u"a.css"_s, u"a.css"_s);
    row("other mode as text", u"1 "_s, u"D"_s, u"a.css"_s, u"a.css"_s);
}

void QFPluginTemplateTest::namesFilesByStyle()
{
    QFETCH(QVariant, mode);
    QFETCH(QVariant, style);
    QFETCH(QString, file);
    QFETCH(QString, linked);
    _theme.files = QVariantList{1, file, QVariantMap()};
    const QVariantMap params{{u"theme"_s, QVariant::fromValue<QObject *>(&_theme)},
                             {u"stylevariationmode"_s, mode},
                             {u"stylename"_s, style}};
    QCOMPARE(head(params),
             QString(plainHead).insert(plainHead.indexOf(u"<script"_s), sheet(u"../"_s + linked)));
}

void QFPluginTemplateTest::takesNothingFromOddParams()
{
    QObject silent;
    _theme.files = u"no list"_s;
    for (QObject *theme : {static_cast<QObject *>(&_theme), &silent, static_cast<QObject *>(nullptr)}) {
        QCOMPARE(head({{u"theme"_s, QVariant::fromValue(theme)},
                       {u"variations"_s, QVariantList{u"x"_s, QVariantMap{{u"Type"_s, u"Stylesheet"_s},
                                                                          {u"Files"_s, u"x"_s}}}},
                       {u"customcss"_s, u""_s},
                       {u"customjavascript"_s, 3},
                       {u"customheader"_s, QVariantMap()}}),
                 plainHead);
    }
    QCOMPARE(head({{u"theme"_s, u"x"_s}, {u"variations"_s, QVariantMap()}}), plainHead);
}

void QFPluginTemplateTest::replacesPlaceholders_data()
{
    const Rows<QString, QString> row({"page", "filled"});
    row("none", u"<p>%plugin_page%"_s, u"<p>%plugin_page%"_s);
    row("two", u"a%plugin_page_style_sheets%%PLUGIN_PAGE_Style_sheets%b"_s,
        u'a' + plainHead + plainHead + u'b');
    row("nil", {}, {});
}

void QFPluginTemplateTest::replacesPlaceholders()
{
    QFETCH(QString, page);
    const bool isNil = page.isNull();
    QString &answer = _plugin.updatePageTemplate(page, {}, 2);
    QCOMPARE(&answer, &page);
    QTEST(page, "filled");
    QCOMPARE(page.isNull(), isNil);
}

void QFPluginTemplateTest::isQuickForLargeThemes()
{
    QStringList files;
    for (int i = 0; i < 200000; ++i)
        files.append(QString::number(i) + u".css"_s);
    _theme.files = files;
    const QString large = head({{u"theme"_s, QVariant::fromValue<QObject *>(&_theme)}});
    QCOMPARE(large.count(u"<link"_s), 200001);
    QString page = u"%plugin_page_style_sheets% "_s.repeated(200000);
    QCOMPARE(_plugin.updatePageTemplate(page, {}, 0).count(u"<link"_s), 200000);
}

void QFPluginTemplateTest::preparesExporters()
{
    const auto exporter =
        _plugin.exporterWithParams({{u"filesfoldername"_s, u"f"_s}, {u"imagesfoldername"_s, u"i"_s}});
    QCOMPARE(exporter->filesFolderName(), u"f"_s);
    QCOMPARE(exporter->imagesFolderName(), u"i"_s);
    QCOMPARE(exporter->assetsFolderName(), CVHTML().assetsFolderName());
}

void QFPluginTemplateTest::makesSubpageRecords()
{
    const QString n = u"n"_s;
    const QVariantMap nameOnly{{u"name"_s, n}};
    const QByteArray bytes("x");
    const QVariantMap withData{{u"name"_s, n}, {u"contentdata"_s, bytes}};
    QCOMPARE(QFAbstractPlugin::contentOnlySubpageWithHTML({}, n), nameOnly);
    QCOMPARE(QFAbstractPlugin::contentOnlySubpageWithHTML(u""_s, n),
             (QVariantMap{{u"name"_s, n}, {u"substitutions"_s, QVariantMap{{u"content"_s, u""_s}}}}));
    QCOMPARE(QFAbstractPlugin::contentOnlySubpageWithEntireHTML({}, n), nameOnly);
    QCOMPARE(QFAbstractPlugin::contentOnlySubpageWithEntireHTML(u"<p>"_s, {}),
             (QVariantMap{{u"entirehtml"_s, u"<p>"_s}}));
    QCOMPARE(QFAbstractPlugin::contentOnlySubpageWithData({}, n), nameOnly);
    QCOMPARE(QFAbstractPlugin::contentOnlySubpageWithData(bytes, n), withData);
    QCOMPARE(QFAbstractPlugin::customSubpageWithData(bytes, n, {}), withData);
    QCOMPARE(QFAbstractPlugin::customSubpageWithData({}, {}, u"d"_s),
             (QVariantMap{{u"destination"_s, u"d"_s}}));
}

QTEST_APPLESS_MAIN(QFPluginTemplateTest)
#include "QFPluginTemplateTest.moc"
