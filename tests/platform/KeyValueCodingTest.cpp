#include "platform/KeyValueCoding.h"
#include "platform/Values.h"
#include "tests/Rows.h"

#include <QUrl>

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace NSKeyValueCoding;

class Settings : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(int count MEMBER count)
    Q_PROPERTY(bool flag MEMBER flag)
    Q_PROPERTY(QVariant any MEMBER any)
    Q_PROPERTY(Mode mode MEMBER mode)
    Q_PROPERTY(QObject *partner MEMBER partner)
    Q_PROPERTY(int fixed READ fixed CONSTANT)
    Q_PROPERTY(int brittle READ brittle WRITE setBrittle)

public:
    enum class Mode : quint8 { Off, On };
    Q_ENUM(Mode)

    [[nodiscard]] int fixed() const { return 7; }
    [[nodiscard]] int brittle() const { throw std::runtime_error("read"); }
    void setBrittle(int) { throw std::runtime_error("write"); }
    Q_INVOKABLE QString computed() { return u"computed"_s; }
    Q_INVOKABLE void wipe() { name = u"wiped"_s; }

    QString name = u"n"_s;
    int count = 1;
    bool flag = false;
    QVariant any;
    Mode mode = Mode::Off;
    QObject *partner = nullptr;
};

class KeyValueCodingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsByName();
    void followsPaths();
    void writes_data();
    void writes();
    void refusesToWrite();
};

void KeyValueCodingTest::readsByName()
{
    Settings settings;
    settings.setProperty("made", 1);
    QCOMPARE(valueForKey(&settings, u"name"_s), u"n"_s);
    QCOMPARE(valueForKey(&settings, u"computed"_s), u"computed"_s);
    // Reading does nothing: an operation without an answer is no value.
    for (const QString &key : {u"wipe"_s, u"deleteLater"_s, u"made"_s, u"brittle"_s, u"unknown"_s, u""_s})
        QVERIFY(isNil(valueForKey(&settings, key)));
    QCOMPARE(settings.name, u"n"_s);
    QCOMPARE(valueForKey(QVariantMap{{u"k"_s, 1}}, u"k"_s), 1);
    QCOMPARE(valueForKey(QVariantHash{{u"k"_s, 1}}, u"k"_s), 1);
    QVERIFY(isNil(valueForKey(QVariant(5), u"k"_s)));
    QVERIFY(isNil(valueForKey(static_cast<QObject *>(nullptr), u"k"_s)));
}

void KeyValueCodingTest::followsPaths()
{
    Settings settings;
    settings.any = QVariantMap{{u"inner"_s, QVariant::fromValue<QObject *>(&settings)}};
    const auto start = QVariant::fromValue<QObject *>(&settings);
    QCOMPARE(valueForKeyPath(start, u"any.inner.name"_s), u"n"_s);
    for (const QString &path : {u"any.none.name"_s, u"any..name"_s, u"partner.name"_s, u""_s})
        QVERIFY(isNil(valueForKeyPath(start, path)));
}

void KeyValueCodingTest::writes_data()
{
    const Rows<QString, QVariant, QVariant> row({"key", "value", "read"});
    row("string", u"name"_s, u"x"_s, u"x"_s);
    row("nil string", u"name"_s, {}, QString());
    row("truncated number", u"count"_s, -3.9, -3);
    row("number as truth", u"flag"_s, 2, true);
    row("anything", u"any"_s, QUrl(u"a"_s), QUrl(u"a"_s));
    row("number as enumeration", u"mode"_s, 1, QVariant::fromValue(Settings::Mode::On));
    row("nil object", u"partner"_s, {}, QVariant::fromValue<QObject *>(nullptr));
}

void KeyValueCodingTest::writes()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    Settings settings;
    QVERIFY(setValueForKey(&settings, key, value));
    QTEST(valueForKey(&settings, key), "read");
}

void KeyValueCodingTest::refusesToWrite()
{
    Settings settings;
    const QList<std::pair<QString, QVariant>> refused = {
        {u"unknown"_s, 1},       {u"name\0x"_s, u"x"_s}, {u"fixed"_s, 1},       {u"brittle"_s, 1},
        {u"computed"_s, u"x"_s}, {u"count"_s, {}},       {u"count"_s, u"5"_s},  {u"count"_s, qint64(1) << 40},
        {u"name"_s, 5},          {u"name"_s, QUrl()},    {u"partner"_s, u"x"_s}};
    for (const auto &[key, value] : refused)
        QVERIFY2(!setValueForKey(&settings, key, value), qPrintable(key));
    QVERIFY(!setValueForKey(nullptr, u"name"_s, u"x"_s));
    QCOMPARE(settings.dynamicPropertyNames(), QByteArrayList());
    QCOMPARE(settings.count, 1);
    QCOMPARE(settings.name, u"n"_s);
}

QTEST_APPLESS_MAIN(KeyValueCodingTest)
#include "KeyValueCodingTest.moc"
