#include "text/QFTuple.h"
#include "tests/Rows.h"
#include "text/CharacterCache.h"
#include "text/ns_iterators.h"
#include "text/ns_string.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

/// An object that has what a tuple has, and one that lacks half of it.
class PairObject : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString element1 MEMBER first)
    Q_PROPERTY(int element2 MEMBER second)

public:
    QString first;
    int second = 0;
};

class QFTupleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comparesElements_data();
    void comparesElements();
    void sortsAndHashes();
    void equalsWhatHasItsKeys();
    void readsUnits();
    void readsThroughAWindow();
    void walksContainers();
};

void QFTupleTest::comparesElements_data()
{
    // The element and another that comes after it, or is the same.
    const Rows<QVariant, QVariant, bool> row({"element", "other", "isSame"});
    row("strings", u"b"_s, u"c"_s, false);
    row("nil is nil", {}, QVariant(QString()), true);
    row("nil first", {}, u""_s, false);
    row("nil before numbers", {}, -5, false);
    row("number before string", 9, u"1"_s, false);
    row("by value", 2, 10.5, false);
    row("one number", 1, 1.0, true);
    row("true is one", true, 1LL, true);
    row("zeros", 0.0, -0.0, true);
    row("large integers", (1LL << 53), (1LL << 53) + 1, false);
    row("unsigned", std::numeric_limits<qint64>::max(), std::numeric_limits<quint64>::max(), false);
    row("tuples inside", QVariant::fromValue(QFTuple(1, 2)), QVariant::fromValue(QFTuple(1.0, 3)), false);
}

void QFTupleTest::comparesElements()
{
    QFETCH(QVariant, element);
    QFETCH(QVariant, other);
    QFETCH(bool, isSame);
    for (const bool isFirst : {true, false}) {
        const QFTuple a = isFirst ? QFTuple(element, u"z"_s) : QFTuple(7, element);
        const QFTuple b = isFirst ? QFTuple(other, u"z"_s) : QFTuple(7, other);
        QCOMPARE(a == b, isSame);
        QVERIFY(isSame ? a.compare(b) == 0 : a < b);
        QVERIFY(isSame ? b.compare(a) == 0 : b > a);
        if (isSame)
            QCOMPARE(a.hash(), b.hash());
    }
}

void QFTupleTest::sortsAndHashes()
{
    const QFTuple a = QFTuple::tupleWithFirstElement(1, u"x"_s);
    QVERIFY(QFTuple(1, u"z"_s) < QFTuple(2, u"a"_s)); // the second elements count last
    QCOMPARE(a.hash(), QFTuple(u"x"_s, 1).hash());
    QVERIFY(!(a == QFTuple(u"x"_s, 1)));
    QHash<QFTuple, int> dictionary{{a, 1}};
    dictionary[QFTuple(1.0, u"x"_s)]++;
    QCOMPARE(dictionary.size(), 1);
    QCOMPARE(a.description(), u"(1, x)"_s);
    QCOMPARE(QFTuple().description(), u"((null), (null))"_s);
    QCOMPARE(QFTuple(QVariant::fromValue(a), {}).description(), u"((1, x), (null))"_s);
}

void QFTupleTest::equalsWhatHasItsKeys()
{
    const QFTuple tuple(u"a"_s, 5);
    PairObject object;
    object.first = u"a"_s;
    object.second = 5;
    QVERIFY(tuple.isEqual(QVariant::fromValue<QObject *>(&object)));
    object.second = 6;
    QVERIFY(!tuple.isEqual(QVariant::fromValue<QObject *>(&object)));
    QVERIFY(tuple.isEqual(QVariantMap{{u"element1"_s, u"a"_s}, {u"element2"_s, 5.0}}));
    QVERIFY(tuple.isEqual(QVariant::fromValue(QFTuple(u"a"_s, 5))));
    const QFTuple nested(QVariant::fromValue(QFTuple(1, 2)), 3);
    const QFTuple likeIt(QVariantMap{{u"element1"_s, 1}, {u"element2"_s, 2}}, 3);
    QVERIFY(!(nested == likeIt) && !(likeIt == nested));                         // their hashes differ
    QVERIFY(!QFTuple(u"a"_s, {}).isEqual(QVariantMap{{u"element1"_s, u"a"_s}})); // lacks one
    QVERIFY(!QFTuple().isEqual(QVariant()));
    QVERIFY(!QFTuple().isEqual(QVariant::fromValue<QObject *>(this)));
}

