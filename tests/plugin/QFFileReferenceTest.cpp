#include "plugin/QFFileReference.h"

#include "tests/platform/ArchiveTestData.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

class QFFileReferenceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void followsItsFile();
    void keepsWhatItCannotFind();
    void isArchivedInSequence();
    void readsOnlyReferences();

private:
    [[nodiscard]] QString at(const QString &path) const { return _folder->filePath(path); }
    [[nodiscard]] bool rename(const QString &from, const QString &to) const
    {
        return QDir(_folder->path()).rename(from, to);
    }

    std::unique_ptr<QTemporaryDir> _folder;
};

void QFFileReferenceTest::init()
{
    _folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(_folder->path()).mkpath(u"site/pictures"_s));
}

void QFFileReferenceTest::followsItsFile()
{
    const auto reference = QFFileReference::referenceTo(at(u"site/pictures"_s), at(u"site"_s));
    const QByteArray first = reference->alias();
    QVERIFY(reference->pathExists() && !first.isNull());
    QCOMPARE(reference->resolveRelativeTo({}), at(u"site/pictures"_s));
    QCOMPARE(reference->alias(), first);

    QVERIFY(rename(u"site/pictures"_s, u"site/images"_s));
    QVERIFY(!reference->pathExists());
    QCOMPARE(reference->resolveRelativeTo(at(u"site"_s)), at(u"site/images"_s));
    QCOMPARE(reference->path(), at(u"site/images"_s));
    QVERIFY2(reference->alias() != first, "the alias knows the new place");

    QVERIFY(rename(u"site"_s, u"moved"_s));
    QCOMPARE(reference->resolveRelativeTo(at(u"moved"_s)), at(u"moved/images"_s));
}

void QFFileReferenceTest::keepsWhatItCannotFind()
{
    const auto reference = QFFileReference::referenceTo(at(u"site/pictures"_s), at(u"site"_s));
    const QByteArray alias = reference->alias();
    QVERIFY(QDir().rmdir(at(u"site/pictures"_s)));
    QVERIFY(reference->resolveRelativeTo(at(u"site"_s)).isNull());
    QCOMPARE(reference->path(), at(u"site/pictures"_s));
    QCOMPARE(reference->alias(), alias);
    for (const QByteArray &foreign :
         {QByteArray(), QByteArray(""), QByteArray("QFAR\1"), QByteArray(64, '\xff')}) {
        reference->setAlias(foreign);
        QVERIFY(reference->resolveRelativeTo(at(u"site"_s)).isNull());
    }
    QFFileReference empty;
    QVERIFY(!empty.pathExists() && empty.resolveRelativeTo(at(u"site"_s)).isNull());
    empty.setPath(at(u"none"_s), {});
    QVERIFY(empty.path() == at(u"none"_s) && empty.alias().isNull());
}

void QFFileReferenceTest::isArchivedInSequence()
{
    const auto reference = QFFileReference::referenceTo(at(u"site/pictures"_s), at(u"site"_s));
    const auto bare = std::make_shared<QFFileReference>();
    const QVariantList all{QVariant::fromValue(reference), QVariant::fromValue(bare),
                           QVariant::fromValue(reference)};
    const QVariantList back = thereAndBack(all);
    QCOMPARE(back.size(), 3);
    const auto first = back[0].value<QFFileReferencePtr>();
    QVERIFY2(first && first == back[2].value<QFFileReferencePtr>(), "one object stays one");
    QCOMPARE(first->path(), reference->path());
    QCOMPARE(first->alias(), reference->alias());
    QVERIFY(back[1].value<QFFileReferencePtr>()->path().isNull());
    QVERIFY(back[1].value<QFFileReferencePtr>()->alias().isNull());

    QVERIFY(rename(u"site/pictures"_s, u"site/images"_s));
    QCOMPARE(first->resolveRelativeTo(at(u"site"_s)), at(u"site/images"_s));
}

void QFFileReferenceTest::readsOnlyReferences()
{
    const auto reads = [](QVariantMap entries) {
        entries.insert(u"$class"_s, ::at(2));
        const QByteArray archive =
            archiveOf({entries, classEntry(u"QFFileReference"_s), u"/x"_s, QByteArray("alias"), 42});
        const QVariant root = NSKeyedUnarchiver::unarchiveObjectWithData(archive);
        return root.value<QFFileReferencePtr>() != nullptr;
    };
    QVERIFY(reads({{u"$0"_s, ::at(3)}, {u"$1"_s, ::at(4)}}));
    QVERIFY2(reads({}), "both may be missing");
    QVERIFY2(reads({{u"$0"_s, ::at(3)}, {u"$1"_s, ::at(1)}}), "itself as alias reads as nil");
    QVERIFY2(!reads({{u"$0"_s, ::at(4)}, {u"$1"_s, ::at(3)}}), "the other way round");
    QVERIFY2(!reads({{u"$0"_s, ::at(5)}}), "a number as path");
}

QTEST_GUILESS_MAIN(QFFileReferenceTest)
#include "QFFileReferenceTest.moc"
