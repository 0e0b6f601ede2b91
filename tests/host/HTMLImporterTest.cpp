#include "host/HTMLImporter.h"
#include "StyledDump.h"
#include "host/MarkdownImporter.h"

#include "media/NSAttributedString+Attachments.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "tests/Files.h"
#include "tests/Rows.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class HTMLImporterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void readsHTML_data();
    void readsHTML();
    void sizesPictures_data();
    void sizesPictures();
    void readsMarkdown_data();
    void readsMarkdown();
    void readsEncodings_data();
    void readsEncodings();
    void staysInTheDocumentsFolder();
    void sharesDictionariesAndCells();
    void survivesHostileInput_data();
    void survivesHostileInput();

private:
    QTemporaryDir _folder;
    QString _documents; ///< a folder inside; the documents lie here
};

void HTMLImporterTest::initTestCase()
{
    _documents = _folder.filePath(u"documents"_s);
    for (const QString &path : {_folder.filePath(u"secret.png"_s), _documents + u"/a b.png"_s,
                                _documents + u"/pictures/c.png"_s, _documents + u"/pictures/a b.png"_s}) {
        QVERIFY(write(path, path.toUtf8()));
    }
    QVERIFY(QFile::link(_folder.filePath(u"secret.png"_s), _documents + u"/link.png"_s));
}

