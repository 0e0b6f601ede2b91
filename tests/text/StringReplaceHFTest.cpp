#include "tests/Rows.h"
#include "text/HorspoolFeng.h"
#include "text/NSString+HorspoolFeng.h"
#include "text/SigilCString.h"
#include "text/ns_iterators.h"

#include <QMap>
#include <QPointF>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <map>
#include <vector>

using namespace Qt::StringLiterals;

class StringReplaceHFTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void replaces_data();
    void replaces();
    void agreesWithThePlainRules();
    void stopsWhatDoesNotEnd_data();
    void stopsWhatDoesNotEnd();
    void takesManyLongKeys();
    void expectsNoMoreHugeValues();
    void takesGenericTexts();
    void replacesInBytes_data();
    void replacesInBytes();
};

namespace {

/// The rules, step by step, with flags for every key.
QString plainlyReplaced(QString text, const QVariantMap &substrings, bool recursively)
{
    std::vector<QString> keys;
    std::vector<QString> values;
    for (auto pair = substrings.begin(); pair != substrings.end(); ++pair) {
        if (pair.key().isEmpty() || pair->typeId() != QMetaType::QString)
            continue;
        keys.push_back(pair.key());
        values.push_back(pair->toString());
    }
    if (keys.empty())
        return text;
    qsizetype m = keys[0].size();
    for (const QString &key : keys)
        m = std::min(m, key.size());
    std::vector<std::map<int, std::vector<bool>>> table;
    std::map<int, qsizetype> shifts;
    for (std::size_t k = 0; k < keys.size(); k++) {
        const qsizetype length = keys[k].size();
        table.resize(std::max(table.size(), std::size_t(length)));
        for (qsizetype j = 0; j < length; j++) {
            std::vector<bool> &set = table[std::size_t(j)][keys[k][length - 1 - j].unicode()];
            set.resize(keys.size());
            set[k] = true;
        }
        for (qsizetype i = 0; i + 1 < length; i++) {
            const qsizetype v = std::min(m, length - 1 - i);
            const auto known = shifts.find(keys[k][i].unicode());
            shifts[keys[k][i].unicode()] = known == shifts.end() ? v : std::min(known->second, v);
        }
    }
    qsizetype p = m;
    while (p < text.size()) {
        const int c0 = text[p].unicode();
        std::vector<bool> cand(keys.size(), true);
        qsizetype j = 0;
        qsizetype q = p;
        int c = c0;
        qsizetype advance = 0;
        for (;;) {
            const auto &map = table[std::size_t(j)];
            const auto set = map.find(c);
            if (set == map.end()) {
                const auto shift = shifts.find(c0);
                advance = j + (shift != shifts.end() ? shift->second : m);
                break;
            }
            bool isAny = false;
            std::size_t match = keys.size();
            for (std::size_t k = 0; k < keys.size(); k++) {
                cand[k] = cand[k] && set->second[k];
                isAny = isAny || cand[k];
                if (cand[k] && keys[k].size() == j + 1)
                    match = k;
            }
            if (!isAny) {
                advance = j + m;
                break;
            }
            if (match < keys.size()) {
                text.replace(q, j + 1, values[match]);
                advance = recursively ? m : values[match].size() + m;
                break;
            }
            q--;
            c = q >= 0 ? text[q].unicode() : -1;
            j++;
        }
        p = q + advance;
    }
    return text;
}

/// "a=b c=d": keys and values.
QVariantMap pairs(const QString &words)
{
    QVariantMap map;
    for (const QString &pair : words.split(u' ', Qt::SkipEmptyParts))
        map.insert(pair.section(u'=', 0, 0), u""_s + pair.section(u'=', 1));
    return map;
}

} // namespace

