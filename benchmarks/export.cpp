// Export of generated texts beside QTextDocument::toHtml on the same content, the time as the text doubles,
// and peak memory. The result is checked against a plain implementation of the rules that the texts use.

#include "Measuring.h"

#include "export/CVHTML.h"
#include "host/DocumentReader.h"
#include "platform/NSFont.h"
#include "platform/NSParagraphStyle.h"

#include <QFile>
#include <QGuiApplication>
#include <QTextCursor>
#include <QTextDocument>

#include <limits>

#include <malloc.h>
#include <sys/resource.h>

namespace {

struct Face
{
    const char16_t *fontName;
    float size;
    bool isLink;
};

constexpr Face kFaces[] = {{u"Helvetica", 12, false},      {u"Helvetica-Bold", 12, false},
                           {u"Georgia-Italic", 14, false}, {u"Helvetica", 12, true},
                           {u"Courier", 12, false},        {u"Helvetica-Oblique", 12, false},
                           {u"Helvetica-Bold", 24, false}};
constexpr int kFaceCount = int(std::size(kFaces));
const QString kAddress = QStringLiteral("page.html?a=1&b=2");

QString pieceText(int number)
{
    static const QStringList pieces{
        QStringLiteral("The quick brown fox "),
        QStringLiteral("jumps over"),
        QStringLiteral(" the lazy dog, caf\u00e9 \u2013 and goes on for a while. "),
        QStringLiteral("A sentence ends here.\n"),
        QStringLiteral("x = y & z\n"),
        QStringLiteral(" word ")};
    return pieces.at(number % pieces.size());
}

NSAttributeDictionary attributesOf(const Face &face)
{
    NSAttributeDictionary attributes{
        {NSFontAttributeName,
         QVariant::fromValue(NSFont::fontWithName(QString::fromUtf16(face.fontName), face.size))},
        {NSParagraphStyleAttributeName, QVariant::fromValue(NSParagraphStyle())}};
    return face.isLink ? attributes.withValue(NSLinkAttributeName, kAddress) : attributes;
}

NSAttributedString generatedText(qsizetype units)
{
    std::vector<NSAttributeDictionary> dictionaries;
    for (const Face &face : kFaces)
        dictionaries.push_back(attributesOf(face));
    NSMutableAttributedString text;
    for (int number = 0; text.length() < units; ++number)
        text.append(pieceText(number), dictionaries[size_t(number % kFaceCount)]);
    return text.copy();
}

/// The rules for these texts, step by step and without haste.
QString plainlyExported(const NSAttributedString &text)
{
    QString html;
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const NSAttributeDictionary &attributes = text.runs().at(run).attributes;
        const auto font = attributes.value(NSFontAttributeName).value<NSFont>();
        QString style;
        if (font.familyName == QStringLiteral("Georgia"))
            style = QStringLiteral("font:14px Georgia, serif; ");
        else if (font.familyName == QStringLiteral("Courier"))
            style = QStringLiteral("font:12px Courier, mono; ");
        else if (font.pointSize != 12)
            style = QStringLiteral("font-size:24px; font-weight:bold; ");
        const bool isStrong = font.isBold() && style.isEmpty();
        if (!style.isEmpty())
            html += QStringLiteral("<span style=\"") + style + QStringLiteral("\">");
        if (isStrong)
            html += QStringLiteral("<strong>");
        if (font.isItalic())
            html += QStringLiteral("<em>");
        if (attributes.contains(NSLinkAttributeName))
            html += QStringLiteral("<a href=\"") + kAddress + QStringLiteral("\">");
        const NSRange range = text.rangeOfRun(run);
        html += text.string().mid(range.location, range.length);
        if (attributes.contains(NSLinkAttributeName))
            html += QStringLiteral("</a>");
        if (font.isItalic())
            html += QStringLiteral("</em>");
        if (isStrong)
            html += QStringLiteral("</strong>");
        if (!style.isEmpty())
            html += QStringLiteral("</span>");
    }
    html.replace(QStringLiteral("\u00e9"), QStringLiteral("&eacute;"));
    html.replace(QStringLiteral("\u2013"), QStringLiteral("&ndash;"));
    return html.replace(QStringLiteral("\n"), QStringLiteral("<br />"));
}

