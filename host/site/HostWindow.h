#pragma once

#include <QObject>
#include <QPointer>

/// The window of a document. Nothing is shown; plug-ins find the document through it.
class HostWindow : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QObject *delegate READ delegate CONSTANT)

public:
    /// The delegate is not owned.
    explicit HostWindow(QObject *delegate) : _delegate(delegate) {}

    [[nodiscard]] QObject *delegate() const { return _delegate; }

private:
    const QPointer<QObject> _delegate;
};