void StringReplaceHFTest::replaces_data()
{
    const Rows<QVariantMap, QString, QString, QString> add({"substrings", "text", "once", "recursively"});
    const auto row = [&](const char *name, const QVariantMap &substrings, const QString &text,
                         const QString &once, const QString &recursively = {}) {
        add(name, substrings, text, once, recursively.isNull() ? once : recursively);
    };
    row("not at the beginning", pairs(u"<=&lt;"_s), u"<a<"_s, u"<a&lt;"_s);
    row("a whole text is a beginning", pairs(u"ab=X"_s), u"ab"_s, u"ab"_s);
    row("after one unit", pairs(u"ab=X"_s), u"zab"_s, u"zX"_s);
    row("a longer key at the beginning", pairs(u"x=1 ab=2"_s), u"ab"_s, u"2"_s);
    row("the shorter of one end", pairs(u"b=1 ab=2"_s), u"zab"_s, u"za1"_s);
    row("stepped over", pairs(u"ab=X ba=Y"_s), u"xbba"_s, u"xbba"_s);
    row("values again", pairs(u"aa=a"_s), u"xaaaa"_s, u"xaaa"_s, u"xaa"_s);
    row("reaches back into a value", pairs(u"x=a abc=Y"_s), u"zxbc"_s, u"zY"_s);
    row("empty value", pairs(u"b="_s), u"abcb"_s, u"ac"_s);
    row("longer than the text", pairs(u"abcdef=X"_s), u"abc"_s, u"abc"_s);
    row("no pairs", {}, u"abc"_s, u"abc"_s);
    row("empty key", {{u""_s, u"X"_s}}, u"abc"_s, u"abc"_s);
    row("empty key beside another", {{u""_s, u"X"_s}, {u"c"_s, u"Y"_s}}, u"abc"_s, u"abY"_s);
    row("a value unlike itself", {{u"c"_s, QPointF(qQNaN(), 0)}, {u"b"_s, u"Y"_s}}, u"abc"_s, u"aYc"_s);
    row("no string", {{u"c"_s, 7}, {u"b"_s, u"Y"_s}}, u"abc"_s, u"aYc"_s);
    row("nothing stands before the text", {{u"\0\0b"_s, u"X"_s}, {u"c"_s, u"Y"_s}}, u"\0b"_s, u"\0b"_s);
    row("lone surrogates", {{QString(QChar(0xD83C)), u"!"_s}}, u"a\U0001F332"_s, u"a!"_s + QChar(0xDF32));
    row("empty text", pairs(u"a=b"_s), u""_s, u""_s);
}

void StringReplaceHFTest::replaces()
{
    QFETCH(QVariantMap, substrings);
    QFETCH(QString, text);
    QString once = text;
    HorspoolPang::replaceSubstrings(once, substrings);
    QTEST(once, "once");
    QString again = text;
    HorspoolPang::replaceSubstrings(again, substrings, true);
    QTEST(again, "recursively");
}

void StringReplaceHFTest::agreesWithThePlainRules()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    const auto word = [&](int letters, int shortest, int longest) {
        QString text(random.bounded(shortest, longest + 1), Qt::Uninitialized);
        for (QChar &unit : text)
            unit = QChar(u'a' + random.bounded(letters));
        return text;
    };
    int changed = 0;
    for (int round = 0; round < 20000; round++) {
        const int letters = random.bounded(2, 6);
        const int longest = round % 50 == 0 ? 200 : random.bounded(1, 7);
        QVariantMap substrings;
        for (int count = random.bounded(1, round % 10 == 0 ? 40 : 5); count > 0; count--)
            substrings.insert(word(letters, 1, longest), word(letters, 0, 5));
        // Only long texts are worth a table of what the last units of a window say.
        QString text = round % 20 == 3 ? word(letters + 1, 4000, 6000) : word(letters, 0, 60);
        if (longest == 200 && !substrings.isEmpty()) // a long key in its place, with a fault now and then
            text += substrings.lastKey() + word(letters, 0, 3) + substrings.firstKey().mid(round % 3);
        // Values whose letters are in no key end a recursive replacement.
        const bool recursively = round % 2 == 1;
        if (recursively) {
            for (QVariant &value : substrings)
                value = value.toString().toUpper() + (round % 4 == 1 ? u"a"_s : QString());
            if (substrings.contains(u"a"_s))
                continue;
        }
        QString ours = text;
        HorspoolPang::replaceSubstrings(ours, substrings, recursively);
        const QString plain = plainlyReplaced(text, substrings, recursively);
        if (ours != plain)
            qWarning() << "round" << round << text << substrings;
        QCOMPARE(ours, plain);
        QString inPlace = text;
        ns::mutable_string wrapped(inPlace);
        Sigil::StringReplaceHF(wrapped, 0, CXXEnumerationIterator::beginEnumerator(substrings),
                               CXXEnumerationIterator::endEnumerator(substrings), recursively);
        QCOMPARE(inPlace, plain);
        changed += plain != text ? 1 : 0;
    }
    QVERIFY(changed > 4000);
}

