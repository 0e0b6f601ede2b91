#include "host/StyledTextJSON.h"

#include "media/QFTextAttachment.h"
#include "platform/NSColor.h"
#include "platform/NSFont.h"
#include "platform/NSParagraphStyle.h"
#include "platform/QFReport.h"
#include "plugin/QFLink.h"
#include "tests/Rows.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kBigRuns = 100000;

QByteArray quoted(const char *json)
{
    return QByteArray(json).replace('\'', '"');
}

DocumentResult readQuoted(const char *json)
{
    return StyledTextJSON::read(quoted(json), {});
}

template <typename T>
T valueAt(const NSAttributedString &text, NSAttributeKey key, qsizetype index)
{
    return text.attribute(key, index).value<T>();
}

} // namespace

class StyledTextJSONTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void saysWhatIsWrong_data();
    void saysWhatIsWrong();
    void passesOverWrongTypes_data();
    void passesOverWrongTypes();
    void keepsEveryUnit();
    void readsWhatItWrites();
    void keepsIdentity();
    void boundsNames();
    void reportsWhatJSONCannotHold();
    void carriesFiles();
    void namesFilesSafely();
    void readsManyRunsQuickly();
};

void StyledTextJSONTest::saysWhatIsWrong_data()
{
    const Rows<QByteArray, QByteArray> row({"json", "error"});
    row("malformed", "{\n 'runs': [}", "line 2, column 12: object is missing after a comma");
    row("deep", QByteArray(5000, '['), "line 1, column 1026: too deeply nested document");
    row("not an object", "[]", "the top level must be an object");
    row("no runs", "{}", "runs: must be an array");
    row("runs of a wrong type", "{'string': 'a', 'runs': {}}", "runs: must be an array");
    row("run of a wrong type", "{'runs': [{'text': 'a'}, 3]}", "runs[1]: must be an object");
    row("no text", "{'runs': [{}]}", "runs[0].text: must be a string");
    row("too long", "{'string': 'ab', 'runs': [{'length': 1}, {'length': 2}]}",
        "runs[1].length: must be a number of units that the string still has");
    row("negative", "{'string': 'ab', 'runs': [{'length': -1}]}",
        "runs[0].length: must be a number of units that the string still has");
    row("too short", "{'string': 'ab', 'runs': [{'length': 1}]}",
        "runs: lengths add up to 1, but the string has 2 units");
    row("unknown cell",
        "{'runs': [{'text': 'a', 'attributes': {'NSParagraphStyle': {'textBlocks': ['c9']}}}]}",
        "runs[0].attributes.NSParagraphStyle.textBlocks: there is no cell \"c9\"");
    row("unknown table", "{'runs': [], 'cells': {'c1': {'table': 't'}}}",
        "cells.c1.table: there is no table \"t\"");
    row("unknown link", "{'runs': [{'text': 'a', 'attributes': {'NSLink': {'ref': 'l'}}}]}",
        "runs[0].attributes.NSLink: there is no link \"l\"");
}

void StyledTextJSONTest::saysWhatIsWrong()
{
    QFETCH(QByteArray, json);
    const DocumentResult result = readQuoted(json);
    QVERIFY(!result.isValid());
    QTEST(result.error.toLatin1(), "error");
}

void StyledTextJSONTest::passesOverWrongTypes_data()
{
    const Rows<QByteArray> row({"attribute"});
    for (const char *attribute :
         {"'NSFont': 12", "'NSColor': [1, 0]", "'NSColor': [1, 0, 'x']", "'NSUnderline': 'yes'",
          "'NSParagraphStyle': []", "'NSLink': 3", "'NSToolTip': {}", "'NSAttachment': 'x.png'",
          "'NSAttachment': {'file': '/proc/version'}", "'NSAttachment': {'file': '../x'}", "'': 1",
          "'kQFTextViewMarkupDirectivesAttribute': 'h1'", "'QFTextViewIgnoreFormattingAttribute': 'true'"})
        row(attribute, quoted(attribute));
}

void StyledTextJSONTest::passesOverWrongTypes()
{
    QFETCH(QByteArray, attribute);
    QFReport report;
    const QFReport::Installed collecting(report);
    const DocumentResult result = StyledTextJSON::read(
        "{\"runs\": [{\"text\": \"a\", \"attributes\": {\"x\": [1], " + attribute + "}}]}", u"."_s);
    QVERIFY2(result.isValid(), qPrintable(result.error));
    QCOMPARE(result.text.runs().constFirst().attributes.count(), 1); // the unknown key stays
    QCOMPARE(report.records().size(), 1);
    QVERIFY(report.records().constFirst().message.startsWith(u"runs[0].attributes."));
}

