#pragma once

#include "platform/NSAttributedString.h"
#include "platform/QFReport.h"
#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFPluginClass.h"
#include "tests/Files.h"
#include "tests/host/SmallHost.h"

#include <QPluginLoader>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// The document of a site that lies in a folder of its own, and the folder that it is published into.
class SmallSite : public SmallDocument
{
    Q_OBJECT

public:
    SmallSite() { QDir(folder.path()).mkpath(u"out/page_files"_s); }

    Q_INVOKABLE QString fileNameOrSaveToFileName() const { return path(u"site.json"_s); }
    Q_INVOKABLE QString language() const { return u"en"_s; }
    Q_INVOKABLE QVariantList assets() const
    {
        return {QVariantMap{{u"name"_s, u"plan of the house.pdf"_s}, {u"url"_s, u"file:///plan.pdf"_s}}};
    }

    [[nodiscard]] QString path(const QString &name) const { return folder.path() + u'/' + name; }
    /// Path of a file that the page has written.
    [[nodiscard]] QString written(const QString &name) const { return path(u"out/page_files/"_s + name); }
    void write(const QString &name, const QByteArray &bytes) const { QVERIFY(::write(path(name), bytes)); }
    [[nodiscard]] QVariantMap params(const QVariantMap &others = {}) const
    {
        QVariantMap params{{u"location"_s, path(u"out"_s)},
                           {u"filesfoldername"_s, u"page_files"_s},
                           {u"imagesfoldername"_s, u"page_files"_s},
                           {u"assetsfoldername"_s, u"../assets"_s},
                           {u"FilenameExt"_s, u"html"_s},
                           {u"path"_s, u"a/page.html"_s},
                           {u"plugincommonpath"_s, u"plugins/x"_s},
                           {u"commonpathsrelative"_s, true},
                           {u"contentonlysubpages"_s, true}};
        params.insert(others);
        return params;
    }

    /// A link to a folder outside the site, in which there is a file "secret".
    void linkOut(const QString &name) const
    {
        QVERIFY(::write(outside.filePath(u"secret"_s), "secret") && QFile::link(outside.path(), path(name)));
    }

    QTemporaryDir folder;
    QTemporaryDir outside;
};

/// The page "page" of a small site, made by the module under test.
class ModulePage
{
public:
    /// Without a source it has no settings.
    explicit ModulePage(SmallSite &site, const QString &source = {})
    {
        QPluginLoader loader(QStringLiteral(QF_MODULE));
        kind = dynamic_cast<QFPluginClass *>(loader.instance());
        if (!kind || !kind->initializeClass({}))
            qFatal("%s", qPrintable(loader.errorString()));
        plugin = kind->newPlugin();
        plugin->setUniqueID(u"page"_s);
        plugin->setDocument(&site);
        site.addPage(u"page"_s)->pagePlugin = plugin.get();
        if (!source.isNull())
            set({{u"source"_s, source}});
    }

    /// As a host hands settings over.
    void set(const QVariantMap &values)
    {
        QVariantMap settings;
        for (auto [name, value] : values.asKeyValueRange())
            settings.insert(name, QFAbstractPlugin::pluginSettingsValueForDisplay(name, value));
        plugin->setPluginSettings({{u"settings"_s, settings}});
    }
    /// What the report says while the page is made.
    QStringList problemsWhileMaking(const QVariantMap &params)
    {
        QFReport report;
        const QFReport::Installed scope(report);
        content = plugin->contentHTML(params).toString();
        QStringList kinds;
        for (const QFReportRecord &record : report.records())
            kinds.append(record.kind);
        return kinds;
    }

    QFPluginClass *kind = nullptr;
    std::unique_ptr<QFAbstractPlugin> plugin;
    QString content;
};

/// Names that lead a plug-in out of its site or nowhere: rows of "source".
inline void addForbiddenSources()
{
    QTest::addColumn<QString>("source");
    QTest::newRow("none") << QString();
    QTest::newRow("missing") << u"missing.html"_s;
    QTest::newRow("absolute") << u"/proc/version"_s;
    QTest::newRow("upward") << u"../outside/secret"_s;
    QTest::newRow("upward within") << u"pages/../../outside/secret"_s;
    QTest::newRow("a link that leads out") << u"way-out"_s;
    QTest::newRow("below a link that leads out") << u"way-out/secret"_s;
    QTest::newRow("zero unit") << u"a\0b"_s;
}
