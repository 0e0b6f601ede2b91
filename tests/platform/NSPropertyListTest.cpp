#include "platform/NSPropertyList.h"
#include "platform/NSBinaryPropertyListWriter.h"
#include "platform/Values.h"
#include "tests/Rows.h"

#include <QDateTime>
#include <QRandomGenerator>

#include <cstdlib>
#include <limits>
#include <plist/plist.h>

using namespace Qt::StringLiterals;
using Format = NSPropertyListFormat;
using Ref = NSBinaryPropertyListWriter::Ref;

class NSPropertyListTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsValues_data();
    void keepsValues();
    void refusesWhatCannotBeWritten_data();
    void refusesWhatCannotBeWritten();
    void agreesWithAnotherImplementation();
    void refusesBytes_data();
    void refusesBytes();
    void readsSharedPartsInLinearTime();
    void survivesDamage();
};

namespace {

QString units(std::initializer_list<char16_t> list)
{
    return QStringView(list.begin(), list.size()).toString();
}

QVariant nested(int levels)
{
    QVariant value = u"core"_s;
    for (int i = 0; i < levels; ++i)
        value = i % 2 ? QVariant(QVariantMap{{u"k"_s, value}}) : QVariant(QVariantList{value});
    return value;
}

QVariantMap everything()
{
    return {{u"string"_s, u"a<b>&\"'\u00E9\U0001F600\r\n\t"_s},
            {u"\u00FCnicode key"_s, u""_s},
            {u"data"_s, QByteArray("\0\xff\n", 3)},
            {u"no data"_s, QByteArray("")},
            {u"numbers"_s, QVariantList{0LL, 255LL, 256LL, -1LL, 65536LL, 1LL << 40}},
            {u"reals"_s, QVariantList{0.1, -1e300, 16.7}},
            {u"truth"_s, QVariantList{true, false}},
            {u"date"_s, QDateTime({2024, 2, 29}, {23, 59, 58}, Qt::UTC)},
            {u"empty"_s, QVariantList{QVariantList(), QVariantMap()}}};
}

QByteArray xml(const QByteArray &contents)
{
    return "<plist version=\"1.0\">" + contents + "</plist>";
}

} // namespace

