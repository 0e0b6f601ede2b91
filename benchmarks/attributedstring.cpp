// Styled text of 1e6 units in 1e5 runs, beside QTextDocument with the same runs: look-ups and edits at random
// places, and a walk over all runs.

#include "Measuring.h"

#include "platform/NSAttributedString.h"
#include "platform/NSFont.h"

#include <QGuiApplication>
#include <QRandomGenerator>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace {

constexpr int kUnits = 1'000'000;
constexpr int kRuns = 100'000;
constexpr int kRunLength = kUnits / kRuns;
constexpr int kProbes = 5'000;

NSAttributeDictionary attributesOf(int kind)
{
    return {{NSFontAttributeName,
             QVariant::fromValue(NSFont::fontWithName(QStringLiteral("Georgia"), float(10 + kind)))},
            {NSUnderlineStyleAttributeName, 1},
            {NSToolTipAttributeName, QStringLiteral("tip")}};
}

QTextCharFormat formatOf(int kind)
{
    QTextCharFormat format;
    format.setFontFamilies({QStringLiteral("Georgia")});
    format.setFontPointSize(10 + kind);
    format.setFontUnderline(true);
    format.setToolTip(QStringLiteral("tip"));
    return format;
}

/// Positions and kinds of edits, the same for both sides.
struct Probe
{
    int at;
    int kind;
};

std::vector<Probe> probes()
{
    QRandomGenerator random(7);
    std::vector<Probe> made(kProbes);
    for (Probe &probe : made)
        probe = {random.bounded(kUnits - kRunLength), random.bounded(3)};
    return made;
}

} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const std::vector<NSAttributeDictionary> attributes{attributesOf(0), attributesOf(1), attributesOf(2)};
    const std::vector<QTextCharFormat> formats{formatOf(0), formatOf(1), formatOf(2)};
    const QString piece(kRunLength, u'x');

    NSMutableAttributedString text;
    QTextDocument document;
    document.setUndoRedoEnabled(false);
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    for (int run = 0; run < kRuns; ++run) {
        text.append(piece, attributes[size_t(run % 2)]);
        if (run % 10 == 0 && run > 0)
            cursor.insertBlock();
        cursor.insertText(piece, formats[size_t(run % 2)]);
    }
    cursor.endEditBlock();
    require(text.runs().size() == kRuns, "runs");

    const std::vector<Probe> places = probes();
    const double ourLookups = medianMilliseconds([&] {
        qsizetype sum = 0;
        for (const Probe &probe : places) {
            NSRange range;
            sum += text.attributesAtIndex(probe.at, &range).count() + range.length;
        }
        require(sum == kProbes * (3 + kRunLength), "look-ups");
        return sum;
    });
    const double theirLookups = medianMilliseconds([&] {
        double sum = 0;
        for (const Probe &probe : places) {
            QTextCursor at(&document);
            at.setPosition(probe.at + 1);
            sum += at.charFormat().fontPointSize();
        }
        return sum;
    });
    printRatio("attributesAtIndex, 5,000 random", ourLookups, "QTextCursor::charFormat", theirLookups);

    const double ourWalk = medianMilliseconds([&] {
        qsizetype sum = 0;
        for (qsizetype run = 0; run < text.runs().size(); ++run)
            sum += text.rangeOfRun(run).length + (text.runs().at(run).attributes.isEmpty() ? 1 : 0);
        require(sum == kUnits, "walk");
        return sum;
    });
    const double theirWalk = medianMilliseconds([&] {
        qsizetype sum = 0;
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
            for (auto it = block.begin(); !it.atEnd(); ++it)
                sum += it.fragment().length() + (it.fragment().charFormat().isValid() ? 0 : 1);
        }
        require(sum == kUnits, "their walk");
        return sum;
    });
    printRatio("walk over 1e5 runs", ourWalk, "QTextBlock fragments", theirWalk);

    // Edits change the number of runs, so each side is edited once, the same way.
    NSMutableAttributedString edited = text;
    edited.append(QStringLiteral("."), attributes[0]); // takes its own copy before the clock starts
    const auto timed = [&](auto edit) {
        const auto before = std::chrono::steady_clock::now();
        for (const Probe &probe : places)
            edit(probe);
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before).count();
    };
    const double ourEdits = timed([&](const Probe &probe) {
        edited.setAttributes(attributes[size_t(probe.kind)], {probe.at, kRunLength});
    });
    QTextCursor edit(&document);
    edit.beginEditBlock();
    const double theirEdits = timed([&](const Probe &probe) {
        edit.setPosition(probe.at);
        edit.setPosition(probe.at + kRunLength, QTextCursor::KeepAnchor);
        edit.setCharFormat(formats[size_t(probe.kind)]);
    });
    edit.endEditBlock();
    const Probe &last = places.back();
    require(edited.attributesAtIndex(last.at) == attributes[size_t(last.kind)], "edits");
    printRatio("setAttributes, 5,000 random", ourEdits, "QTextCursor::setCharFormat", theirEdits);
    return 0;
}
