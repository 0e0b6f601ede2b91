#include "export/CVHTML.h"
#include "platform/NSUserDefaults.h"
#include "platform/QFReport.h"
#include "tests/Rows.h"
#include "tests/export/Styled.h"

#include <QTemporaryDir>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QString exported(const NSAttributedString &text, const QString &HTMLTemplate = u"%content%"_s)
{
    return CVHTML().exportAttributedString(text, u"/nowhere"_s, u"files"_s, u"p"_s, HTMLTemplate,
                                           u"content"_s);
}

QVariantMap directive(const char16_t *name, const char16_t *tag)
{
    return {{u"name"_s, QString::fromUtf16(name)}, {u"tag"_s, QString::fromUtf16(tag)}};
}

NSAttributedString letter(const std::vector<NSAttributeDictionary::Entry> &attributes)
{
    return NSAttributedString(u"x"_s, NSAttributeDictionary(attributes));
}

void addRow(const char *name, const NSAttributedString &text, const char16_t *html)
{
    QTest::newRow(name) << text << QString::fromUtf16(html);
}

} // namespace

/// What comes out for a styled text: the walk, character styles, alignment, lists and directives.
class CVHTMLTest : public QObject
{
    Q_OBJECT

    QTemporaryDir _preferences;

private Q_SLOTS:
    void initTestCase() { NSUserDefaults::standardUserDefaults().setFolder(_preferences.path()); }

    void exports_data()
    {
        QTest::addColumn<NSAttributedString>("text");
        QTest::addColumn<QString>("html");
        plainRows();
        fontRows();
        paragraphRows();
        listRows();
        directiveRows();
    }
    void exports()
    {
        QFETCH(NSAttributedString, text);
        QTEST(exported(text), "html");
    }

    void fillsTemplates_data()
    {
        const Rows<NSAttributedString, QString, QString> row({"text", "HTMLTemplate", "page"});
        const NSAttributedString text(u"a%content%\n"_s);
        row("every placeholder, content not rescanned", text, u"T %content%\n%content%%"_s,
            u"T a%content%<br />\na%content%<br />%"_s);
        row("no placeholder", text, u"<p>"_s, u"<p>"_s);
        row("nil template", text, {}, u""_s);
        row("empty text", {}, u"<p>%content%</p>"_s, u"<p></p>"_s);
        row("a list item is a whole page", styled({{u"\t-\tx", {listed({u"disc"})}}}), u"[%content%\n]"_s,
            u"[<ul class=\"disc\"><li>[x<br />]</li></ul>\n]"_s);
    }
    void fillsTemplates()
    {
        QFETCH(NSAttributedString, text);
        QFETCH(QString, HTMLTemplate);
        QTEST(exported(text, HTMLTemplate), "page");
        QVERIFY(!exported(text, HTMLTemplate).isNull());
    }

    void writesUnknownFontsOnlyWhenAllowed()
    {
        CVHTML exporter;
        exporter.setAllowWebUnsafeFonts(true);
        const auto html = [&exporter](const char16_t *name) {
            const NSAttributedString text = letter({font(name, 9.9F), colour(1, 0, 0)});
            return exporter.exportAttributedString(text, u"/nowhere"_s, u"p"_s);
        };
        // The weight is lost with the font and comes back only with the colour.
        QCOMPARE(html(u"Futura-Bold"),
                 u"<span style=\"font-size:9px; font-family:Futura-Bold; color:#ff0000; "
                 "font-weight:bold; \">x</span>"_s);
        QCOMPARE(html(u"Georgia"), u"<span style=\"font:9px Georgia, serif; color:#ff0000; \">x</span>"_s);
        QCOMPARE(
            html(u"\"><script>"),
            u"<span style=\"font:9px Verdana, Arial, Helvetica, sans-serif; color:#ff0000; \">x</span>"_s);
    }
    void comparesWithTheUsersFont()
    {
        NSFont::setUserFont(NSFont::fontWithName(u"Georgia"_s, 14));
        const QString html = exported(letter({font(u"Georgia-Italic", 14)}));
        NSFont::setUserFont(NSFont::fontWithName(u"Helvetica"_s, 12));
        QCOMPARE(html, u"<em>x</em>"_s);
    }
    void uppercasesColoursOnRequest()
    {
        NSUserDefaults &defaults = NSUserDefaults::standardUserDefaults();
        defaults.setObject(true, u"uppercaseColorCodes"_s);
        const QString html = exported(letter({colour(0.67F, 1, 0)}));
        defaults.removeObjectForKey(u"uppercaseColorCodes"_s);
        QCOMPARE(html, u"<span style=\"color:#AAFF00; \">x</span>"_s);
    }
    void truncatesColoursToBytes()
    {
        for (int n = 0; n < 256; ++n) {
            const float component = static_cast<float>(n) / 255.0F;
            const QString html = exported(letter({colour(component, 0.5F, 0.7F)}));
            const QString code = QString::number(n, 16).rightJustified(2, u'0');
            QCOMPARE(html, u"<span style=\"color:#"_s + code + u"7fb2; \">x</span>"_s);
        }
    }

