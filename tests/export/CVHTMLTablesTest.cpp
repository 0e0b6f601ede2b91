#include "export/CVHTML.h"
#include "tests/export/Styled.h"

#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

NSTextTablePtr table(quint64 columns,
                     NSTextTableLayoutAlgorithm layout = NSTextTableLayoutAlgorithm::Automatic)
{
    auto made = std::make_shared<NSTextTable>();
    made->numberOfColumns = columns;
    made->layoutAlgorithm = layout;
    return made;
}

NSTextTableBlockPtr cell(const NSTextTablePtr &table, qint64 column, qint64 columnSpan = 1)
{
    auto made = std::make_shared<NSTextTableBlock>();
    made->table = table;
    made->startingColumn = column;
    made->columnSpan = columnSpan;
    return made;
}

QString exported(const NSAttributedString &text)
{
    return CVHTML().exportAttributedString(text, u"/nowhere"_s, u"p"_s);
}

constexpr auto kTable = u"<table border=\"0.000000\" cellpadding=\"0.000000\" cellspacing=\"0.000000\">";
constexpr auto kRow = u"<tr height=\"0\">";
constexpr auto kCell = u"<td valign=\"top\" width=\"0\">";

/// "T", "R" and "C" stand for the plain start tags.
QString expanded(QString html)
{
    return html.replace(u"C"_s, QString::fromUtf16(kCell))
        .replace(u"R"_s, QString::fromUtf16(kRow))
        .replace(u"T"_s, QString::fromUtf16(kTable));
}

} // namespace

class CVHTMLTablesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void writesCells()
    {
        const auto t = table(2);
        const auto first = cell(t, 0);
        const auto last = cell(t, 1);
        const NSAttributedString text = styled({{u"a\n", {inCell(first)}},
                                                {u"b", {inCell(first), font(u"Helvetica-Bold", 12)}},
                                                {u"c\n", {inCell(last)}},
                                                {u"d", {inCell(last), font(u"Helvetica-Bold", 12)}},
                                                {u"e", {}}});
        // Cell and row end behind each run, not behind each cell.
        QCOMPARE(exported(text), expanded(u"TRCa<br /></td><strong>b</strong></td>Cc<br /></td></tr>"
                                          "<strong>d</strong></td></table>e"_s));
    }
    void leavesSpanningCellsOpen()
    {
        const auto t = table(3);
        const auto wide = cell(t, 0, 2);
        const auto narrow = cell(t, 2);
        const auto full = cell(t, 0, 3);
        const NSAttributedString text = styled({{u"a", {inCell(wide)}},
                                                {u"b", {inCell(narrow)}},
                                                {u"c", {inCell(full)}},
                                                {u"d", {inCell(wide)}}});
        const QString spanned2 = u"<td valign=\"top\" width=\"0\" colspan=\"2\">"_s;
        const QString spanned3 = u"<td valign=\"top\" width=\"0\" colspan=\"3\">"_s;
        // The full-width cell closes no row, so the next row has no start tag.
        QCOMPARE(exported(text), expanded(u"TR"_s) + spanned2 + expanded(u"aCb</td></tr>R"_s) + spanned3 +
                                     u"c"_s + spanned2 + u"d</table>"_s);
    }
    void writesMeasuresAndColours()
    {
        const auto t = table(4, NSTextTableLayoutAlgorithm::Fixed);
        const auto c = cell(t, 0);
        c->setWidthForLayer(NSTextBlockLayer::Border, 1.5);
        c->setWidthForLayer(NSTextBlockLayer::Padding, 2);
        c->setWidthForLayer(NSTextBlockLayer::Margin, NSRectEdge::MinX, -0.25);
        c->setBorderColor(NSColor::calibratedRGB(-0.5F, 0.5F, 2));
        c->backgroundColor = NSColor::calibratedRGB(0.7F, 0, 0, 0.1F);
        c->width = 99.9;
        c->height = -3;
        c->rowSpan = 2;
        c->verticalAlignment = NSTextBlockVerticalAlignment::Baseline;
        QCOMPARE(exported(styled({{u"x", {inCell(c)}}})),
                 u"<table border=\"1.500000\" cellpadding=\"2.000000\" "
                 u"cellspacing=\"-0.250000\"bordercolor=\"007FFF\">"
                 "<tr height=\"0\"><td valign=\"bottom\" width=\"99\" width=\"25.000000%\" rowspan=\"2\""
                 " bgcolor=\"#B20000\">x</td></table>"_s);

        const auto odd = cell(table(0, NSTextTableLayoutAlgorithm::Fixed), 0);
        odd->verticalAlignment = NSTextBlockVerticalAlignment(7);
        odd->width = NAN;
        odd->height = 1e30;
        odd->setWidthForLayer(NSTextBlockLayer::Border, INFINITY);
        odd->setBorderColor(NSColor::calibratedRGB(1, 1, 1, 0));
        QCOMPARE(exported(styled({{u"x", {inCell(odd)}}})),
                 expanded(u"T<tr height=\"2147483647\"><td width=\"0\">x</td></table>"_s));
    }
    void tellsTablesAndCellsApartByIdentity()
    {
        const auto one = table(1);
        const auto two = table(1);
        const auto again = cell(one, 0);
        const NSAttributedString text = styled({{u"a", {inCell(again)}},
                                                {u"b", {inCell(cell(one, 0))}},
                                                {u"c", {inCell(cell(two, 0))}},
                                                {u"-", {}},
                                                {u"d", {inCell(again)}}});
        QCOMPARE(exported(text), expanded(u"TRCa</td></tr>RCb</td></tr></table>TRCc</td></tr></table>-"
                                          "TRCd</td></tr></table>"_s));
    }
    void leavesAnOpenRowToTheNextTable()
    {
        const NSAttributedString text =
            styled({{u"a", {inCell(cell(table(2), 0))}}, {u"b", {inCell(cell(table(2), 0))}}});
        QCOMPARE(exported(text), expanded(u"TRCa</td></table>TCb</td></table>"_s));
    }
    void staysOpenAroundRawDirectiveAndListRuns()
    {
        const auto t = table(2);
        const NSAttributedString text =
            styled({{u"a", {inCell(cell(t, 0))}},
                    {u"r", {raw()}},
                    {u"m", {directed({{u"tag"_s, u"i"_s}})}},
                    {u"\t-\tl", {listed({u"disc"})}},
                    {u"b", {inCell(cell(t, 1)), aligned(NSTextAlignment::Right)}}});
        QCOMPARE(exported(text), expanded(u"TRCa</td>r<i>m</i><ul class=\"disc\"><li>l</li></ul></table>"
                                          "<p style=\"text-align:right;\">b</p>"_s));
    }
    void opensParagraphsInsideCells()
    {
        NSParagraphStyle style;
        style.alignment = NSTextAlignment::Center;
        style.textBlocks = {cell(table(1), 0)};
        QCOMPARE(exported(styled({{u"x", {paragraph(style)}}})),
                 expanded(u"TRC<p style=\"text-align:center;\">x</td></tr></table></p>"_s));
    }
    void ignoresABlockWithoutTable()
    {
        QCOMPARE(exported(styled({{u"x", {inCell(cell(nullptr, 0))}}})), u"x"_s);
    }
};

QTEST_APPLESS_MAIN(CVHTMLTablesTest)
#include "CVHTMLTablesTest.moc"
