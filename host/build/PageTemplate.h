#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <functional>

/// A theme's page template. The plug-in sees it first and fills its own placeholders; then the host fills the
/// others. Meanwhile the host's placeholders are marks of two characters that no text has, so that nothing
/// that the plug-in puts in is taken for one, and nothing that is filled in is looked at again.
class PageTemplate
{
public:
    /// Placeholders are `%name%` or `%name:argument%` with one of the names.
    PageTemplate(const QString &text, const QList<QStringView> &names);

    /// The template with marks, for the plug-in.
    [[nodiscard]] const QString &marked() const { return _marked; }
    /// What the plug-in made of it, with `value(name, argument)` in place of each mark. Linear.
    [[nodiscard]] QString
    filled(const QString &marked,
           const std::function<QString(QStringView name, QStringView argument)> &value) const;

private:
    struct Placeholder
    {
        QString name;
        QString argument;
    };

    QString _marked;
    QList<Placeholder> _placeholders;
};
