#include "platform/NSAttributedString.h"
#include "platform/NSFont.h"
#include "platform/NSTextAttachment.h"

#include <QRandomGenerator>
#include <QTest>

#include <vector>

using namespace Qt::StringLiterals;

namespace {

const NSAttributeKey kKey(u"test-key");

NSAttributeDictionary number(int value)
{
    return {{kKey, value}};
}

/// A styled text as one dictionary for each unit: slow and plain, to hold the real one against.
struct PlainText
{
    QString string;
    std::vector<NSAttributeDictionary> attributes;

    void replace(NSRange range, const QString &text, const NSAttributeDictionary &dictionary)
    {
        string.replace(range.location, range.length, text);
        const auto from = attributes.begin() + range.location;
        attributes.erase(from, from + range.length);
        attributes.insert(attributes.begin() + range.location, static_cast<size_t>(text.size()), dictionary);
    }
};

QString differences(const NSAttributedString &text, const PlainText &plain)
{
    if (text.string() != plain.string)
        return u"string: "_s + text.string();
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const NSRange range = text.rangeOfRun(run);
        if (range.isEmpty() || (run > 0 && text.runs()[run].attributes == text.runs()[run - 1].attributes))
            return u"not canonical at run %1"_s.arg(run);
    }
    for (qsizetype i = 0; i < text.length(); ++i) {
        NSRange range;
        if (!(text.attributesAtIndex(i, &range) == plain.attributes[static_cast<size_t>(i)]))
            return u"attributes at %1"_s.arg(i);
        if (i < range.location || i >= range.end())
            return u"range at %1"_s.arg(i);
    }
    return {};
}

} // namespace

class NSAttributedStringTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void editsLikeAPlainModel()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        NSMutableAttributedString text(u"abcdefghij"_s);
        PlainText plain{text.string(), std::vector<NSAttributeDictionary>(10)};
        for (int step = 0; step < 4000; ++step) {
            const qsizetype from = random.bounded(int(text.length()) + 1);
            const NSRange range{from, random.bounded(int(text.length() - from) + 1)};
            const NSAttributeDictionary attributes = number(random.bounded(3));
            switch (text.length() > 200 ? 1 : random.bounded(4)) {
            case 0: {
                const NSAttributedString piece(QString(random.bounded(5), u'x'), attributes);
                text.replaceCharactersInRange(range, piece);
                plain.replace(range, piece.string(), attributes);
                break;
            }
            case 1:
                text.replaceCharactersInRange(range, NSAttributedString());
                plain.replace(range, {}, {});
                break;
            case 2:
                text.addAttribute(kKey, attributes.value(kKey), range);
                std::fill_n(plain.attributes.begin() + range.location, range.length, attributes);
                break;
            default:
                text.setAttributes(attributes, range);
                std::fill_n(plain.attributes.begin() + range.location, range.length, attributes);
            }
            if (text.isEmpty()) {
                text.append(u"abc"_s, number(0));
                plain.replace({0, 0}, u"abc"_s, number(0));
            }
            const QString problem = differences(text, plain);
            QVERIFY2(problem.isEmpty(), qPrintable(u"step %1: %2"_s.arg(step).arg(problem)));
        }
    }
    void joinsNeighboursByValueAndKeepsObjectsApart()
    {
        const NSFont font = NSFont::fontWithName(u"Georgia-Bold"_s, 12);
        NSMutableAttributedString text;
        text.append(u"a"_s, {{NSFontAttributeName, QVariant::fromValue(font)}, {kKey, 1}});
        text.append(u"b"_s, {{kKey, 1.0}, {NSFontAttributeName, QVariant::fromValue(font)}});
        QCOMPARE(text.runs().size(), 1);
        const auto first = QVariant::fromValue(std::make_shared<NSTextAttachment>());
        const auto second = QVariant::fromValue(std::make_shared<NSTextAttachment>());
        text.append(u"\uFFFC"_s, {{NSAttachmentAttributeName, first}});
        text.append(u"\uFFFC"_s, {{NSAttachmentAttributeName, second}});
        text.append(u"\uFFFC"_s, {{NSAttachmentAttributeName, second}});
        QCOMPARE(text.runs().size(), 3);
    }
    void rangesOfOneKeySpanRuns()
    {
        NSMutableAttributedString text(u"abcdef"_s, number(1));
        text.addAttribute(NSUnderlineStyleAttributeName, 1, {2, 2});
        NSRange range;
        QCOMPARE(text.attribute(kKey, 3, &range).toInt(), 1);
        QCOMPARE(range, (NSRange{0, 6}));
        (void)text.attribute(kKey, 3, &range, NSRange{1, 4});
        QCOMPARE(range, (NSRange{1, 4}));
        QVERIFY(!text.attribute(NSUnderlineStyleAttributeName, 5, &range).isValid());
        QCOMPARE(range, (NSRange{4, 2}));
        (void)text.attributesAtIndex(6, &range);
        QCOMPARE(range.location, NSNotFound);
    }
    void clipsAnyRange()
    {
        const NSAttributedString text(u"abc"_s);
        constexpr qsizetype most = std::numeric_limits<qsizetype>::max();
        QCOMPARE(text.attributedSubstringFromRange({1, most}).string(), u"bc"_s);
        QCOMPARE(text.attributedSubstringFromRange({-1, 2}).string(), u"a"_s);
        QVERIFY(text.attributedSubstringFromRange({most, 1}).isEmpty());
        QVERIFY(text.attributedSubstringFromRange({2, -5}).isEmpty());
        QVERIFY(text.attributedSubstringFromRange({-most, most}).isEmpty());
    }
    void copiesAreIndependent()
    {
        NSMutableAttributedString text(u"abc"_s, number(1));
        const NSAttributedString copy = text.copy();
        text.replaceCharactersInRange({0, 1}, u"XY"_s);
        text.setAttributes(number(2), {2, 2});
        QCOMPARE(copy, NSAttributedString(u"abc"_s, number(1)));
        QCOMPARE(text.string(), u"XYbc"_s);
        QCOMPARE(text.attributesAtIndex(1), number(1));
    }
    void appendsToItself()
    {
        NSMutableAttributedString text(u"a"_s, number(1));
        text.append(u"b"_s, number(2));
        text.append(text);
        QCOMPARE(text.string(), u"abab"_s);
        QCOMPARE(text.runs().size(), 4);
    }
    void dictionariesStoreNoNil()
    {
        const NSAttributeDictionary attributes{{kKey, QString()},
                                               {NSToolTipAttributeName, u"a"_s},
                                               {kKey, 2},
                                               {NSAttributeKey(), 3},
                                               {NSToolTipAttributeName, QVariant()}};
        QCOMPARE(attributes.count(), 1);
        QCOMPARE(attributes.value(kKey), QVariant(2));
        QVERIFY(!attributes.find<QString>(kKey));
        QVERIFY(attributes.withValue(kKey, {}).isEmpty());
        QCOMPARE(attributes.withoutKey(kKey), NSAttributeDictionary());
    }
};

QTEST_APPLESS_MAIN(NSAttributedStringTest)
#include "NSAttributedStringTest.moc"