void HTMLImporterTest::readsHTML_data()
{
    const Rows<QByteArray, QByteArray> row({"html", "dump"});
    row("nothing", "", "");
    row("blanks collapse, also between elements", " <p> a \n b<b> c</b> <i> d </i> e </p> ",
        "[]a b[b] c[] [i]d []e");
    row("an empty line between paragraphs", "<p>a<p>b<div>c</div><div>d</div>", "[]a↵↵b↵↵c↵d");
    row("breaks: the last one of a paragraph is its end", "<p>a<br>b<br></p><p>c", "[]a↵b↵↵c");
    row("headings keep their empty line in body size", "<h1>T</h1>x", "[b 24]T↵[]↵x");
    row("faces and sizes", "<b><i>x</i></b><u>u</u><code>c</code><small>s</small><big>l</big>",
        "[b i]x[u]u[Courier]c[10]s[14]l");
    row("superscripts are directives", "x<sup>2</sup>", "[]x[<sup>]2");
    row("fonts and colours of style attributes",
        "<span style='color:#F00;font:bold 14px Georgia, serif'>a</span>"
        "<font color=navy face='Unknown,Verdana' size=5>b</font><span style='font-family:Nowhere'>c</span>",
        "[Georgia-Bold b 14 #255/0/0]a[Verdana 18 #0/0/128]b[]c");
    row("slanted Courier keeps a name that exports", "<code><i>x</i></code>", "[Courier i]x");
    row("alignments", "<p align=right>r<center>c</center><p style='text-align:justify'>j<p dir=rtl>x",
        "[right]r↵↵[center]c↵↵[justified]j↵↵[right]x");
    row("hidden and foreign content",
        "a<script>'<p>'</script><style>p{}</style><title>t</title>"
        "<p style='display:none'>h<b>i</b></p><select><option>o</select>b<!-- <p> -->",
        "[]ab");
    row("text that would be markup stays text",
        "<p>vector&lt;int&gt; a &lt; b AT&amp;T &amp; co &amp;lt; &#60;/p>",
        "[]vector&lt;int> a < b AT&amp;T & co &amp;lt; &lt;/p>");
    row("references", "&eacute;&#233;&#xE9;&#x80;&nope;&hearts; &#xD800;&#0;&#1114112;&apos;",
        "[]ééé€&amp;nope;♥ \uFFFD\uFFFD\uFFFD'");
    row("references without an end", "don&#8217t &#x41g &eacute, &hearts <a href='?x=1&copy=2&amp=3'>l</a>",
        "[]don’t Ag é, &amp;hearts [->?x=1&copy=2&amp=3]l");
    row("heads without an end: a body", "<head><title>T</title><meta name=x><body>a", "[]a");
    row("heads without an end: a paragraph", "<head><style>p{}</style><p>a", "[]a");
    row("heads without an end: text", "<head> <title>T</title> a", "[]a");
    row("drawings that end at once", "a<svg width=1 />b<svg><text>t</text></svg>c", "[]abc");
    row("lists", "<p>t<ul><li>a<li>b <b>c</b></ul><ol start=3><li>x<li value=9>y</ol>z",
        "[]t↵[{disc}]→•→a↵→•→b [b {disc}]c↵[{decimal}]→3.→x↵→9.→y↵[]z");
    row("nested lists carry all lists", "<ul><li>a<ul><li>b<ul><li>c</ul></ul>d<li>e</ul>",
        "[{disc}]→•→a↵[{disc}{circle}]→◦→b↵[{disc}{circle}{square}]→▪→c↵[{disc}]→→d↵→•→e");
    row("an item is one line", "<ul><li><p>a</p><p>b<br>c</p><li>d\te</ul>",
        "[{disc}]→•→a[{disc} raw]<br /><br />[{disc}]b[{disc} raw]<br />[{disc}]c↵→•→d e");
    row("list markers",
        "<ol type=A><li>a</ol><ol type=i><li>a<li>b<li>c<li>d</ol><ol style='list-style-type:lower-alpha' "
        "start=26><li>z<li>aa</ol>",
        "[{upper-alpha}]→A.→a↵[{lower-roman}]→i.→a↵→ii.→b↵→iii.→c↵→iv.→d↵[{lower-alpha}]→z.→z↵→aa.→aa");
    row("links",
        "<a href='a.html'>a</a> <a href='http://x/?a=1&amp;b=2\"&lt;' title='T' rel=nofollow>b</a>"
        "<a name=q>no link</a>",
        "[->a.html]a[] [=>http://x/?a=1&b=2%22%3C|self|T|nofollow]b[]no link");
    row("places that links lead to are raw anchors", "<h2 id=x>T</h2><p id=y><a href='#x'>x</a>",
        "[raw]<a id=\"x\"></a>[b 18]T↵[]↵[->#x]x");
    row("tables with spans", "<table><tr><th rowspan=2>a<td colspan=2>b<tr><td>c<td>d</table>e",
        "[b 0,0:2x1/3]a↵[0,1:1x2/3]b↵[1,1:1x1/3]c↵[1,2:1x1/3]d↵[]e");
    row("short rows are filled", "<table><tr><td>a<tr><td>b<td>c<tr></table>",
        "[0,0:1x1/2]a↵[0,1:1x1/2]↵[1,0:1x1/2]b↵[1,1:1x1/2]c↵[2,0:1x1/2]↵[2,1:1x1/2]↵");
    row("lists and tables inside cells",
        "<table><tr><td><ul><li>a<li>b</ul><td><table><tr><td>c<td>d<tr><td>e</table></table>",
        "[0,0:1x1/2]• a↵• b↵[0,1:1x1/2]c d↵e↵");
    row("what follows a table closes it", "<table><tr><td>a</table><ul><li>b</ul>",
        "[0,0:1x1/1]a↵[]↵[{disc}]→•→b");
    row("preformatted text", "<pre>\n a  b\n\n\tc</pre><p>x",
        "[Courier]\u00A0a \u00A0b↵↵\u00A0\u00A0\u00A0\u00A0\u00A0\u00A0\u00A0\u00A0"
        "c↵[]↵x");
    row("carriage returns do not hide markup", "<pre>&lt;&#13;script&gt;<p title='<&#13;b'>&amp;&#13;lt;",
        "[Courier]&lt;script>↵[]↵[Courier]&amp;lt;");
    row("tabs reach columns of the line, not of the piece", "<pre>ab<b>c</b>\td\n<i>e</i>\tf",
        "[Courier]ab[Courier-Bold b]c[Courier]\u00A0\u00A0\u00A0\u00A0\u00A0d↵[Courier "
        "i]e[Courier]\u00A0\u00A0"
        "\u00A0\u00A0\u00A0\u00A0\u00A0f");
    row("rules and quotations", "<p>a<hr><blockquote><p>q</blockquote>b", "[]a↵[raw]<hr />↵[i]q↵[]↵b");
    row("pictures",
        "<img src='a%20b.png' alt='x \"y\"' width=20><ul><li><img src='pictures/a%20b.png'></ul>"
        "<img src=http://e/x.png alt=far>",
        "[a b.png|x &quot;y&quot;|20|]\uFFFC[]↵[{disc}]→•→[{disc} a b.png|||a "
        "b.png]\uFFFC[{disc}]↵[->http://e/x.png]far");
    row("pictures in addresses", "<img src='data:image/svg+xml;base64,QQ=='>", "[image.svg|||]\uFFFC");
    row("crossed and missing end tags", "<b><i>x</b>y</i></div></td><td>z<p>a</span>b", "[b i]x[]yz↵↵ab");
}