    void keepsTheLastDirectiveButNotItsState()
    {
        CVHTML exporter;
        const auto html = [&exporter](const NSAttributedString &text) {
            return exporter.exportAttributedString(text, u"/nowhere"_s, u"p"_s);
        };
        QCOMPARE(html(letter({directed(directive(u"a", u"h2"))})), u"<h2>x</h2>"_s);
        QCOMPARE(exporter.currentMarkupAttribute(), directive(u"a", u"h2"));
        QCOMPARE(html(NSAttributedString(u"y"_s)), u"y"_s);
        QCOMPARE(html(styled({{u"z", {directed(directive(u"b", u"h3"))}}})), u"<h3>z</h3>"_s);
    }
    void reportsWhatIsDropped()
    {
        QFReport report;
        const QFReport::Installed installed(report);
        const NSAttributedString text =
            styled({{u"ab", {}}, {u"\t-\tx\nlost\n", {listed({u"disc"})}}, {u"c", {linked(QFLinkPtr())}}});
        QCOMPARE(exported(text), u"ab<ul class=\"disc\"><li>x</li></ul>c"_s);
        QCOMPARE(report.records().size(), 1);
        QCOMPARE(report.records().constFirst().kind, u"dropped-list-line"_s);
        QCOMPARE(report.records().constFirst().range, (NSRange{7, 4}));
    }
    void endsAtDeepLists()
    {
        NSParagraphStyle style;
        style.textLists.resize(1000, {u"{disc}"_s});
        NSMutableAttributedString text;
        text.append(u"\t-\t\t-\tdeep"_s, NSAttributeDictionary{paragraph(style)});
        const QString html = exported(text.copy());
        QVERIFY(html.contains(u"deep"_s));
        QCOMPARE(html.count(u"<li>"_s), html.count(u"</li>"_s));
        QVERIFY(html.count(u"<li>"_s) <= 64);
    }
    void endsAtTemplatesThatDouble()
    {
        NSParagraphStyle style;
        style.textLists.resize(60, {u"{disc}"_s});
        const NSAttributedString text(u"\t-\tdeep"_s, NSAttributeDictionary{paragraph(style)});
        const QString html = exported(text, u"%content%\n%content%"_s);
        QVERIFY(html.contains(u"deep<br />"_s));
        QVERIFY(html.size() < qsizetype(1) << 29);
    }
    void keepsBreaksOfCloseTagsApart()
    {
        // At an item's end the tag's own break comes to the text's, and the two make no pair.
        const QVariantMap tag{{u"opentag"_s, u""_s}, {u"closetag"_s, u"\n"_s}};
        NSParagraphStyle style;
        style.textLists = {{u"{disc}"_s}};
        const NSAttributedString text =
            styled({{u"\t-\ta\r", {paragraph(style)}}, {u"b", {paragraph(style), directed(tag)}}});
        QCOMPARE(exported(text), u"<ul class=\"disc\"><li>a<br />b<br /></li></ul>"_s);
    }
    void ignoresAttributesOfWrongTypes()
    {
        const NSAttributedString text = letter({{NSFontAttributeName, u"Georgia"_s},
                                                {NSForegroundColorAttributeName, 1},
                                                {NSParagraphStyleAttributeName, QVariantMap()},
                                                {NSAttachmentAttributeName, u"file"_s},
                                                {kQFTextViewMarkupDirectivesAttributeName, u"h2"_s}});
        QCOMPARE(exported(text), u"x"_s);
    }
    void exportsTheSameLetterByLetter()
    {
        // Dictionaries made afresh for each letter are equal, not shared.
        const auto piece = [](int i) {
            return styled(
                {{u"\r\n\té&",
                  {font(i % 3 ? u"Georgia" : u"Courier-Bold", 12), aligned(NSTextAlignment(i % 4))}}});
        };
        NSMutableAttributedString whole;
        NSMutableAttributedString letters;
        for (int i = 0; i < 2000; ++i) {
            whole.append(piece(i));
            for (qsizetype unit = 0; unit < piece(i).length(); ++unit)
                letters.append(piece(i).attributedSubstringFromRange({unit, 1}));
        }
        QCOMPARE(exported(letters.copy()), exported(whole.copy()));
    }

private:
    static void plainRows()
    {
        addRow("line breaks", styled({{u"a\nb\r\nc\rd", {}}}), u"a<br />b<br />c<br />d");
        addRow("a pair split between runs", styled({{u"a\r", {}}, {u"\nb", {{NSAttributeKey(u"k"), 1}}}}),
               u"a<br />b");
        addRow("a pair with a tag between", styled({{u"a\r", {}}, {u"\nb", {font(u"Helvetica-Bold", 12)}}}),
               u"a<br /><strong><br />b</strong>");
        addRow("markup stays, accents go", styled({{u"<b>é & \"x\"</b>\uFFFC", {}}}),
               u"<b>&eacute; & \"x\"</b>\uFFFC");
        addRow("raw text loses its line breaks", styled({{u"a\nb<?php\r\n?>", {raw()}}}), u"ab<?php ?>");
        addRow("false is not raw", styled({{u"a\nb", {{kQFTextViewIgnoreFormattingAttributeName, false}}}}),
               u"a<br />b");
        addRow("raw text has no link or style",
               letter({raw(), linked(u"a.html"), font(u"Georgia-Bold", 20), aligned(NSTextAlignment::Right)}),
               u"x");
    }
    static void fontRows()
    {
        addRow("default family and size", letter({font(u"Helvetica", 12)}), u"x");
        addRow("bold and italic only",
               letter({font(u"Helvetica-BoldOblique", 12), {NSUnderlineStyleAttributeName, 0}}),
               u"<strong><em><u>x</u></em></strong>");
        addRow("other family", letter({font(u"Georgia-Bold", 14)}),
               u"<span style=\"font:14px Georgia, serif; font-weight:bold; \">x</span>");
        addRow(
            "weight twice", letter({font(u"Helvetica-Bold", 18.7F), colour(1, 0, 0)}),
            u"<span style=\"font-size:18px; font-weight:bold; color:#ff0000; font-weight:bold; \">x</span>");
        addRow("the size printed may be the default's", letter({font(u"Helvetica", 12.5F)}),
               u"<span style=\"font-size:12px; \">x</span>");
        addRow("not a number", letter({font(u"Helvetica", NAN)}),
               u"<span style=\"font-size:0px; \">x</span>");
        addRow("underline without font", letter({{NSUnderlineStyleAttributeName, 1}, colour(0, 0, 0)}),
               u"<span style=\"color:#000000; \">x</span>");
        addRow(
            "unknown font", letter({font(u"Futura-Bold", 9)}),
            u"<span style=\"font:9px Verdana, Arial, Helvetica, sans-serif; font-weight:bold; \">x</span>");
        addRow("pattern colour",
               letter({{NSForegroundColorAttributeName,
                        QVariant::fromValue(NSColor{1, 1, 1, 1, NSColorSpaceName::Pattern})}}),
               u"x");
        addRow("link inside the styles", letter({font(u"Helvetica-Oblique", 12), linked(u"o.html?a=\"&b")}),
               u"<em><a href=\"o.html?a=\"&b\">x</a></em>");
    }
    static void paragraphRows()
    {
        using enum NSTextAlignment;
        addRow("left needs no paragraph", letter({aligned(Left)}), u"x");
        addRow(
            "opened on change only",
            styled({{u"a\n", {aligned(Center)}},
                    {u"b\n", {aligned(Natural)}},
                    {u"c\n", {}},
                    {u"d", {aligned(Center)}},
                    {u"e", {aligned(Left)}}}),
            u"<p style=\"text-align:center;\">a<br />b<br />c<br />d</p><p style=\"text-align:left;\">e</p>");
        addRow("natural by direction",
               styled({{u"a", {aligned(Natural, NSWritingDirection::RightToLeft)}},
                       {u"b", {aligned(Natural, NSWritingDirection::LeftToRight)}}}),
               u"<p style=\"text-align:right;\">a</p><p style=\"text-align:left;\">b</p>");
        addRow("justified and unknown",
               styled({{u"a", {aligned(Justified)}}, {u"b", {aligned(NSTextAlignment(9))}}}),
               u"<p style=\"text-align:justify;\">a</p><p style=\"text-align:left;\">b</p>");
    }
    static void listRows()
    {
        addRow("two items", styled({{u"\t•\tOne\n\t•\tTwo", {listed({u"disc"})}}}),
               u"<ul class=\"disc\"><li>One</li><li>Two</li></ul>");
        addRow("ordered", styled({{u"\t1.\tA\n\n", {listed({u"decimal"})}}, {u"b", {}}}),
               u"<ol class=\"arabic-numbers\"><li>A</li></ol>b");
        addRow("unknown marker, no line with a marker", styled({{u"x\ty", {listed({u"hyphen"})}}}),
               u"<ul class=\"(null)\"></ul>");
        addRow("blank lines only", styled({{u"a", {}}, {u"\n\n", {listed({u"disc"})}}}), u"a");
        addRow("a bold word does not end it",
               styled({{u"\t-\ta ", {listed({u"disc"})}},
                       {u"b\n", {listed({u"disc"}), font(u"Helvetica-Bold", 12)}},
                       {u"\t-\tc", {listed({u"disc"})}}}),
               u"<ul class=\"disc\"><li>a <strong>b</strong></li><li>c</li></ul>");
        addRow(
            "inner list, one marker",
            styled({{u"\t•\tOuter\n", {listed({u"disc"})}}, {u"\t◦\tInner", {listed({u"disc", u"circle"})}}}),
            u"<ul class=\"disc\"><li>Outer</li></ul>"
            u"<ul class=\"disc\"><li><ul class=\"circle\"><li>Inner</li></ul></li></ul>");
        addRow("inner list, both markers", styled({{u"\t•\t\t◦\tInner", {listed({u"disc", u"circle"})}}}),
               u"<ul class=\"disc\"><li><ul class=\"circle\"><li>Inner</li></ul></li></ul>");
        addRow("inside an open paragraph",
               styled({{u"a", {aligned(NSTextAlignment::Right)}}, {u"\t-\tb", {listed({u"square"})}}}),
               u"<p style=\"text-align:right;\">a<ul class=\"square\"><li>b</li></ul></p>");
        addRow(
            "alignment inside an item starts anew",
            [] {
                NSParagraphStyle style;
                style.alignment = NSTextAlignment::Center;
                style.textLists = {{u"{disc}"_s}};
                return styled({{u"\t-\tb", {paragraph(style)}}});
            }(),
            u"<ul class=\"disc\"><li><p style=\"text-align:center;\">b</p></li></ul>");
    }
    static void directiveRows()
    {
        const auto h2 = directed(directive(u"Heading", u"h2"));
        addRow("goes on over runs of its name",
               styled({{u"a\n", {h2}}, {u"b", {h2, font(u"Georgia-Bold", 20)}}, {u"c", {}}}),
               u"<h2>ab</h2>c");
        addRow("closed before another", styled({{u"a", {h2}}, {u"b", {directed(directive(u"Quote", u"q"))}}}),
               u"<h2>a</h2><q>b</q>");
        addRow("closes with the later run's tag",
               styled({{u"a", {h2}}, {u"b", {directed(directive(u"Heading", u"h3"))}}}), u"<h2>ab</h3>");
        addRow("without a name each stands alone",
               styled({{u"a", {directed({{u"tag"_s, u"i"_s}})}}, {u"b", {directed({{u"tag"_s, u"b"_s}})}}}),
               u"<i>a</i><b>b</b>");
        addRow("paragraph break inside",
               styled({{u"a", {directed({{u"name"_s, u"n"_s}, {u"tag"_s, u"h2"_s}, {u"ptag"_s, true}})}},
                       {u"b", {}}}),
               u"<h2><p>a</p></h2>b");
        addRow(
            "own tags win, even empty ones; newlines at the very end stay",
            styled({{u"a",
                     {directed({{u"tag"_s, u"h2"_s}, {u"opentag"_s, u"\n"_s}, {u"closetag"_s, u"\n"_s}})}}}),
            u"<br />a\n");
        addRow("closed before a raw run, once", styled({{u"a", {h2}}, {u"b", {raw()}}, {u"c", {}}}),
               u"<h2>a</h2>bc");
        addRow("closed before a list",
               styled({{u"a", {h2}}, {u"\t-\tb", {listed({u"disc"}), h2}}, {u"\t-\tc", {listed({u"disc"})}}}),
               u"<h2>a\t-\tb</h2><ul class=\"disc\"><li>c</li></ul>");
        addRow("links are honoured, styles are not",
               styled({{u"a", {h2, linked(u"x.html"), aligned(NSTextAlignment::Right)}}}),
               u"<h2><a href=\"x.html\">a</a></h2>");
    }
};

QTEST_APPLESS_MAIN(CVHTMLTest)
#include "CVHTMLTest.moc"