void fillDocument(QTextDocument &document, const NSAttributedString &text)
{
    document.setUndoRedoEnabled(false);
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    for (qsizetype run = 0; run < text.runs().size(); ++run) {
        const auto font = text.runs().at(run).attributes.value(NSFontAttributeName).value<NSFont>();
        QTextCharFormat format;
        format.setFontFamilies({font.familyName});
        format.setFontPointSize(qreal(font.pointSize));
        format.setFontWeight(font.isBold() ? QFont::Bold : QFont::Normal);
        format.setFontItalic(font.isItalic());
        if (text.runs().at(run).attributes.contains(NSLinkAttributeName)) {
            format.setAnchor(true);
            format.setAnchorHref(kAddress);
        }
        const NSRange range = text.rangeOfRun(run);
        cursor.insertText(text.string().mid(range.location, range.length), format);
    }
    cursor.endEditBlock();
}

QString exported(const NSAttributedString &text)
{
    return CVHTML().exportAttributedString(text, QStringLiteral("/nowhere"), QStringLiteral("p"));
}

long peakKilobytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void printMemory()
{
    const NSAttributedString text = generatedText(16'000'000);
    const long before = peakKilobytes();
    const QString html = exported(text);
    const double added = double(peakKilobytes() - before) * 1024;
    const double sizes = double(html.size() + text.length()) * sizeof(char16_t);
    std::printf("%-44s %9.1f MB added    output and input %9.1f MB   %6.2f times\n", "memory, 16 M units",
                added / 1e6, sizes / 1e6, added / sizes);
}

void printDoublings()
{
    // All sizes take their memory from the heap, which keeps it: else the larger ones alone pay for fresh
    // pages.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    double previous = 0;
    for (qsizetype units = 1'000'000; units <= 16'000'000; units *= 2) {
        const NSAttributedString text = generatedText(units);
        const double time = medianMilliseconds([&] { return exported(text); });
        std::printf("%-34s %9.0f units %9.3f ms   %6.1f ns a run", "export", double(units), time,
                    time * 1e6 / double(text.runs().size()));
        std::printf(previous > 0 ? "   %6.2f times\n" : "\n", time / previous);
        previous = time;
    }
}

/// A manual in one HTML page, imported once on either side.
void printManual(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QByteArray bytes = file.readAll();
    const auto before = std::chrono::steady_clock::now();
    const DocumentResult document = DocumentReader::readBytes(bytes, QStringLiteral("/nowhere"));
    const std::chrono::duration<double, std::milli> import = std::chrono::steady_clock::now() - before;
    require(document.isValid(), "import");
    QTextDocument theirDocument;
    theirDocument.setHtml(QString::fromUtf8(bytes));
    const double ours = medianMilliseconds([&] { return exported(document.text); });
    const double theirs = medianMilliseconds([&] { return theirDocument.toHtml(); });
    std::printf("%s: %.1f MB, %lld units in %lld runs, imported in %.0f ms\n", qPrintable(path),
                double(bytes.size()) / 1e6, static_cast<long long>(document.text.length()),
                static_cast<long long>(document.text.runs().size()), import.count());
    printRatio("export of it", ours, "QTextDocument::toHtml", theirs);
}

/// Texts that are made here.
void printGenerated()
{
    printMemory(); // first: peaks only grow
    for (const qsizetype units : {1'000'000, 4'000'000}) {
        const NSAttributedString text = generatedText(units);
        require(exported(text) == plainlyExported(text), "export");
        QTextDocument document;
        fillDocument(document, text);
        const double ours = medianMilliseconds([&] { return exported(text); });
        const double theirs = medianMilliseconds([&] { return document.toHtml(); });
        printRatio(units == 1'000'000 ? "export, 1 M units" : "export, 4 M units", ours,
                   "QTextDocument::toHtml", theirs);
    }
    printDoublings();
}

} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QStringList manuals = QCoreApplication::arguments().mid(1);
    if (manuals.isEmpty()) {
        printGenerated();
        manuals = {QStringLiteral("/usr/share/doc/bash/bashref.html"),
                   QStringLiteral("/usr/share/doc/maxima-doc/html/maxima_singlepage.html")};
    }
    for (const QString &manual : manuals)
        printManual(manual);
    return 0;
}