void HTMLImporterTest::readsHTML()
{
    QFETCH(QByteArray, html);
    QTEST(dumped(HTMLImporter::read(html, _documents)).toUtf8(), "dump");
}

void HTMLImporterTest::sizesPictures_data()
{
    addRows({"size", "attributes"}, uR"(
smaller, one side   | width=20           | 20 15 true 0.5
smaller, other side | height=15          | 20 15 true 0.5
smaller, rounded    | width=15 height=11 | 15 11 true 0.375
other proportions   | width=20 height=25 | 20 25 false 1
larger              | width=80           | 80 60 true 1
)"_s);
}

void HTMLImporterTest::sizesPictures()
{
    QFETCH(const QString, size);
    // The exporter would only link to a BMP file, so it becomes one that browsers show.
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImage(40, 30, QImage::Format_RGB32).save(&buffer, "BMP");
    const NSAttributedString text = HTMLImporter::read(
        "<img src='data:image/bmp;base64," + bytes.toBase64() + "' " + size.toUtf8() + ">", _documents);
    const auto picture = Attachments::attachments(text).value(0);
    QVERIFY(picture);
    QCOMPARE(picture->fileWrapper()->preferredFilename(), u"image.jpg"_s);
    QStringList attributes;
    for (const QString &key : {u"width"_s, u"height"_s, u"lockratios"_s, u"scale"_s})
        attributes += picture->mediaAttributes().value(key).toString();
    QTEST(attributes.join(u' '), "attributes");
}

void HTMLImporterTest::readsMarkdown_data()
{
    const Rows<QByteArray, QString> row({"markdown", "dump"});
    row("inline marks", "a **b** *c* `d <e>` [l](u \"T\") <i>h</i> \\*",
        u"[]a [b]b[] [i]c[] [Courier]d &lt;e>[] [=>u|self|T|]l[] [i]h[] *"_s);
    row("blocks", "# H\n\n> q\n\n```c\nx  y\n```\n\n1. a\n\n   b\n2. c\n   - d\n\n- [x] t\n",
        u"[b 24]H↵[]↵[i]q↵[]↵[Courier]x \u00A0y↵[{decimal}]→1.→a[{decimal} raw]<br /><br />"
        "[{decimal}]b↵→2.→c↵[{decimal}{circle}]→◦→d↵[{disc}]→•→☑ t"_s);
    row("tables", "|a|b|\n|---|--:|\n|c|d|\n",
        u"[b 0,0:1x1/2]a↵[b right 0,1:1x1/2]b↵[1,0:1x1/2]c↵[right 1,1:1x1/2]d↵"_s);
    row("alternative text in pieces", "![a *b* \"c\"](pictures/c.png)",
        u"[c.png|a b &quot;c&quot;||]\uFFFC"_s);
}

void HTMLImporterTest::readsMarkdown()
{
    QFETCH(QByteArray, markdown);
    const DocumentResult result = MarkdownImporter::read(markdown, _documents);
    QVERIFY2(result.isValid(), qPrintable(result.error));
    QTEST(dumped(result.text), "dump");
}

void HTMLImporterTest::readsEncodings_data()
{
    const Rows<QByteArray, QString> row({"bytes", "text"});
    const QString windows = u"\u20AC\u2019é"_s;
    row("Windows-1252 when it is no UTF-8", "<p>\x80\x92\xE9", windows); // cut off, as UTF-8
    row("other encodings by name", "<meta charset=iso-8859-2><p>\xB1", u"ą"_s);
    row("ISO Latin 1 is Windows-1252", "<meta charset=iso-8859-1><p>\x80\x92\xE9", windows);
    row("what says that it is UTF-8 is", "<meta charset=utf-8><p>\xE9", u"\uFFFD"_s);
    row("UTF-8 when nothing is said", "<p>\xC3\xA9", u"é"_s);
    row("byte order mark", "\xEF\xBB\xBF<p>\xC3\xA9", u"é"_s);
    row("UTF-16", QByteArray("\xFF\xFE<\0p\0>\0\xE9\0", 10), u"é"_s);
    row("http-equiv", "<meta http-equiv=Content-Type content='text/html; charset=ISO-8859-1'><p>\xE9",
        u"é"_s);
}

