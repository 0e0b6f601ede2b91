#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QSet>
#include <QString>
#include <QStringList>

/// Reads one object of a JSON file by its keys. Whatever has another type than was asked for counts as absent
/// and makes a record in the current report, with the file and the key's place in it.
class KeyReader
{
public:
    /// `place` is where the object stands in the file, such as "pages[2]"; empty for the root.
    KeyReader(const QJsonObject &object, QString file, QString place);

    [[nodiscard]] QString string(const QString &key, const QString &fallback = {});
    [[nodiscard]] bool boolean(const QString &key, bool fallback);
    [[nodiscard]] qint64 number(const QString &key, qint64 fallback);
    [[nodiscard]] QStringList strings(const QString &key);
    [[nodiscard]] QJsonObject object(const QString &key);
    [[nodiscard]] QJsonArray array(const QString &key);
    [[nodiscard]] bool has(const QString &key) const { return _object.contains(key); }

    /// "pages[2].title"
    [[nodiscard]] QString placeOf(const QString &key) const;
    /// Makes a record: "site.json: pages[2].title …".
    void complain(const QString &key, const QString &problem) const;
    /// Makes a record of each key that nobody has asked for.
    void complainOfUnknownKeys() const;

private:
    [[nodiscard]] QJsonValue value(const QString &key, QJsonValue::Type type, const char *expected);

    const QJsonObject _object;
    const QString _file;
    const QString _place;
    QSet<QString> _asked;
};
