#pragma once

#include <QObject>
#include <QStringList>

#include <utility>

/// The theme, as export parameters hand it to plug-ins.
class HostTheme : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QStringList colourTagFiles READ colourTagFiles CONSTANT)

public:
    explicit HostTheme(QStringList colourTagFiles) : _colourTagFiles(std::move(colourTagFiles)) {}

    [[nodiscard]] QStringList colourTagFiles() const { return _colourTagFiles; }

private:
    const QStringList _colourTagFiles;
};
