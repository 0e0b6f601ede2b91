#include "platform/NSKeyedArchiver.h"
#include "platform/NSArchivableClasses.h"
#include "platform/NSAttributedString.h"
#include "platform/NSColor.h"
#include "platform/NSFont.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSParagraphStyle.h"
#include "platform/NSTextAttachment.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "tests/Rows.h"
#include "tests/platform/ArchiveTestData.h"

#include <QChar>
#include <QDateTime>
#include <QUrl>

#include <limits>
#include <tuple>

class NSKeyedArchiverTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsPlainValues_data();
    void keepsPlainValues();
    void hasThePlatformsLayout();
    void keepsKeysAndSequencesApart();
    void storesEqualValuesOnce();
    void leavesOutWhatItDoesNotKnow();
    void keepsTablesAndFiles();
    void readsOtherWritersForms();
    void readsOddArchivesAsNil_data();
    void readsOddArchivesAsNil();
    void boundsWork_data();
    void boundsWork();
    void readsCirclesAsNil();
};

namespace {

template <typename T>
QVariant variant(const T &value)
{
    return QVariant::fromValue(value);
}

NSTextTableBlockPtr cellOf(const NSTextTablePtr &table)
{
    auto cell = std::make_shared<NSTextTableBlock>();
    cell->table = table;
    cell->startingRow = -1;
    cell->startingColumn = 3;
    cell->columnSpan = 2;
    cell->verticalAlignment = static_cast<NSTextBlockVerticalAlignment>(17);
    cell->width = 16.7;
    cell->backgroundColor = NSColor::calibratedRGB(0.1F, 0.5F, 0.9F, 0.25F);
    cell->setWidthForLayer(NSTextBlockLayer::Padding, NSRectEdge::MaxX, 1.5);
    cell->setWidthForLayer(NSTextBlockLayer::Margin, NSRectEdge::MinX, 2.5);
    cell->setBorderColorForEdge(NSRectEdge::MaxY, NSColor::blackColor());
    return cell;
}

} // namespace