void StringReplaceHFTest::stopsWhatDoesNotEnd_data()
{
    const Rows<QVariantMap, QString> row({"substrings", "text"});
    row("one window for ever", pairs(u"x=q ab=ab"_s), u"zab"_s);
    row("one more unit each time", pairs(u"a=aa"_s), u"za"_s);
    row("ever more to come", pairs(u"a=baaa"_s), u"za"_s);
    row("huge values", {{u"a"_s, QString(1 << 20, u'a')}}, u"za"_s);
}

void StringReplaceHFTest::stopsWhatDoesNotEnd()
{
    QFETCH(QVariantMap, substrings);
    QFETCH(QString, text);
    QTest::ignoreMessage(QtWarningMsg, "A recursive replacement that does not end was stopped");
    HorspoolPang::replaceSubstrings(text, substrings, true);
    QVERIFY(text.size() < 70 << 20);
}

void StringReplaceHFTest::takesManyLongKeys()
{
    // They share their last 900 units, so the tree is deep; far units must be told apart there.
    QRandomGenerator random(7);
    const QString shared(900, u'e');
    QVariantMap substrings;
    QString text(u"."_s);
    for (int i = 0; i < 2000; i++) {
        QString key(100, Qt::Uninitialized);
        for (QChar &unit : key)
            unit = QChar(0x4E00 + random.bounded(500));
        substrings.insert(key + shared, QString::number(i));
        text += key + shared + u'.';
    }
    QString result = text;
    HorspoolPang::replaceSubstrings(result, substrings);
    QVERIFY(result.size() < text.size() / 2);
    QCOMPARE(result.contains(QChar(0x4DFF)), false);
    QString before = text.left(3 * 1001 + 1);
    const QVariantMap few{{substrings.firstKey(), u"F"_s}, {substrings.lastKey(), u"L"_s}};
    const QString plain = plainlyReplaced(before, few, false);
    HorspoolPang::replaceSubstrings(before, few);
    QCOMPARE(before, plain);
}

void StringReplaceHFTest::expectsNoMoreHugeValues()
{
    QString text = u".x"_s + QString(70'000, u'y') + u'z' + QString(8'000'000, u'y');
    const qsizetype length = text.size() - 2 + 4'000'000;
    HorspoolPang::replaceSubstrings(text, {{u"x"_s, QString(4'000'000, u'v')}, {u"z"_s, u""_s}});
    QCOMPARE(text.size(), length);
    QVERIFY(text.capacity() < 4 * length);
}

void StringReplaceHFTest::takesGenericTexts()
{
    const std::vector<std::pair<QString, ns::string>> list{{u"b"_s, ns::string(u"BB"_s)}, {u"c"_s, {}}};
    QString text = u"abbcb"_s;
    ns::mutable_string wrapped(text);
    Sigil::StringReplaceHF(wrapped, 99, list.begin(), list.end(), false); // the start counts for nothing
    QCOMPARE(text, u"aBBbcBB"_s); // the one behind the value is stepped over
}

void StringReplaceHFTest::replacesInBytes_data()
{
    const Rows<int, int, QByteArray, QByteArray> row({"position", "length", "replacement", "result"});
    row("same length", 1, 2, "XY", "aXYdef");
    row("shorter", 1, 3, "X", "aXef");
    row("longer", 1, 1, "XYZ", "aXYZcdef");
    row("all", 0, 6, "", "");
    row("cut to what there is", 4, 99, "X", "abcdX");
    row("beyond the end", 99, 1, "X", "abcdefX");
}

void StringReplaceHFTest::replacesInBytes()
{
    QFETCH(int, position);
    QFETCH(int, length);
    QFETCH(QByteArray, replacement);
    Sigil::CString bytes("abcdef");
    bytes.replace(std::size_t(position), std::size_t(length), Sigil::CString(replacement.toStdString()));
    QTEST(QByteArray(bytes.c_str()), "result");
    QCOMPARE(qsizetype(bytes.length()), QByteArray(bytes.c_str()).size());
    Sigil::CString itself("ab");
    itself.replace(1, 0, itself);
    QCOMPARE(QByteArray(itself.c_str()), QByteArray("aabb"));
}

QTEST_GUILESS_MAIN(StringReplaceHFTest)

#include "StringReplaceHFTest.moc"
