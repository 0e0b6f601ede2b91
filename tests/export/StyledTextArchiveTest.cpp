#include "export/NSAttributedString+QFTextViewExtensions.h"
#include "media/QFTextAttachment.h"
#include "platform/NSColor.h"
#include "platform/NSFont.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSParagraphStyle.h"
#include "platform/Values.h"
#include "plugin/QFLink.h"
#include "tests/Rows.h"

#include <QRandomGenerator>

using namespace Qt::StringLiterals;
using namespace QFTextViewExtensions;

class StyledTextArchiveTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsIdentities();
    void archivesARange();
    void namesWhatIsNoText_data();
    void namesWhatIsNoText();
    void survivesDamage();
};

namespace {

constexpr auto kNoText = "Unarchived object is not an attributed string: ";

template <typename T>
T attributeAt(const NSAttributedString &text, NSAttributeKey key, qsizetype index)
{
    return text.attribute(key, index).value<T>();
}

NSTextTableBlockPtr cellAt(const NSAttributedString &text, qsizetype index)
{
    return attributeAt<NSParagraphStyle>(text, NSParagraphStyleAttributeName, index).textBlocks.value(0);
}

/// Runs of one unit: two of one link, an equal other link, two cells of a table and one cell of an equal
/// other table, an attachment twice and an equal other one.
NSAttributedString sample()
{
    const auto link = [] {
        return QVariant::fromValue(std::make_shared<QFLink>(u"http://example.org"_s, false));
    };
    const auto cell = [](const NSTextTablePtr &table) {
        auto block = std::make_shared<NSTextTableBlock>();
        block->table = table;
        NSParagraphStyle style;
        style.textBlocks = {block};
        return QVariant::fromValue(style);
    };
    const auto attachment = [] {
        return QVariant::fromValue<NSTextAttachmentPtr>(
            std::make_shared<QFTextAttachment>(NSFileWrapper::regularFileWithContents("bytes")));
    };
    const QVariant oneLink = link();
    const auto table = std::make_shared<NSTextTable>();
    const QVariant oneAttachment = attachment();
    NSMutableAttributedString text;
    text.append(u"0"_s, {{NSLinkAttributeName, oneLink}});
    text.append(u"1"_s, {{NSLinkAttributeName, oneLink}, {NSUnderlineStyleAttributeName, 1}});
    text.append(u"2"_s, {{NSLinkAttributeName, link()}, {NSUnderlineStyleAttributeName, 1}});
    text.append(u"3"_s, {{NSParagraphStyleAttributeName, cell(table)}});
    text.append(u"4"_s, {{NSParagraphStyleAttributeName, cell(table)}});
    text.append(u"5"_s, {{NSParagraphStyleAttributeName, cell(std::make_shared<NSTextTable>())}});
    text.append(u"\uFFFC"_s, {{NSAttachmentAttributeName, oneAttachment}});
    text.append(u"7"_s, {{NSFontAttributeName, QVariant::fromValue(NSFont::userFontOfSize(0))}});
    text.append(u"\uFFFC"_s, {{NSAttachmentAttributeName, oneAttachment}});
    text.append(u"\uFFFC"_s, {{NSAttachmentAttributeName, attachment()}});
    return text.copy();
}

} // namespace

void StyledTextArchiveTest::keepsIdentities()
{
    const NSAttributedString text = sample();
    const auto back = createStringFromArchive(createArchiveFromSelection(text, {0, text.length()}));
    QVERIFY(back);
    QCOMPARE(back->string(), text.string());
    QCOMPARE(back->runs().size(), text.runs().size());
    const auto linkAt = [&](qsizetype index) {
        return attributeAt<QFLinkPtr>(*back, NSLinkAttributeName, index);
    };
    QVERIFY(linkAt(0) && linkAt(0) == linkAt(1) && linkAt(2) && linkAt(1) != linkAt(2));
    QVERIFY(cellAt(*back, 3) != cellAt(*back, 4));
    QVERIFY(cellAt(*back, 3)->table && cellAt(*back, 3)->table == cellAt(*back, 4)->table);
    QVERIFY(cellAt(*back, 4)->table != cellAt(*back, 5)->table);
    const auto attachmentAt = [&](qsizetype index) {
        return attributeAt<NSTextAttachmentPtr>(*back, NSAttachmentAttributeName, index);
    };
    QVERIFY(attachmentAt(6) && attachmentAt(6) == attachmentAt(8) && attachmentAt(9) != attachmentAt(8));
    QCOMPARE(attachmentAt(9)->className(), u"QFTextAttachment"_s);
    QCOMPARE(attachmentAt(9)->fileWrapper()->regularFileContents(), QByteArray("bytes"));
}

void StyledTextArchiveTest::archivesARange()
{
    const NSAttributedString text = sample();
    const auto part = createStringFromArchive(createArchiveFromSelection(text, {7, 1}));
    QVERIFY(part && *part == text.attributedSubstringFromRange({7, 1}));
    QCOMPARE(createStringFromArchive(createArchiveFromSelection(text, {-3, 1'000}))->length(), text.length());
    for (const NSRange nothing : {NSRange{0, 0}, NSRange{10, 5}, NSRange{NSNotFound, 1}, NSRange{3, -1}})
        QVERIFY(createArchiveFromSelection(text, nothing).isNull());
}

void StyledTextArchiveTest::namesWhatIsNoText_data()
{
    const Rows<QByteArray, QByteArray> row({"archive", "name"});
    const auto add = [&](const char *name, const QVariant &root) {
        row(name, NSKeyedArchiver::archivedDataWithRootObject(root), name);
    };
    add("NSString", u"text"_s);
    add("NSNumber", 1);
    add("NSDictionary", QVariantMap());
    add("QFLink", QVariant::fromValue(std::make_shared<QFLink>()));
    add("QFTextAttachment", QVariant::fromValue<NSTextAttachmentPtr>(std::make_shared<QFTextAttachment>()));
    add("(null)", QVariant());
    row("no archive", QByteArray("\0\1\2", 3), "(null)");
    row("nothing", {}, "(null)");
}

void StyledTextArchiveTest::namesWhatIsNoText()
{
    QFETCH(QByteArray, archive);
    QFETCH(QByteArray, name);
    QTest::ignoreMessage(QtWarningMsg, kNoText + name);
    QVERIFY(!createStringFromArchive(archive));
}

/// Cut off anywhere an archive is none; with bytes changed it is some text or none, and what was read can be
/// archived.
void StyledTextArchiveTest::survivesDamage()
{
    const quint32 seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QRandomGenerator random(seed);
    const QByteArray good = createArchiveFromSelection(sample(), {0, 100});
    bool passed = true;
    for (qsizetype size = 0; size < good.size(); ++size)
        passed = passed && !createStringFromArchive(good.first(size));
    int read = 0;
    for (int i = 0; i < 5'000; ++i) {
        QByteArray bad = good;
        for (int flips = random.bounded(1, 4); flips > 0; --flips)
            bad[random.bounded(bad.size())] = static_cast<char>(random.generate());
        if (const auto text = createStringFromArchive(bad)) {
            ++read;
            const auto again =
                createStringFromArchive(createArchiveFromSelection(*text, {0, text->length()}));
            passed = passed && (text->isEmpty() || (again && again->runs().size() == text->runs().size()));
        }
    }
    qInstallMessageHandler(nullptr);
    QVERIFY(passed);
    QVERIFY(read > 0);
}

QTEST_APPLESS_MAIN(StyledTextArchiveTest)
#include "StyledTextArchiveTest.moc"