void NSPropertyListTest::keepsValues_data()
{
    const Rows<QVariant, bool> row({"value", "inXMLToo"});
    QVariantList many;
    for (int i = 0; i < 70'000; ++i)
        many.append(QString::number(i));
    row("everything", everything(), true);
    row("largest integers",
        QVariantList{std::numeric_limits<qint64>::min(), std::numeric_limits<quint64>::max()}, true);
    row("wide references", many, true);
    row("reference", QVariant::fromValue(NSPropertyListUID{70'000}), true);
    row("deepest", nested(NSPropertyList::maximumDepth), true);
    row("lone surrogates", units({0xD800, u'a', 0xDC00, 0xDFFF}), false);
    row("pair behind a lone one", units({0xD800, 0xD83D, 0xDE00}), false);
    row("NUL and noncharacters", units({0, u'a', 0xFFFE, 0xFFFF, 0}), false);
    row("milliseconds", QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC), false);
    row("date before 1970", QDateTime({1752, 1, 1}, {0, 0}, Qt::UTC), true);
}

void NSPropertyListTest::keepsValues()
{
    QFETCH(QVariant, value);
    QFETCH(bool, inXMLToo);
    for (const Format format : {Format::Binary, Format::XML}) {
        if (format == Format::XML && !inXMLToo)
            continue;
        Format read = format == Format::XML ? Format::Binary : Format::XML;
        const QVariant back =
            NSPropertyList::propertyListFromData(NSPropertyList::dataFromPropertyList(value, format), &read);
        QVERIFY(sameValue(back, value));
        QCOMPARE(read, format);
    }
}

void NSPropertyListTest::refusesWhatCannotBeWritten_data()
{
    const Rows<QVariant, bool> row({"value", "inBinaryToo"});
    row("nil", {}, true);
    row("nil string", QString(), true);
    row("a foreign type inside", QVariantList{1, QChar(u'x')}, true);
    row("too deep", nested(NSPropertyList::maximumDepth + 1), true);
    row("lone surrogate", QString(QChar(0xD800)), false);
    row("NUL in a key", QVariantMap{{QString(QChar(u'\0')), 1}}, false);
}

void NSPropertyListTest::refusesWhatCannotBeWritten()
{
    QFETCH(QVariant, value);
    QVERIFY(NSPropertyList::dataFromPropertyList(value, Format::XML).isNull());
    QTEST(NSPropertyList::dataFromPropertyList(value, Format::Binary).isNull(), "inBinaryToo");
}

/// Each of our files, read by libplist and written by it in the other format, reads back as what was written.
void NSPropertyListTest::agreesWithAnotherImplementation()
{
    const QVariantMap value = everything();
    for (const Format format : {Format::Binary, Format::XML}) {
        const QByteArray ours = NSPropertyList::dataFromPropertyList(value, format);
        plist_t list = nullptr;
        char *bytes = nullptr;
        uint32_t size = 0;
        plist_from_memory(ours.constData(), static_cast<uint32_t>(ours.size()), &list);
        QVERIFY(list);
        if (format == Format::Binary)
            plist_to_xml(list, &bytes, &size);
        else
            plist_to_bin(list, &bytes, &size);
        const QByteArray theirs(bytes, size);
        std::free(bytes);
        plist_free(list);
        // libplist writes a carriage return plainly, which XML reads as a newline.
        QVariantMap expected = value;
        if (format == Format::Binary)
            expected[u"string"_s] = value[u"string"_s].toString().replace(u"\r\n"_s, u"\n"_s);
        QCOMPARE(NSPropertyList::propertyListFromData(theirs), QVariant(expected));
    }
}

void NSPropertyListTest::refusesBytes_data()
{
    const Rows<QByteArray> row({"bytes"});
    row("nothing", {});
    row("only the magic", "bplist00");
    row("zeros behind the magic", "bplist00" + QByteArray(64, '\0'));

    const auto binary = [&](const char *name, auto build) {
        NSBinaryPropertyListWriter writer;
        const Ref top = build(writer);
        row(name, writer.data(top));
    };
    binary("an array in itself", [](auto &writer) { return writer.addArray(std::vector<Ref>{0}); });
    binary("a circle of two", [](auto &writer) {
        writer.addArray(std::vector<Ref>{1});
        return writer.addArray(std::vector<Ref>{0});
    });
    binary("a reference to nowhere", [](auto &writer) { return writer.addArray(std::vector<Ref>{9}); });
    binary("a number as key", [](auto &writer) {
        const std::vector<Ref> number{writer.addInteger(1)};
        return writer.addDictionary(number, number);
    });
    binary("too deep", [](auto &writer) {
        Ref inner = writer.addBool(true);
        for (int i = 0; i < 100'000; ++i)
            inner = writer.addArray(std::vector<Ref>{inner});
        return inner;
    });
    binary("unfolds without end", [](auto &writer) {
        Ref inner = writer.addString(u"lol");
        for (int i = 0; i < 60; ++i)
            inner = writer.addArray(std::vector<Ref>(4, inner));
        return inner;
    });
    binary("a date beyond all calendars", [](auto &writer) { return writer.addDate(1e300); });

    NSBinaryPropertyListWriter writer;
    const QByteArray good =
        writer.data(writer.addArray(std::vector<Ref>{writer.addData("0123456789abcdef")}));
    const auto changed = [&](const char *name, qsizetype at, const QByteArray &by) {
        row(name, QByteArray(good).replace(at < 0 ? good.size() + at : at, by.size(), by));
    };
    changed("huge data", 9, QByteArray("\x13\x7f\xff\xff\xff\xff\xff\xff\xff", 9));
    changed("huge number of objects", -24, QByteArray("\xff\xff\xff\xff\xff\xff\xff\xff", 8));
    changed("wide offsets", -26, "\x09");
    changed("no width of references", -25, QByteArray(1, '\0'));
    changed("table behind the end", -8, QByteArray("\0\0\0\0\0\0\xff\xff", 8));
    changed("two objects at one place", -34, QByteArray("\x1b\x1b", 2));

    const QByteArray deep = QByteArray("<array>").repeated(300'000);
    row("XML too deep", xml(deep));
    row("XML without an end", "<plist><dict><key>a</key>");
    row("XML without a value", xml("<dict><key>a</key></dict>"));
    row("XML with two values", xml("<true/><true/>"));
    row("XML of another kind", "<html/>");
    row("element in a string", xml("<string>a<b/></string>"));
    row("entities of its own", "<!DOCTYPE plist [<!ENTITY a \"b\">]>" + xml("<string>&a;</string>"));
    row("no number", xml("<integer>1x</integer>"));
    row("no base 64", xml("<data>!</data>"));
    row("no date", xml("<date>2024-02-30T00:00:00Z</date>"));
}

void NSPropertyListTest::refusesBytes()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(isNil(NSPropertyList::propertyListFromData(bytes)));
}

/// A long key in many small dictionaries must not be copied or compared once for each of them.
void NSPropertyListTest::readsSharedPartsInLinearTime()
{
    NSBinaryPropertyListWriter writer;
    const std::vector<Ref> keys{writer.addString(QString(500'000, u'k')),
                                writer.addString(QString(500'000, u'k') + u'l')};
    std::vector<Ref> all;
    for (int i = 0; i < 100'000; ++i) {
        const Ref number = writer.addInteger(i);
        all.push_back(writer.addDictionary(keys, std::vector<Ref>{number, number}));
    }
    QVERIFY(isNil(NSPropertyList::propertyListFromData(writer.data(writer.addArray(all)))));
}

void NSPropertyListTest::survivesDamage()
{
    const quint32 seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    for (const Format format : {Format::Binary, Format::XML}) {
        const QByteArray good = NSPropertyList::dataFromPropertyList(everything(), format);
        const qsizetype last = format == Format::XML ? good.lastIndexOf('>') : good.size() - 1;
        for (qsizetype size = 0; size <= last; ++size)
            QVERIFY(isNil(NSPropertyList::propertyListFromData(good.first(size))));
        for (int i = 0; i < 5'000; ++i) {
            QByteArray bad = good;
            for (int flips = random.bounded(1, 4); flips > 0; --flips)
                bad[random.bounded(bad.size())] = static_cast<char>(random.generate());
            // Whatever was read can be written again.
            const QVariant value = NSPropertyList::propertyListFromData(bad);
            if (value.isValid())
                QVERIFY(!NSPropertyList::dataFromPropertyList(value, Format::Binary).isNull());
        }
    }
}

QTEST_APPLESS_MAIN(NSPropertyListTest)
#include "NSPropertyListTest.moc"
