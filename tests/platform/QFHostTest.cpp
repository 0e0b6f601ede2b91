#include "platform/QFHost.h"

#include "tests/Rows.h"
#include "tests/host/SmallHost.h"

#include <QUrl>

using namespace Qt::StringLiterals;

// Page settings as an object.
class AttributesObject : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE QString filenameExt() { return u"php"_s; }
};

// Answers everything with values of wrong types.
class OddHost : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariant document MEMBER odd)
    Q_PROPERTY(QVariant attributes MEMBER odd)

public:
    QVariant odd;
    Q_INVOKABLE QVariant uniqueID() { return odd; }
    Q_INVOKABLE QVariant plugin() { return odd; }
    Q_INVOKABLE QVariant isExternalPage() { return u"YES"_s; }
    Q_INVOKABLE QVariant externalPageURL() { return odd; }
    Q_INVOKABLE QVariant pageFromUniqueID(const QString &) { return odd; }
    Q_INVOKABLE QVariant pathFromPage(const QVariantMap &) { return odd; }
    Q_INVOKABLE QVariant pageFilesFolderName(const QString &) { return odd; }
    Q_INVOKABLE QVariant fileNameOrSaveToFileName() { return odd; }
    Q_INVOKABLE QVariant colourTagFiles() { return odd; }
    Q_INVOKABLE QVariant internalPageLinkFileMapper(const QString &) { return odd; }
};

class QFHostTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void asksPagesDocumentsAndPlugins();
    void tellsAMapperThatKnowsNothingFromNone();
    void takesAnswersOfWrongTypesAsNil();
    void asksNobodyAtAll();
};

void QFHostTest::asksPagesDocumentsAndPlugins()
{
    SmallDocument document;
    SmallPage *page = document.addPage(u"a"_s);
    document.addPage(u"b"_s)->external = true;
    document.pages[u"b"_s]->externalURL = u"https://example.com/"_s;
    page->attributes = QVariantMap{
        {u"imageFormat"_s, u"PNG"_s}, {u"imageQuality"_s, u"High"_s}, {u"filenameExt"_s, u"html"_s}};

    QCOMPARE(QFHost::imageFormat(page), u"PNG"_s);
    QCOMPARE(QFHost::imageQuality(page), u"High"_s);
    QCOMPARE(QFHost::filenameExt(page), u"html"_s);
    QCOMPARE(QFHost::document(page), &document);
    QCOMPARE(QFHost::uniqueID(page), u"a"_s);
    QCOMPARE(QFHost::plugin(page), page->pagePlugin);
    QVERIFY(!QFHost::isExternalPage(page));
    const QPointer<QObject> other = QFHost::pageFromUniqueID(&document, u"b"_s);
    QVERIFY(QFHost::isExternalPage(other));
    QCOMPARE(QFHost::externalPageURL(other), u"https://example.com/"_s);
    QCOMPARE(QFHost::pathFromPage(&document, u"a"_s, u"b"_s, 2), u"b.html"_s);
    QCOMPARE(QFHost::pageFilesFolderName(&document, u"b"_s), u"b_files"_s);
    QVERIFY(!QFHost::pageFromUniqueID(&document, u"none"_s));
    QVERIFY(QFHost::pathFromPage(&document, QString(), u"none"_s, 0).isNull());
    QCOMPARE(document.asked,
             QStringList({u"pageFromUniqueID b"_s, u"pathFromPage a b 2"_s, u"pageFilesFolderName b"_s,
                          u"pageFromUniqueID none"_s, u"pathFromPage  none 0"_s}));

    AttributesObject attributes;
    page->attributes = QVariant::fromValue<QObject *>(&attributes);
    QCOMPARE(QFHost::filenameExt(page), u"php"_s);
    QVERIFY(QFHost::imageFormat(page).isNull());
}

void QFHostTest::tellsAMapperThatKnowsNothingFromNone()
{
    const SmallPlugin plain;
    SmallMappingPlugin mapping;
    QVERIFY(!QFHost::internalPageLinkFileMapper(const_cast<SmallPlugin *>(&plain), u"s"_s));
    const std::optional<QString> unknown = QFHost::internalPageLinkFileMapper(&mapping, u"s"_s);
    QVERIFY(unknown && unknown->isNull());
    mapping.mapper = [](const QString &subpageID) { return subpageID + u".php"_s; };
    QCOMPARE(QFHost::internalPageLinkFileMapper(&mapping, u"s"_s), u"s.php"_s);
    mapping.mapper = [](const QString &) -> QString { throw std::runtime_error("no"); };
    const std::optional<QString> thrown = QFHost::internalPageLinkFileMapper(&mapping, u"s"_s);
    QVERIFY(thrown && thrown->isNull());
}

void QFHostTest::takesAnswersOfWrongTypesAsNil()
{
    for (const QVariant &odd : {QVariant(3), QVariant(QUrl(u"https://example.com"_s)),
                                QVariant(QVariantList{u"x"_s}), QVariant::fromValue<QObject *>(nullptr)}) {
        OddHost host;
        host.odd = odd;
        QVERIFY(!QFHost::document(&host) && !QFHost::plugin(&host) &&
                !QFHost::pageFromUniqueID(&host, u"a"_s));
        QVERIFY(!QFHost::isExternalPage(&host));
        for (const QString &text :
             {QFHost::uniqueID(&host), QFHost::externalPageURL(&host), QFHost::pathFromPage(&host, {}, {}, 0),
              QFHost::pageFilesFolderName(&host, {}), QFHost::imageFormat(&host), QFHost::filenameExt(&host),
              QFHost::fileNameOrSaveToFileName(&host)})
            QVERIFY(text.isNull());
        QCOMPARE(QFHost::colourTagFiles(&host).size(), odd.toList().size()); // a list is all right there
        QVERIFY(QFHost::internalPageLinkFileMapper(&host, u"s"_s)->isNull());
    }
}

void QFHostTest::asksNobodyAtAll()
{
    QObject plain;
    for (QObject *receiver : {static_cast<QObject *>(nullptr), &plain}) {
        QVERIFY(!QFHost::document(receiver) && !QFHost::isExternalPage(receiver));
        QVERIFY(QFHost::pathFromPage(receiver, u"a"_s, u"b"_s, 0).isNull());
        QVERIFY(!QFHost::internalPageLinkFileMapper(receiver, u"s"_s));
    }
}

QTEST_APPLESS_MAIN(QFHostTest)
#include "QFHostTest.moc"
