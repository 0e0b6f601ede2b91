#include "platform/NSStringPathExtensions.h"
#include "tests/Rows.h"

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

class NSStringPathExtensionsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void splits_data()
    {
        addRows({"last", "extension", "withoutExtension", "withoutLast"}, uR"(
/a/b.tiff | b.tiff   | tiff   | /a/b   | /a
/a/b/     | b        |        | /a/b   | /a
/a        | a        |        | /a     | /
a         | a        |        | a      |
/         | /        |        | /      | /
//        | /        |        | /      | /
          |          |        |        |
x.bundle/ | x.bundle | bundle | x      |
a..tiff   | a..tiff  | tiff   | a.     |
.tiff     | .tiff    |        | .tiff  |
.a.tiff   | .a.tiff  | tiff   | .a     |
a.        | a.       |        | a.     |
a.tar.gz  | a.tar.gz | gz     | a.tar  |
a.b/c     | c        |        | a.b/c  | a.b
)"_s);
    }
    void splits()
    {
        const QString path = QString::fromLatin1(QTest::currentDataTag());
        QTEST(lastPathComponent(path), "last");
        QTEST(pathExtension(path), "extension");
        QTEST(stringByDeletingPathExtension(path), "withoutExtension");
        QTEST(stringByDeletingLastPathComponent(path), "withoutLast");
    }
    void joins()
    {
        for (const auto &[path, component] :
             {std::pair{u"/a", u"b"}, {u"/a/", u"b"}, {u"/a", u"/b"}, {u"/a", u"b/"}})
            QCOMPARE(stringByAppendingPathComponent(path, component), u"/a/b"_s);
        QCOMPARE(stringByAppendingPathComponent(u"", u"b"), u"b"_s);
        QCOMPARE(stringByAppendingPathComponent(u"/", u"b"), u"/b"_s);
        QCOMPARE(stringByAppendingPathComponent(u"/a", u""), u"/a"_s);
        QCOMPARE(stringByAppendingPathExtension(u"x/", u"jpg"), u"x.jpg"_s);
        QCOMPARE(stringByAppendingPathExtension(u"/", u"jpg"), u"/"_s);
        QCOMPARE(stringByAppendingPathExtension(u"", u"jpg"), u""_s);
    }
};

QTEST_APPLESS_MAIN(NSStringPathExtensionsTest)
#include "NSStringPathExtensionsTest.moc"
