// Feeds arbitrary bytes to the importers of HTML and Markdown. What comes out must not be far larger than
// what went in, and must come through the exporter.

#include "export/CVHTML.h"
#include "fuzz/Require.h"
#include "host/HTMLImporter.h"
#include "host/MarkdownImporter.h"

namespace {

constexpr qsizetype kTextPerByte = 64; // a tab is eight blanks; list depth and spans add markers and cells
constexpr qsizetype kAlwaysAllowed = 1 << 20;

void check(const NSAttributedString &text, qsizetype inputSize)
{
    require(text.length() <= inputSize * kTextPerByte + kAlwaysAllowed);
    const QString nowhere = QStringLiteral("/nonexistent");
    (void)CVHTML().exportAttributedString(text, nowhere, QStringLiteral("image"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QString nowhere = QStringLiteral("/nonexistent");
    check(HTMLImporter::read(bytes, nowhere), bytes.size());
    const DocumentResult markdown = MarkdownImporter::read(bytes, nowhere);
    if (markdown.isValid())
        check(markdown.text, bytes.size());
    return 0;
}
