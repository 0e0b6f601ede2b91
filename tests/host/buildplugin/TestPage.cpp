#include "platform/QFHost.h"
#include "platform/Values.h"
#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFPluginClass.h"
#include "tests/Files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Records as settings hold them: "data" is the text of the content data.
QVariantList extrasFrom(const QVariantList &settings)
{
    QVariantList extras;
    for (const QVariant &setting : settings) {
        QVariantMap record = setting.toMap();
        if (record.contains(u"data"_s))
            record.insert(u"contentdata"_s, record.take(u"data"_s).toString().toUtf8());
        extras.append(record.isEmpty() ? setting : QVariant(record));
    }
    return extras;
}

QJsonValue shown(const QVariant &value)
{
    if (objectValue(value))
        return QString::fromLatin1(objectValue(value)->metaObject()->className());
    return QJsonValue::fromVariant(value);
}

} // namespace

class TestPage final : public QFAbstractPlugin
{
    Q_OBJECT
    Q_PROPERTY(QVariantMap does MEMBER _does) ///< by operation: "throw", "throw int", "die", …, or the answer
    Q_PROPERTY(QString text MEMBER _text)
    Q_PROPERTY(QString source MEMBER _source) ///< a file of the site, whose text goes into the page
    Q_PROPERTY(QString asks MEMBER _asks)     ///< a page whose subpage's file goes into the page
    Q_PROPERTY(QVariantList extras MEMBER _extras)
    Q_PROPERTY(QVariantMap files MEMBER _files) ///< texts by name in the folder of files
    Q_PROPERTY(QVariantMap links MEMBER _links) ///< targets by name, likewise
    Q_PROPERTY(QString deadly READ deadly WRITE setDeadly)

public:
    explicit TestPage(QFPluginClass &pluginClass) : _class(pluginClass) {}

    [[nodiscard]] QFPluginClass *pluginClass() const override { return &_class; }
    [[nodiscard]] QString deadly() const { return {}; }
    void setDeadly(const QString & /*value*/) { delete this; }

    QVariant contentHTML(const QVariantMap &params) override
    {
        writeFiles(params);
        QString html = _text.isNull() ? u""_s : _text; // a nil one would be no content
        if (!_source.isNull())
            html += QString::fromUtf8(contents(sourcePath()));
        if (!_asks.isNull()) {
            QObject *const page = QFHost::pageFromUniqueID(document(), _asks);
            html += QFHost::internalPageLinkFileMapper(QFHost::plugin(page), u"sub"_s).value_or(u"nobody"_s);
        }
        return answer("contentHTML", html);
    }
    QVariant sidebarHTML(const QVariantMap & /*params*/) override { return answer("sidebarHTML", {}); }
    QVariant pageContentHeaders(const QVariantMap & /*params*/) override
    {
        return answer("pageContentHeaders", {});
    }
    Q_INVOKABLE QVariant pageContentPrefix(const QVariantMap & /*params*/)
    {
        return answer("pageContentPrefix", {});
    }
    QVariant extraFilesNeededInExportFolder(const QVariantMap & /*params*/) override
    {
        return answer("extraFilesNeededInExportFolder", extrasFrom(_extras));
    }
    QString &updatePageTemplate(QString &pageTemplate, const QVariantMap &params, qint64 depth) override
    {
        QJsonObject json{{u"depth"_s, depth}};
        for (auto param = params.begin(); param != params.end(); ++param)
            json.insert(param.key(), shown(param.value()));
        pageTemplate.replace(u"%dump%"_s,
                             QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)));
        QFAbstractPlugin::updatePageTemplate(pageTemplate, params, depth);
        static_cast<void>(answer("updatePageTemplate", {}));
        return pageTemplate;
    }
    void setValueForThemeSpecificOptionKey(const QVariant &value, const QString &key) override
    {
        if (key == u"throw")
            throw std::runtime_error("no options");
        QFAbstractPlugin::setValueForThemeSpecificOptionKey(value, key);
    }
    Q_INVOKABLE QVariantMap populatePluginSettings()
    {
        return {{u"text"_s, pluginSettingsValueForDisplay(u"Text"_s, _text)}};
    }
    bool providesPluginSettings() override { return true; }
    Q_INVOKABLE QString internalPageLinkFileMapper(const QString &subpageID)
    {
        return subpageID + u'-' + _text + QString::fromUtf8(_source.isNull() ? "" : contents(sourcePath())) +
               u".html"_s;
    }
#ifdef QF_TELLS_READS
    Q_INVOKABLE QVariant filesReadForExport()
    {
        return answer("filesReadForExport", _source.isNull() ? QStringList() : QStringList(sourcePath()));
    }
#endif

private:
    [[nodiscard]] QString sourcePath() const
    {
        return QFileInfo(documentPath()).path() + u'/' + _source;
    }
    void writeFiles(const QVariantMap &params) const
    {
        const QString folder =
            params.value(u"location"_s).toString() + u'/' + params.value(u"filesfoldername"_s).toString();
        for (auto file = _files.begin(); file != _files.end(); ++file) {
            QFile written(folder + u'/' + file.key());
            if (written.open(QIODevice::WriteOnly))
                written.write(file.value().toString().toUtf8());
        }
        for (auto link = _links.begin(); link != _links.end(); ++link) {
            // "." is the folder of files itself, ".." the one that the page is being written to.
            const QString place = QDir::cleanPath(folder + u'/' + link.key());
            if (link.key().startsWith(u'.'))
                QDir(place).removeRecursively();
            QFile::link(link.value().toString(), place);
        }
    }
    /// What is to happen in an operation: no member may be touched behind it.
    QVariant answer(const char *operation, const QVariant &usual)
    {
        const QVariant told = _does.value(QString::fromLatin1(operation));
        const QString word = stringValue(told);
        if (word == u"throw")
            throw std::runtime_error("out of order");
        if (word == u"throw int")
            throw 7;
        if (word == u"die")
            delete this;
        if (word == u"abort")
            std::abort();
        if (word == u"hang")
            ::pause();
        while (word == u"chatter")
            broadcastPluginExportStatus(u"on it"_s, 0.5F);
        return told.isValid() && word != u"die" ? told : usual;
    }

    QFPluginClass &_class;
    QVariantMap _does;
    QString _text;
    QString _source;
    QString _asks;
    QVariantList _extras;
    QVariantMap _files;
    QVariantMap _links;
};

class TestPageClass final : public QFPluginClass
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QFPluginClass_iid FILE "QFPagePlugin.json")

public:
    bool initializeClass(const QVariant & /*hostObject*/) override { return true; }
    [[nodiscard]] QString pluginName() const override { return u"Test"_s; }
    [[nodiscard]] std::unique_ptr<QFAbstractPlugin> newPlugin() override
    {
        return std::make_unique<TestPage>(*this);
    }
    /// The files that all pages share are in the environment, as JSON.
    QVariant extraFilesNeededInExportFolder(const QVariantMap & /*params*/) override
    {
        const QByteArray json = qgetenv("QF_TEST_SHARED_FILES");
        if (json == "throw")
            throw 7;
        return json.isNull() ? QVariant() : extrasFrom(QJsonDocument::fromJson(json).array().toVariantList());
    }
};

#include "TestPage.moc"
