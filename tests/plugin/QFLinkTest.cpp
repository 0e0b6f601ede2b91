#include "plugin/QFLink.h"
#include "platform/NSKeyedUnarchiver.h"
#include "tests/Rows.h"
#include "tests/platform/ArchiveTestData.h"

class QFLinkTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hasItsDefaults();
    void isArchivedFieldByField();
    void readsMissingAndWrongFieldsAsNil_data();
    void readsMissingAndWrongFieldsAsNil();
};

namespace {

/// All strings in the order in which they are archived, nil kept apart from empty.
QStringList strings(const QFLink &link)
{
    QStringList all;
    for (const QString &one : {link.href(), link.anchor(), link.storedName(), link.target(), link.title(),
                               link.rel(), link.subpageID()})
        all.append(one.isNull() ? u"(null)"_s : one);
    return all;
}

} // namespace

void QFLinkTest::hasItsDefaults()
{
    QFLink link(u"http://example.org"_s, true);
    const QString nil = u"(null)"_s;
    QCOMPARE(strings(link), (QStringList{link.href(), nil, nil, u"self"_s, nil, nil, nil}));
    QVERIFY(link.internal() && link.asset() == 0);
    QCOMPARE(link.name(), link.href());
    link.setName(u""_s);
    QVERIFY2(!link.name().isNull() && link.name().isEmpty(), "an empty name is a name");
    QVERIFY(!QFLink().name().isNull());
}

void QFLinkTest::isArchivedFieldByField()
{
    for (const QString &text : {u"x"_s, u""_s, QString()}) {
        const auto link = std::make_shared<QFLink>(text, text.isNull());
        link->setAnchor(text + u"a"_s);
        link->setName(text);
        link->setTitle(text);
        link->setRel(text);
        link->setSubpageID(text);
        link->setAsset(-7);
        const QFLinkPtr back = thereAndBack(link);
        QVERIFY(back);
        QCOMPARE(strings(*back), strings(*link));
        QCOMPARE(back->internal(), link->internal());
        QCOMPARE(back->asset(), -7);
    }
}

void QFLinkTest::readsMissingAndWrongFieldsAsNil_data()
{
    const Rows<QVariantMap> row({"entries"});
    QVariantMap wrong{{u"internal"_s, u"YES"_s}, {u"asset"_s, at(3)}};
    for (const auto *key : {"href", "anchor", "name", "target", "title", "rel", "subpageID"})
        wrong.insert(QString::fromLatin1(key), at(3));
    row("missing", {});
    row("wrong types", wrong);
}

void QFLinkTest::readsMissingAndWrongFieldsAsNil()
{
    QFETCH(QVariantMap, entries);
    entries.insert(u"$class"_s, at(2));
    const auto link =
        NSKeyedUnarchiver::unarchiveObjectWithData(archiveOf({entries, classEntry(u"QFLink"_s), 42}))
            .value<QFLinkPtr>();
    QVERIFY(link);
    QCOMPARE(strings(*link), QStringList(7, u"(null)"_s)); // no target either: "self" is for new links
    QVERIFY(!link->internal() && link->asset() == 0);
}

QTEST_APPLESS_MAIN(QFLinkTest)
#include "QFLinkTest.moc"
