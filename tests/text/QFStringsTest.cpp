#include "text/QFStrings.h"

#include "tests/Rows.h"
#include "tests/text/TextTestData.h"

using namespace Qt::StringLiterals;

class QFStringsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void escapesLikeUnitByUnit();
    void escapesForPHP();
    void knowsWhatNeedsConversion();
    void convertsToNumericalReferences();
    void replacesCanonicalEquivalents_data();
    void replacesCanonicalEquivalents();
    void replacesFromALongTextInReasonableTime();
    void tellsValidFilenames();
    void makesSafeFilenames_data();
    void makesSafeFilenames();
    void tidiesSeparators();
};

void QFStringsTest::escapesLikeUnitByUnit()
{
    QRandomGenerator random(20240607);
    // Half of the alphabet special, then one unit in twenty: dense blocks and blocks with single hits. Some
    // units look special in their low byte.
    for (const QString &alphabet : {u"<>&'\"abc\u00E9\u2026"_s, u"<abcdefghijklmnop\u0122\u3C3E\xD800\0"_s}) {
        for (const qsizetype length : lengthsAroundBlocks()) {
            const QString text = randomText(random, alphabet, length);
            QString expected;
            for (const QChar unit : text) {
                const qsizetype special = QStringView(u"<>&'\"").indexOf(unit);
                expected += special < 0 ? QString(unit)
                                        : QStringList{u"&lt;"_s, u"&gt;"_s, u"&amp;"_s, u"&apos;"_s,
                                                      u"&quot;"_s}[special];
            }
            QCOMPARE(QFStringUtilities::stringEscapedForXMLElementText(text), expected);
            QCOMPARE(QFStringUtilities::stringEscapedForHTMLElementText(text), expected);
            QCOMPARE(QFStringUtilities::stringEscapedForHTMLAttribute(text), expected);
        }
    }
}

void QFStringsTest::escapesForPHP()
{
    QCOMPARE(QFStringUtilities::stringEscapedForInclusionInSingleQuotedPHPString(uR"(it's "C:\dir" $x)"_s),
             uR"(it\'s "C:\\dir" $x)"_s);
    // An apostrophe is one whatever follows: nothing breaks out of the literal.
    QCOMPARE(QFStringUtilities::stringEscapedForInclusionInSingleQuotedPHPString(u"'\u0301\\\u0338"_s),
             u"\\'\u0301\\\\\u0338"_s);
}

void QFStringsTest::knowsWhatNeedsConversion()
{
    QString literal;
    for (char32_t unit = 0; unit <= 0xFFFF; ++unit)
        if (!QFStringUtilities::needsConversion(static_cast<char16_t>(unit)))
            literal += QChar(static_cast<char16_t>(unit));
    QCOMPARE(literal, u" #()+-./0123456789:;=?@ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz"_s);
}

void QFStringsTest::convertsToNumericalReferences()
{
    QCOMPARE(QFStringUtilities::convertToNumericalReferences(u"a b&c"_s, false), u"a b&#x26;c"_s);
    QCOMPARE(QFStringUtilities::convertToNumericalReferences(u"A\t"_s, true), u"&#x41;&#x9;"_s);
    QCOMPARE(QFStringUtilities::convertToNumericalReferences(u"\u00E9\u0FFF\u20AC\U0001F600"_s, false),
             u"&#xe9;&#xfff;&#x20ac;&#xd83d;&#xde00;"_s);
    // Longer than one stretch of the conversion.
    QCOMPARE(QFStringUtilities::convertToNumericalReferences(QString(9000, u'<'), false),
             u"&#x3c;"_s.repeated(9000));
}