void HTMLImporterTest::readsEncodings()
{
    QFETCH(QByteArray, bytes);
    QTEST(HTMLImporter::read(bytes, {}).string(), "text");
}

void HTMLImporterTest::staysInTheDocumentsFolder()
{
    const QString secret = _folder.filePath(u"secret.png"_s);
    for (const QString &source : {u"../secret.png"_s, u"%2e%2e/secret.png"_s, u"pictures/../../secret.png"_s,
                                  secret, u"file://"_s + secret, u"link.png"_s, u"pictures"_s,
                                  u"../../../../../../dev/zero"_s, u":/x"_s, u"none.png"_s}) {
        QFReport report;
        const QFReport::Installed collecting(report);
        const QString html = u"<img alt=x src='"_s + source + u"'>"_s;
        QCOMPARE(dumped(HTMLImporter::readText(html, _documents)), u"[]x"_s);
        QCOMPARE(report.records().size(), 1);
        QCOMPARE(report.records().constFirst().file, source);
    }
}

void HTMLImporterTest::sharesDictionariesAndCells()
{
    const NSAttributedString text = HTMLImporter::readText(
        u"<p>a <b>b</b> c <b>d</b><table><tr><td>one<p>two</p><b>three</b><td>four</table>"_s, {});
    QCOMPARE(text.runs().at(0).attributes.address(), text.runs().at(2).attributes.address());
    QCOMPARE(text.runs().at(1).attributes.address(), text.runs().at(3).attributes.address());
    const auto cellAt = [&](const QString &word) {
        const auto style = text.attribute(NSParagraphStyleAttributeName, text.string().indexOf(word));
        return style.value<NSParagraphStyle>().textBlocks.value(0);
    };
    QCOMPARE(cellAt(u"one"_s), cellAt(u"three"_s));
    QVERIFY(cellAt(u"one"_s) != cellAt(u"four"_s));
    QCOMPARE(cellAt(u"one"_s)->table, cellAt(u"four"_s)->table);
}

void HTMLImporterTest::survivesHostileInput_data()
{
    const Rows<QByteArray, QByteArray, int> row({"start", "repeated", "times"});
    row("deep blocks", "", "<div>", 200000);
    row("deep lists", "", "<ul><li>x", 50000);
    row("deep tables", "", "<table><tr><td>x", 50000);
    row("deep style", "", "<b><span style='font-size:2em'>x", 50000);
    row("end tags only", "", "</p></td></table></ul>", 50000);
    row("giant spans", "<table>", "<tr><td colspan=1000000000 rowspan=1000000000>x", 3000);
    row("endless row", "<table><tr>", "<td>x", 200000);
    row("endless list", "<ul>", "<li>x", 200000);
    row("references", "", "&amp;&#x41;&foo;&", 200000);
    row("open tags", "", "<a ", 200000);
    row("attributes", "<p ", "a='b' ", 200000);
    row("comments", "", "<!--", 200000);
    row("scripts", "", "<script>", 200000);
    row("declarations", "<p style='", "color:red;font:1px x;", 50000);
    row("places", "", "<a href='#a' id=a>x</a>", 50000);
    row("places without end", "<a href=", "#=", 500000);
    row("names of places in each other", "<a href=", "=#a", 500000);
    row("long address with many runs", "<a href='" + QByteArray(1000000, 'x') + "'>", "<b>x</b>y", 50000);
    row("NUL", "<p>", QByteArray(16, '\0'), 50000);
    row("no characters at all", "<p>", "\xED\xA0\x80\xFF\xC0", 50000);
    row("blanks", "<pre>", "\t\t\n ", 100000);
}

void HTMLImporterTest::survivesHostileInput()
{
    QFETCH(QByteArray, start);
    QFETCH(QByteArray, repeated);
    QFETCH(int, times);
    const QByteArray bytes = start + repeated.repeated(times);
    QElapsedTimer timer;
    timer.start();
    const NSAttributedString text = HTMLImporter::read(bytes, {});
    (void)MarkdownImporter::read(bytes, {});
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(text.length() < 40 * bytes.size());
    QVERIFY(!text.string().contains(QChar(0)));
}

QTEST_APPLESS_MAIN(HTMLImporterTest)
#include "HTMLImporterTest.moc"