void StyledTextJSONTest::keepsEveryUnit()
{
    QString all(0x10000, QChar(0));
    for (char32_t unit = 0; unit < 0x10000; ++unit)
        all[static_cast<qsizetype>(unit)] = QChar(static_cast<char16_t>(0xFFFF - unit)); // no pair among them
    NSMutableAttributedString text(all + u"\U0001F600"_s);
    text.addAttribute(NSToolTipAttributeName, u"in the middle of the pair"_s, {text.length() - 1, 1});
    const DocumentResult result = StyledTextJSON::read(StyledTextJSON::write(text, {}).json, {});
    QVERIFY2(result.isValid(), qPrintable(result.error));
    QVERIFY(result.text == text);
}

void StyledTextJSONTest::readsWhatItWrites()
{
    const char *json = R"({
 "attachments": {
  "a1": {"mediaAttributes":{"alttag":"A","bordercolour":[0,0,0,1],"fillcolour":{"components":[1,1,1,1],"space":"CalibratedWhite"},"scale":0.1}}
 },
 "cells": {
  "c1": {"backgroundColor":[0.1,0.2,0.3,0.4],"border":[1,2,3,4],"borderColor":[1,0,0,1],"columnSpan":3,"height":7,"margin":5,"padding":0.5,"rowSpan":2,"startingColumn":1,"startingRow":4,"table":"t1","verticalAlignment":9,"width":16.7},
  "c2": {"borderColors":[[1,0,0,1],null,null,null],"startingColumn":0}
 },
 "links": {
  "l1": {"anchor":"an","asset":-3,"href":"","internal":true,"name":"n","rel":"r","subpageID":"s","target":null,"title":"t"}
 },
 "runs": [
  {"attributes":{"NSAttachment":{"ref":"a1"},"NSLink":{"ref":"l1"},"NSUnderline":1},"text":"a"},
  {"attributes":{"NSAttachment":{"ref":"a1"},"NSLink":{"ref":"l1"}},"text":"b"},
  {"attributes":{"NSColor":[0.1,0.2,0.3,1],"NSFont":{"bold":true,"family":null,"italic":false,"name":"X","size":13.7},"NSLink":{"href":"h"},"NSParagraphStyle":{"alignment":7,"baseWritingDirection":1,"textBlocks":["c1","c2"],"textLists":["{disc}","{x}"]},"NSToolTip":"","own":{"a":[1,2.5,"\ud800",true]}},"text":"c"},
  {"attributes":{"NSAttachment":{"plain":true},"NSLink":"s","QFTextViewIgnoreFormattingAttribute":true,"kQFTextViewMarkupDirectivesAttribute":{"name":"n"}},"text":"\u0000"},
  {"text":"plain"}
 ],
 "tables": {
  "t1": {"layoutAlgorithm":1,"numberOfColumns":3}
 }
}
)";
    const DocumentResult result = StyledTextJSON::read(json, {});
    QVERIFY2(result.isValid(), qPrintable(result.error));
    QCOMPARE(StyledTextJSON::write(result.text, {}).json, QByteArray(json));

    QCOMPARE(valueAt<NSFont>(result.text, NSFontAttributeName, 2).pointSize, 13.7F);
    QVERIFY(valueAt<NSFont>(result.text, NSFontAttributeName, 2).familyName.isNull());
    QVERIFY(valueAt<QFLinkPtr>(result.text, NSLinkAttributeName, 0)->target().isNull());
    QCOMPARE(valueAt<QFLinkPtr>(result.text, NSLinkAttributeName, 2)->target(), u"self"_s);
}

void StyledTextJSONTest::keepsIdentity()
{
    const DocumentResult result =
        readQuoted("{'tables': {'t': {}}, 'cells': {'a': {'table': 't'}, 'b': {'table': 't'}}, 'runs': ["
                   "{'text': 'a', 'attributes': {'NSLink': {'href': 'x'}}}, {'text': 'b', 'attributes': "
                   "{'NSLink': {'href': 'x'}}},"
                   "{'text': 'c', 'attributes': {'NSParagraphStyle': {'textBlocks': ['a']}}}, {'text': '-'},"
                   "{'text': 'd', 'attributes': {'NSParagraphStyle': {'textBlocks': ['a']}}},"
                   "{'text': 'e', 'attributes': {'NSParagraphStyle': {'textBlocks': ['b']}}}]}");
    QVERIFY2(result.isValid(), qPrintable(result.error));
    const NSAttributedString &text = result.text;
    QCOMPARE(text.runs().size(), 6); // equal links are still two, and equal cells too
    QVERIFY(valueAt<QFLinkPtr>(text, NSLinkAttributeName, 0) !=
            valueAt<QFLinkPtr>(text, NSLinkAttributeName, 1));
    QCOMPARE(text.runs().at(2).attributes.address(), text.runs().at(4).attributes.address());
    const auto cell = [&](qsizetype index) {
        return valueAt<NSParagraphStyle>(text, NSParagraphStyleAttributeName, index).textBlocks.value(0);
    };
    QVERIFY(cell(2) != cell(5));
    QCOMPARE(cell(2)->table, cell(5)->table);
}