void QFTupleTest::readsUnits()
{
    QString text = u"aé"_s;
    ns::mutable_string wrapped(text);
    QCOMPARE(wrapped[-1], u'\0');
    QCOMPARE(wrapped[1], u'é');
    QCOMPARE(wrapped[2], u'\0');
    QCOMPARE(QByteArray(wrapped.c_str()), QByteArray("aé"));
    const ns::string kept = wrapped;
    wrapped.replace(0, 1, ns::string(u"bcd"_s));
    QCOMPARE(wrapped[3], u'é');
    QCOMPARE(wrapped.length(), 4L);
    wrapped.replace(2, 99, wrapped); // itself, and too far
    wrapped.replace(-5, 1, {});
    QCOMPARE(text, u"cbcdé"_s);
    QCOMPARE(kept.text(), u"aé"_s);
    QVERIFY(ns::string().c_str() == nullptr);
    QCOMPARE(QByteArray(ns::string(QString(QChar(0xD800))).c_str()), QByteArray("?"));
    QCOMPARE(ns::string()[0], u'\0');
}

void QFTupleTest::readsThroughAWindow()
{
    struct Source
    {
        QString text;
        mutable int copies = 0;
        [[nodiscard]] qsizetype length() const { return text.size(); }
        [[nodiscard]] const char16_t *storage() const { return nullptr; }
        void copy(qsizetype start, qsizetype end, char16_t *units) const
        {
            copies++;
            QVERIFY(start >= 0 && end <= text.size() && end - start <= 64);
            std::copy_n(reinterpret_cast<const char16_t *>(text.constData()) + start, end - start, units);
        }
    };
    Source source;
    for (int i = 0; i < 1000; i++)
        source.text += QChar(i + 1);
    ns::CharacterCache<Source> cache;
    for (qsizetype i = 0; i < 1000; i++) { // forwards, with short steps back
        for (const qsizetype at : {i, i - 3})
            QCOMPARE(cache.at(source, at), at < 0 ? u'\0' : char16_t(at + 1));
    }
    QVERIFY(source.copies <= 1000 / 60 + 1);
    QCOMPARE(cache.at(source, 1000), u'\0');
    QRandomGenerator random(3);
    for (int i = 0; i < 1000; i++) {
        const auto at = qsizetype(random.bounded(1000));
        QCOMPARE(cache.at(source, at), char16_t(at + 1));
    }
    source.text = u"xy"_s;
    cache.invalidate();
    QCOMPARE(cache.at(source, 1), u'y');
    QCOMPARE(cache.at(source, 2), u'\0');
}

void QFTupleTest::walksContainers()
{
    QVariantMap dictionary{{u"a"_s, 1}, {u"b"_s, 2}};
    auto walk = CXXEnumerationIterator::beginEnumerator(dictionary);
    const auto end = CXXEnumerationIterator::endEnumerator(dictionary);
    QCOMPARE(std::distance(walk, end), 2);
    dictionary.clear(); // the walk sees what was there
    QString seen;
    for (; walk != end; ++walk)
        seen += (*walk).first + (*walk).second.toString();
    QCOMPARE(seen, u"a1b2"_s);
    QVERIFY(++walk == end); // never past it
    QVERIFY((*walk).first.isNull());
    QVERIFY(CXXEnumerationIterator::beginEnumerator({{u"a"_s, 1}}) !=
            CXXEnumerationIterator::beginEnumerator({{u"a"_s, 3}}));
    const QVariantMap one{{u"k"_s, u"v"_s}};
    QCOMPARE(*CXXEnumerationIterator::beginKeyEnumerator(one), QVariant(u"k"_s));
    QCOMPARE(*CXXEnumerationIterator::beginObjectEnumerator(one), QVariant(u"v"_s));
    const QVariantList list{1, 2, 3};
    QCOMPARE(std::distance(CXXEnumerationIterator::beginObjectEnumerator(list),
                           CXXEnumerationIterator::endObjectEnumerator(list)),
             3);
}

QTEST_GUILESS_MAIN(QFTupleTest)

#include "QFTupleTest.moc"