void NSKeyedArchiverTest::keepsPlainValues_data()
{
    const Rows<QVariant> row({"value"});
    const char16_t odd[] = {0, 0xD800, 0xD83D, 0xDE00, 0xDC00, 0xFFFE, 0xFFFF, 0};
    row("text with odd units", QStringView(odd).toString());
    row("the null object's name", u"$null"_s);
    row("empty", QVariantList{u""_s, QByteArray(""), QVariantMap(), QVariantList()});
    row("numbers",
        QVariantList{true, false, 0, 1, 1.0, -1, 0.5F, 1e300, std::numeric_limits<quint64>::max()});
    row("dates and addresses",
        QVariantMap{{u"$d"_s, QDateTime::fromMSecsSinceEpoch(-1'234, Qt::UTC)},
                    {u""_s, QUrl(u"http://u:p@b\u00FCcher.example/a%2Fb c?q=%25#\u00E9"_s)}});
    row("fonts", QVariantList{variant(NSFont{u"ArialMT"_s, u"Arial"_s, 16.7F, 3}),
                              variant(NSFont{u"X"_s, QString(), 0, 0xFFFFFFFF})});
    QVariantList colors;
    for (const auto space :
         {NSColorSpaceName::CalibratedRGB, NSColorSpaceName::DeviceRGB, NSColorSpaceName::Pattern})
        colors.append(variant(NSColor{0, 0, 0, 1, space}));
    for (int i = 0; i < 256; ++i)
        colors.append(variant(NSColor::calibratedRGB(float(i) / 255, 0.1F, 1.0F / 3, 1e-7F)));
    colors.append(variant(NSColor::lightGrayColor()));
    row("colours", colors);
    NSParagraphStyle style;
    style.alignment = static_cast<NSTextAlignment>(-7);
    style.baseWritingDirection = NSWritingDirection::RightToLeft;
    style.textLists = {{u"{disc}"_s}, {u"{decimal}."_s}, {QString()}};
    row("paragraph styles", QVariantList{variant(style), variant(NSParagraphStyle())});
    row("text without attributes", variant(NSAttributedString(u"abc"_s)));
    row("empty text", variant(NSAttributedString()));
    NSMutableAttributedString text(u"one two"_s, {{NSToolTipAttributeName, u"tip"_s}});
    text.setAttributes({{NSAttributeKey(u"custom"), QVariantMap{{u"a"_s, 1}}}}, {1, 200});
    text.setAttributes({{NSToolTipAttributeName, u"tip"_s}}, {5, 1});
    row("text with runs", variant(text.copy()));
}

void NSKeyedArchiverTest::keepsPlainValues()
{
    QFETCH(QVariant, value);
    const QVariant back = thereAndBack(value);
    QVERIFY(sameValue(back, value));
    QCOMPARE(NSArchivableClasses::classNameOfValue(back), NSArchivableClasses::classNameOfValue(value));
}

void NSKeyedArchiverTest::hasThePlatformsLayout()
{
    const QByteArray archive = NSKeyedArchiver::archivedDataWithRootObject(QVariantList{u"a"_s});
    const QVariantMap list = NSPropertyList::propertyListFromData(archive).toMap();
    QCOMPARE(list[u"$archiver"_s], QVariant(u"NSKeyedArchiver"_s));
    QCOMPARE(list[u"$version"_s], QVariant(100'000LL));
    const QVariantList objects = list[u"$objects"_s].toList();
    QCOMPARE(objects.first(), QVariant(u"$null"_s));
    const auto object = [&](const QVariant &reference) {
        return objects.at(static_cast<qsizetype>(reference.value<NSPropertyListUID>().value));
    };
    const QVariantMap root = object(list[u"$top"_s].toMap()[u"root"_s]).toMap();
    QCOMPARE(object(root[u"NS.objects"_s].toList().first()), QVariant(u"a"_s));
    QCOMPARE(object(root[u"$class"_s]), classEntry(u"NSArray"_s));
}

void NSKeyedArchiverTest::keepsKeysAndSequencesApart()
{
    NSKeyedArchiver archiver;
    archiver.encodeObject(u"first"_s);
    archiver.encodeObject(u"by name"_s, u"$0");
    archiver.encodeObject(QVariant());
    archiver.encodeObject(u"third"_s);
    archiver.encodeBool(true, u"yes");
    archiver.encodeDouble(std::numeric_limits<double>::quiet_NaN(), u"nan");
    archiver.encodeObject(QString(), u"nil");
    NSKeyedUnarchiver unarchiver(archiver.encodedData());
    QCOMPARE(unarchiver.decodeObject(), QVariant(u"first"_s));
    QCOMPARE(unarchiver.decodeObject(), QVariant());
    QCOMPARE(unarchiver.decodeObject(), QVariant(u"third"_s));
    QCOMPARE(unarchiver.decodeObject(), QVariant());
    QCOMPARE(unarchiver.decodeObject(u"$0"), QVariant(u"by name"_s));
    QVERIFY(unarchiver.decodeBool(u"yes"));
    QCOMPARE(unarchiver.decodeInt(u"yes"), 1);
    QCOMPARE(unarchiver.decodeDouble(u"nan"), 0.0);
    QVERIFY(unarchiver.containsValueForKey(u"nil") && isNil(unarchiver.decodeObject(u"nil")));
    QVERIFY(!unarchiver.containsValueForKey(u"other") && !unarchiver.decodeBool(u"nil"));
}

void NSKeyedArchiverTest::storesEqualValuesOnce()
{
    const auto sizeOf = [](int runs) {
        NSMutableAttributedString text;
        for (int i = 0; i < runs; ++i) {
            // Made afresh for each run, as an importer does.
            NSParagraphStyle style;
            style.textLists = {{u"{disc}"_s}};
            text.append(u"a"_s, {{NSFontAttributeName, variant(NSFont::fontWithName(u"ArialMT"_s, 12))},
                                 {NSParagraphStyleAttributeName, variant(style)},
                                 {NSUnderlineStyleAttributeName, i % 2}});
        }
        return NSKeyedArchiver::archivedDataWithRootObject(variant(text.copy())).size();
    };
    QVERIFY(sizeOf(1'000) - sizeOf(100) < 900 * 4);
}

void NSKeyedArchiverTest::leavesOutWhatItDoesNotKnow()
{
    QFReport report;
    const QFReport::Installed installed(report);
    const QVariantMap map{{u"known"_s, 1}, {u"unknown"_s, QChar(u'x')}};
    NSMutableAttributedString text(u"ab"_s,
                                   {{NSToolTipAttributeName, QChar(u'x')}, {NSLinkAttributeName, u"l"_s}});
    text.setAttributes({{NSToolTipAttributeName, variant(NSAttributedString(u"nested"_s))}}, {1, 1});
    const QVariantList back = thereAndBack(QVariantList{map, QChar(u'y'), variant(text.copy())});
    QCOMPARE(back.size(), 2);
    QCOMPARE(back[0], QVariant(QVariantMap{{u"known"_s, 1LL}}));
    NSMutableAttributedString expected(u"ab"_s);
    expected.setAttributes({{NSLinkAttributeName, u"l"_s}}, {0, 1});
    QVERIFY(sameValue(back[1], variant(expected.copy())));
    QCOMPARE(report.records().size(), 4);
    QCOMPARE(report.records().first().kind, u"archive"_s);
}

void NSKeyedArchiverTest::keepsTablesAndFiles()
{
    const auto table = std::make_shared<NSTextTable>();
    table->numberOfColumns = 4;
    table->layoutAlgorithm = NSTextTableLayoutAlgorithm::Fixed;
    const NSTextTableBlockPtr cell = cellOf(table);
    const auto file = NSFileWrapper::regularFileWithContents("bytes");
    file->setPreferredFilename(u"../a/b"_s);
    file->setIcon("icon");
    file->setFileAttributes({0640, QDateTime::fromMSecsSinceEpoch(86'400'000, Qt::UTC)});
    const auto folder = NSFileWrapper::directoryWithNamedFileWrappers(
        {{u"x"_s, file}, {u"y"_s, file}, {u"l"_s, NSFileWrapper::symbolicLinkWithDestination(u"x"_s)}});
    const NSTextAttachmentPtr attachment = std::make_shared<NSTextAttachment>(folder);

    const QVariantList back = thereAndBack(QVariantList{variant(cell), variant(table), variant(attachment)});
    QCOMPARE(back.size(), 3);
    const auto cellBack = back[0].value<NSTextTableBlockPtr>();
    QVERIFY(cellBack->table && cellBack->table == back[1].value<NSTextTablePtr>());
    QCOMPARE(cellBack->table->numberOfColumns, 4U);
    QCOMPARE(cellBack->table->layoutAlgorithm, NSTextTableLayoutAlgorithm::Fixed);
    cellBack->table = table;
    QVERIFY(std::as_const(*cellBack).backgroundColor == cell->backgroundColor);
    const auto numbers = [](const NSTextTableBlock &block) {
        return std::tuple(block.startingRow, block.startingColumn, block.rowSpan, block.columnSpan,
                          block.verticalAlignment, block.width);
    };
    QVERIFY(numbers(*cellBack) == numbers(*cell));
    for (const auto layer : {NSTextBlockLayer::Padding, NSTextBlockLayer::Border, NSTextBlockLayer::Margin}) {
        for (const auto edge : {NSRectEdge::MinX, NSRectEdge::MinY, NSRectEdge::MaxX, NSRectEdge::MaxY}) {
            QCOMPARE(cellBack->widthForLayer(layer, edge), cell->widthForLayer(layer, edge));
            QVERIFY(cellBack->borderColorForEdge(edge) == cell->borderColorForEdge(edge));
        }
    }

    const NSFileWrapperPtr folderBack = back[2].value<NSTextAttachmentPtr>()->fileWrapper();
    const auto children = folderBack->fileWrappers();
    QCOMPARE(children.keys(), (QStringList{u"l"_s, u"x"_s, u"y"_s}));
    QVERIFY(children[u"x"_s] == children[u"y"_s]);
    QCOMPARE(children[u"l"_s]->symbolicLinkDestination(), u"x"_s);
    QCOMPARE(children[u"x"_s]->regularFileContents(), QByteArray("bytes"));
    QCOMPARE(children[u"x"_s]->preferredFilename(), u"../a/b"_s);
    QCOMPARE(children[u"x"_s]->icon(), QByteArray("icon"));
    QVERIFY(children[u"x"_s]->filename().isNull() && folderBack->preferredFilename().isNull());
    QVERIFY(children[u"x"_s]->fileAttributes() == file->fileAttributes());
}

/// Mutable classes, strings and data as objects, one dictionary for a whole text, fonts and colours with less
/// in them.
void NSKeyedArchiverTest::readsOtherWritersForms()
{
    const QVariantMap mutableClass{{u"$classes"_s, QVariantList{u"NSMutableX"_s, u"NSAttributedString"_s}}};
    const QByteArray archive = archiveOf(
        {QVariantMap{{u"$class"_s, at(2)}, {u"NSString"_s, at(3)}, {u"NSAttributes"_s, at(5)}},
         classEntry(u"NSMutableX"_s, mutableClass),
         QVariantMap{{u"$class"_s, at(4)}, {u"NS.string"_s, u"text"_s}}, classEntry(u"NSString"_s),
         QVariantMap{{u"$class"_s, at(6)},
                     {u"NS.keys"_s, QVariantList{at(7), at(8)}},
                     {u"NS.objects"_s, QVariantList{at(9), at(11)}}},
         classEntry(u"NSDictionary"_s), u"NSFont"_s, u"NSColor"_s,
         QVariantMap{{u"$class"_s, at(10)}, {u"NSName"_s, at(13)}, {u"NSSize"_s, 12.0}},
         classEntry(u"NSFont"_s),
         QVariantMap{{u"$class"_s, at(12)}, {u"NSColorSpace"_s, 1}, {u"NSRGB"_s, QByteArray("0.5 1 0\0", 8)}},
         classEntry(u"NSColor"_s), u"Georgia-Bold"_s});
    const auto text = NSKeyedUnarchiver::unarchiveObjectWithData(archive).value<NSAttributedString>();
    QCOMPARE(text.string(), u"text"_s);
    QVERIFY(text.attribute(NSFontAttributeName, 3) == variant(NSFont::fontWithName(u"Georgia-Bold"_s, 12)));
    QVERIFY(text.attribute(NSForegroundColorAttributeName, 0) == variant(NSColor::calibratedRGB(0.5F, 1, 0)));
}

void NSKeyedArchiverTest::readsOddArchivesAsNil_data()
{
    const Rows<QByteArray> row({"archive"});
    row("nothing", {});
    row("a property list",
        NSPropertyList::dataFromPropertyList(QVariantList{1}, NSPropertyListFormat::Binary));
    row("class that is unknown", archiveOf({QVariantMap{{u"$class"_s, at(2)}}, classEntry(u"QProcess"_s)}));
    row("class entry that is a string", archiveOf({QVariantMap{{u"$class"_s, at(2)}}, u"NSArray"_s}));
    row("class behind the end", archiveOf({QVariantMap{{u"$class"_s, at(~quint64(0))}}}));
    row("object without a class", archiveOf({QVariantMap{{u"a"_s, 1}}}));
    row("array where an object belongs", archiveOf({QVariantList{1}}));
    const auto object = [&](const char *name, const QString &className, QVariantMap entries,
                            const QVariant &more = 0) {
        entries.insert(u"$class"_s, at(2));
        row(name, archiveOf({entries, classEntry(className), more, QByteArray("\3\0", 2),
                             QVariantMap{{u"$class"_s, at(6)}, {u"NS.objects"_s, QVariantList{at(7)}}},
                             classEntry(u"NSArray"_s), QVariantMap{{u"$class"_s, at(8)}},
                             classEntry(u"NSDictionary"_s)}));
    };
    const QString text = u"NSAttributedString"_s;
    object("keys without values", u"NSDictionary"_s, {{u"NS.keys"_s, QVariantList{at(3)}}});
    object("date beyond all calendars", u"NSDate"_s, {{u"NS.time"_s, 1e200}});
    object("date that is a string", u"NSDate"_s, {{u"NS.time"_s, u"1"_s}});
    object("colour without components", u"NSColor"_s, {{u"NSColorSpace"_s, 1}});
    object("colour of an unknown space", u"NSColor"_s, {{u"NSColorSpace"_s, 77}});
    object("file without a kind", u"NSFileWrapper"_s, {{u"contents"_s, at(4)}});
    object("text whose string is a number", text, {{u"NSString"_s, at(3)}});
    object("text with runs beyond its end", text,
           {{u"NSString"_s, at(3)}, {u"NSAttributes"_s, at(5)}, {u"NSAttributeInfo"_s, at(4)}}, u"ab"_s);
    object("text with runs before its end", text,
           {{u"NSString"_s, at(3)}, {u"NSAttributes"_s, at(5)}, {u"NSAttributeInfo"_s, at(4)}}, u"abcd"_s);
    object("text with runs but no attributes", text, {{u"NSString"_s, at(3)}, {u"NSAttributeInfo"_s, at(4)}},
           u"abc"_s);
    object("text with an empty run", text,
           {{u"NSString"_s, at(3)},
            {u"NSAttributes"_s, at(5)},
            {u"NSAttributeInfo"_s, QByteArray("\3\0\0\0", 4)}},
           u"abc"_s);
    object(
        "text with an endless number", text,
        {{u"NSString"_s, at(3)}, {u"NSAttributes"_s, at(5)}, {u"NSAttributeInfo"_s, QByteArray(20, '\xff')}},
        u"abc"_s);
    object("text whose attributes are a string", text, {{u"NSString"_s, at(3)}, {u"NSAttributes"_s, at(3)}},
           u"abc"_s);
}

void NSKeyedArchiverTest::readsOddArchivesAsNil()
{
    QFETCH(QByteArray, archive);
    QVERIFY(isNil(NSKeyedUnarchiver::unarchiveObjectWithData(archive)));
}

void NSKeyedArchiverTest::boundsWork_data()
{
    const Rows<QByteArray> row({"archive"});
    const QVariantMap array{{u"$class"_s, at(2)}};
    const auto arrayOf = [&array](const QVariantList &objects) {
        QVariantMap all = array;
        all.insert(u"NS.objects"_s, objects);
        return all;
    };

    QVariantList bomb{arrayOf({at(3)}), classEntry(u"NSArray"_s)};
    for (quint64 i = 0; i < 60; ++i)
        bomb.append(arrayOf(QVariantList(4, at(i + 4))));
    row("unfolds without end", archiveOf(bomb << u"lol"_s));

    QVariantList shared{arrayOf({}), classEntry(u"NSArray"_s)};
    QVariantList places;
    const QVariant longArray = arrayOf(QVariantList(10'000, at(0)));
    for (quint64 i = 3; i < 1'000; ++i) {
        shared.append(longArray);
        places.append(at(i));
    }
    shared[0] = arrayOf(places);
    row("one long array under many numbers", archiveOf(shared));

    const QString longName(50'000, u'x');
    QVariantList classes{arrayOf({}), classEntry(u"NSArray"_s)};
    places.clear();
    for (quint64 i = 3; i < 4'000; i += 2) {
        places.append(at(i));
        classes << QVariantMap{{u"$class"_s, at(i + 1)}} << classEntry(longName);
    }
    classes[0] = arrayOf(places);
    row("one long class name in many entries", archiveOf(classes));

    // Two long attributes, different only at their ends, take turns through a long text.
    const auto dictionary = [](quint64 value) {
        return QVariantMap{{u"$class"_s, at(4)},
                           {u"NS.keys"_s, QVariantList{at(5)}},
                           {u"NS.objects"_s, QVariantList{at(value)}}};
    };
    QVariantList longList(20'000, at(5));
    const QVariantMap one = arrayOf(longList);
    longList.last() = at(11);
    row("runs that are hard to compare",
        archiveOf({QVariantMap{{u"$class"_s, at(12)},
                               {u"NSString"_s, QString(400'000, u'x')},
                               {u"NSAttributes"_s, at(3)},
                               {u"NSAttributeInfo"_s, QByteArray("\1\0\1\1", 4).repeated(200'000)}},
                   classEntry(u"NSArray"_s), arrayOf({at(6), at(7)}), classEntry(u"NSDictionary"_s), u"k"_s,
                   dictionary(8), dictionary(9), one, arrayOf(longList), u""_s, u"end"_s,
                   classEntry(u"NSAttributedString"_s)}));

    QVariantList names{
        QVariantMap{{u"$class"_s, at(2)}, {u"NSString"_s, u"text"_s}, {u"NSAttributes"_s, at(3)}},
        classEntry(u"NSAttributedString"_s), QVariant(), classEntry(u"NSDictionary"_s)};
    places.clear();
    for (quint64 i = 0; i < 300; ++i) {
        places.append(at(i + 5));
        names.append(u"name "_s + QString::number(i));
    }
    names[2] = QVariantMap{{u"$class"_s, at(4)}, {u"NS.keys"_s, places}, {u"NS.objects"_s, places}};
    row("too many attribute names", archiveOf(names));
}

void NSKeyedArchiverTest::boundsWork()
{
    QFETCH(QByteArray, archive);
    QVERIFY(!archive.isNull());
    QBENCHMARK_ONCE
    {
        const QVariant back = NSKeyedUnarchiver::unarchiveObjectWithData(archive);
        QVERIFY(isNil(back) || back.toList().isEmpty());
    }
}

void NSKeyedArchiverTest::readsCirclesAsNil()
{
    const QVariantMap self{{u"$class"_s, at(2)}, {u"NS.objects"_s, QVariantList{at(1), at(3)}}};
    const QVariant back =
        NSKeyedUnarchiver::unarchiveObjectWithData(archiveOf({self, classEntry(u"NSArray"_s), 7}));
    QCOMPARE(back, QVariant(QVariantList{7LL}));

    // As deep as an archive goes, and one level more.
    for (const int levels : {NSKeyedArchiver::maximumDepth, NSKeyedArchiver::maximumDepth + 1}) {
        QVariant nested = QVariantList();
        for (int i = 1; i < levels; ++i)
            nested = QVariantList{nested};
        QCOMPARE(sameValue(thereAndBack(nested), nested), levels == NSKeyedArchiver::maximumDepth);
    }
}

QTEST_APPLESS_MAIN(NSKeyedArchiverTest)
#include "NSKeyedArchiverTest.moc"
