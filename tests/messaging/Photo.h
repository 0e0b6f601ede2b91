#pragma once

#include <QObject>
#include <QPointer>

#include <array>
#include <stdexcept>

/// Takes more than a message can hold.
struct Block
{
    std::array<char, 2000> bytes{};
};

/// A receiver.
class Photo : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER title)
public:
    explicit Photo(const QString &name = {}, int size = 0) : title(name), number(size) {}

    Q_INVOKABLE virtual QString scaled(double factor, bool isSquare) const
    {
        return title + QString::number(number * factor) + (isSquare ? QStringLiteral("s") : QString());
    }
    Q_INVOKABLE int size() const { return number; }
    Q_INVOKABLE void setNumber(int size) { number = size; }
    Q_INVOKABLE int failing() { throw std::runtime_error("no"); }
    Q_INVOKABLE QVariant same(const QVariant &value) { return value; }
    Q_INVOKABLE QVariantList joined(const QVariantList &a, const QVariantList &b) { return a + b; }
    [[nodiscard]] QByteArray noBytes() const { return {}; }
    Q_INVOKABLE int deletesNext()
    {
        delete next;
        return 1;
    }

    QString title;
    int number;
    QPointer<Photo> next;
};

/// Answers the same message in its own way, and others.
class Film : public Photo
{
    Q_OBJECT
public:
    using Photo::Photo;
    [[nodiscard]] QString scaled(double factor, bool isSquare) const override
    {
        return QStringLiteral("film ") + Photo::scaled(factor, isSquare);
    }
    [[nodiscard]] int length() const { return 90; }
};

/// A value with a meta-object.
struct Frame
{
    Q_GADGET
    Q_PROPERTY(int width MEMBER width)
public:
    Q_INVOKABLE int widen(int by) { return width += by; }
    Q_INVOKABLE int doubled() const { return 2 * width; }

    int width = 0;
};