void StyledTextJSONTest::boundsNames()
{
    QByteArray json = "{\"runs\": [";
    for (int run = 0; run < 300; ++run)
        json += "{\"text\": \"a\", \"attributes\": {\"bounded" + QByteArray::number(run) + "\": 1}},";
    QFReport report;
    const QFReport::Installed collecting(report);
    QVERIFY(
        StyledTextJSON::read(json + "{\"text\": \"b\", \"attributes\": {\"bounded0\": 1}}]}", {}).isValid());
    QCOMPARE(report.records().size(), 300 - 256);
}

void StyledTextJSONTest::reportsWhatJSONCannotHold()
{
    QFReport report;
    const QFReport::Installed collecting(report);
    const NSAttributedString text(u"ab"_s,
                                  {{NSAttributeKey(u"float"), std::numeric_limits<float>::quiet_NaN()},
                                   {NSAttributeKey(u"double"), std::numeric_limits<double>::infinity()}});
    QVERIFY(!StyledTextJSON::write(text, {}).json.contains("null"));
    QCOMPARE(report.records().size(), 2);
}

void StyledTextJSONTest::carriesFiles()
{
    const auto attachment = [](const QString &name, const QByteArray &bytes) {
        const NSFileWrapperPtr file = NSFileWrapper::regularFileWithContents(bytes);
        file->setPreferredFilename(name);
        return QVariant::fromValue<NSTextAttachmentPtr>(std::make_shared<QFTextAttachment>(file));
    };
    NSMutableAttributedString text;
    text.append(u"\uFFFC"_s, {{NSAttachmentAttributeName, attachment(u"a.txt"_s, "one")}});
    text.append(u"\uFFFC"_s, {{NSAttachmentAttributeName, attachment(u"A.txt"_s, "two")}});
    const StyledTextJSON::Written written = StyledTextJSON::write(text, u"x.files"_s);
    QCOMPARE(written.files.keys(), (QStringList{u"x.files/A-2.txt"_s, u"x.files/a.txt"_s}));

    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkpath(u"x.files"_s));
    for (auto file = written.files.begin(); file != written.files.end(); ++file)
        QVERIFY(file.value()->writeToPath(folder.filePath(file.key()), false));
    const DocumentResult result = StyledTextJSON::read(written.json, folder.path());
    const auto second = valueAt<NSTextAttachmentPtr>(result.text, NSAttachmentAttributeName, 1);
    QVERIFY(second);
    QCOMPARE(second->fileWrapper()->regularFileContents(), QByteArray("two"));
    QCOMPARE(second->fileWrapper()->preferredFilename(), u"A.txt"_s);
    QVERIFY(dynamic_cast<QFTextAttachment *>(second.get()));
}

void StyledTextJSONTest::namesFilesSafely()
{
    for (const QString &name : {u"../../x"_s, u"/"_s, u".."_s, u".hidden"_s, u""_s, QString(3000, u'x'),
                                u"a\nb\0c"_s, QString(QChar(0xD800)), u"a\\b"_s}) {
        const NSFileWrapperPtr file = NSFileWrapper::regularFileWithContents("x");
        file->setPreferredFilename(name);
        const NSAttributedString text(
            u"\uFFFC"_s, {{NSAttachmentAttributeName, QVariant::fromValue<NSTextAttachmentPtr>(
                                                          std::make_shared<NSTextAttachment>(file))}});
        const QStringList paths = StyledTextJSON::write(text, u"f"_s).files.keys();
        QCOMPARE(paths.size(), 1);
        const QString written = paths.constFirst().mid(2);
        QVERIFY2(!written.isEmpty() && !written.startsWith(u'.') && !written.contains(u'/') &&
                     written.size() < 100 && written.isValidUtf16() && !written.contains(u'\n'),
                 qPrintable(written));
    }
}

void StyledTextJSONTest::readsManyRunsQuickly()
{
    QByteArray json = "{\"runs\": [";
    for (qsizetype run = 0; run < kBigRuns; ++run)
        json += "{\"text\": \"some text\", \"attributes\": {\"NSColor\": [1, 0, " +
                QByteArray::number(run % 2) + "]}},";
    json.chop(1);
    QElapsedTimer timer;
    timer.start();
    const DocumentResult result = StyledTextJSON::read(json + "]}", {});
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(result.text.runs().size(), kBigRuns);
    QCOMPARE(result.text.runs().at(0).attributes.address(), result.text.runs().at(2).attributes.address());
}

QTEST_APPLESS_MAIN(StyledTextJSONTest)
#include "StyledTextJSONTest.moc"