void QFStringsTest::replacesCanonicalEquivalents_data()
{
    const Rows<QString, QString, QString, qsizetype> addRow({"text", "target", "result", "count"});
    const auto row = [&](const char *name, QStringView text, QStringView target, QStringView result,
                         qsizetype count) {
        addRow(name, text.toString(), target.toString(), result.toString(), count);
    };
    row("literal", u"one two one", u"one", u"[] two []", 2);
    row("hits do not overlap", u"aaaaa", u"aa", u"[][]a", 2);
    row("empty target", u"abc", u"", u"abc", 0);
    row("composed finds decomposed", u"caf\u0065\u0301s caf\u00E9", u"\u00E9", u"caf[]s caf[]", 2);
    row("decomposed finds composed", u"caf\u00E9s", u"fe\u0301", u"ca[]s", 1);
    row("a base is not found under its mark", u"e\u0301 \u00E9 e", u"e", u"e\u0301 \u00E9 []", 1);
    row("order of marks does not matter", u"q\u0307\u0323 q\u0323\u0307", u"q\u0323\u0307", u"[] []", 2);
    row("marks at the start of the target", u"a\u0301\u0323b", u"\u0323\u0301b", u"a[]", 1);
    row("singleton", u"5 \u212B", u"\u00C5", u"5 []", 1);
    row("Hangul syllable and its letters", u"\u1112\u1161\u11AB \uD55C", u"\uD55C", u"[] []", 2);
    row("shorter when decomposed", u"x\U0002F800y", u"\u4E3Dy", u"x[]", 1);
    row("no hit inside a surrogate pair", u"\U0001F600", u"\xDE00", u"\U0001F600", 0);
    row("compatibility is no equivalence", u"\uFB01", u"fi", u"\uFB01", 0);
    row("target longer than the text", u"\u00E9", u"\u00E9\u00E9", u"\u00E9", 0);
}

void QFStringsTest::replacesCanonicalEquivalents()
{
    QFETCH(QString, text);
    QFETCH(QString, target);
    QTEST(QFStringUtilities::replaceOccurrencesOfString(text, target, u"[]"_s), "count");
    QTEST(text, "result");
}

void QFStringsTest::replacesFromALongTextInReasonableTime()
{
    // A million marks on one letter: found as one character, not searched from each of them to the end.
    QString text = u"e"_s + QString(1000000, QChar(u'\u0301')) + u"\u00E9"_s;
    QCOMPARE(QFStringUtilities::replaceOccurrencesOfString(text, u"\u00E9"_s, u"x"_s), 1);
    QCOMPARE(text.size(), 1000002);
}

void QFStringsTest::tellsValidFilenames()
{
    // Of a path only the last component counts.
    for (const QString &path : {u"my page.html"_s, u"a_B-9.d"_s, u""_s, u".."_s, u"dir/x?y/ok.html"_s})
        QVERIFY2(QFStringUtilities::validWebFilename(path), qPrintable(path));
    for (const QString &path : {u"dir/x?y/"_s, u"/"_s, u"é.html"_s, u"a+b.html"_s, u"a\0b"_s, u"a\xD800"_s})
        QVERIFY2(!QFStringUtilities::validWebFilename(path), qPrintable(path));
}

void QFStringsTest::makesSafeFilenames_data()
{
    const Rows<QString, QString> row({"text", "safe"});
    row("words", u"Café Menu"_s, u"caf00e9-menu"_s);
    row("slashes are units like others", u"x/Y"_s, u"x002fy"_s);
    row("surrogate halves", u"\U0001F600"_s, u"d83dde00"_s);
    row("NUL and a letter that has no lower case", u"\0\u0130"_s, u"00000130"_s);
    row("dots stay", u".."_s, u".."_s);
    row("unsafe only", u"  ++"_s, u"--002b002b"_s);
    row("empty", u""_s, u""_s);
    row("long", QString(1000000, u'é'), u"00e9"_s.repeated(1000000));
}

void QFStringsTest::makesSafeFilenames()
{
    QFETCH(QString, text);
    QTEST(QFStringUtilities::stringEscapedForFilename(text), "safe");
}

void QFStringsTest::tidiesSeparators()
{
    QCOMPARE(QFStringUtilities::stripRepeatedPathSeparators(u"a///b//c"_s), u"a/b/c"_s);
    QCOMPARE(QFStringUtilities::stripRepeatedPathSeparators(u"//a/"_s), u"/a/"_s);
    QCOMPARE(QFStringUtilities::stripRepeatedPathSeparators(u"http://a"_s), u"http:/a"_s);
    for (QString path : {u""_s, u"dir"_s, u"dir/"_s, u"/"_s}) {
        const QString expected = path.endsWith(u'/') ? path : QString(path + u'/');
        QFStringUtilities::appendForwardSlash(path);
        QCOMPARE(path, expected);
    }
}

QTEST_APPLESS_MAIN(QFStringsTest)
#include "QFStringsTest.moc"
