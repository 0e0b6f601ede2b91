#pragma once

#include "plugin/QFAbstractPlugin.h"
#include "plugin/QFPluginClass.h"

#include <functional>
#include <utility>

/// A kind of plug-in that a test names.
class SampleKind : public QFPluginClass
{
    Q_OBJECT

public:
    explicit SampleKind(QString ofName) : name(std::move(ofName)) {}

    [[nodiscard]] QString pluginName() const override
    {
        if (fails)
            throw 42;
        return name;
    }

    QString name;
    bool fails = false; ///< asked for its name it throws
};

/// A plug-in with settings.
class SamplePlugin : public QFAbstractPlugin
{
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(int width MEMBER width)
    Q_PROPERTY(QString trap READ trapped WRITE spring)

public:
    explicit SamplePlugin(QFPluginClass &ofKind) : kind(ofKind) {}

    [[nodiscard]] QFPluginClass *pluginClass() const override { return &kind; }
    Q_INVOKABLE QVariantMap populatePluginSettings()
    {
        return {{QStringLiteral("title"),
                 pluginSettingsValueForDisplay(QStringLiteral("Title: ") + title, title)},
                {QStringLiteral("width"), pluginSettingsValueForDisplay(QStringLiteral("Width"), width)}};
    }
    [[nodiscard]] QString trapped() const { return {}; }
    void spring(const QString &) { trap(); }

    QFPluginClass &kind;
    QString title;
    int width = 0;
    std::function<void()> trap = [] {}; ///< what the setter of "trap" does
};
