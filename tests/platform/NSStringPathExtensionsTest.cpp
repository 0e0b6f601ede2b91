#include "platform/NSStringPathExtensions.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace NSStringPathExtensions;

class NSStringPathExtensionsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void splits_data()
    {
        QTest::addColumn<QString>("last");
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("withoutExtension");
        QTest::addColumn<QString>("withoutLast");
        const auto row = [](const char *path, const char16_t *last, const char16_t *extension,
                            const char16_t *withoutExtension, const char16_t *withoutLast) {
            QTest::newRow(path) << QString::fromUtf16(last) << QString::fromUtf16(extension)
                                << QString::fromUtf16(withoutExtension) << QString::fromUtf16(withoutLast);
        };
        row("/a/b.tiff", u"b.tiff", u"tiff", u"/a/b", u"/a");
        row("/a/b/", u"b", u"", u"/a/b", u"/a");
        row("/a", u"a", u"", u"/a", u"/");
        row("a", u"a", u"", u"a", u"");
        row("/", u"/", u"", u"/", u"/");
        row("//", u"/", u"", u"/", u"/");
        row("", u"", u"", u"", u"");
        row("x.bundle/", u"x.bundle", u"bundle", u"x", u"");
        row("a..tiff", u"a..tiff", u"tiff", u"a.", u"");
        row(".tiff", u".tiff", u"", u".tiff", u"");
        row(".a.tiff", u".a.tiff", u"tiff", u".a", u"");
        row("a.", u"a.", u"", u"a.", u"");
        row("a.tar.gz", u"a.tar.gz", u"gz", u"a.tar", u"");
        row("a.b/c", u"c", u"", u"a.b/c", u"a.b");
    }
    void splits()
    {
        const QString path = QString::fromLatin1(QTest::currentDataTag());
        QFETCH(QString, last);
        QFETCH(QString, extension);
        QFETCH(QString, withoutExtension);
        QFETCH(QString, withoutLast);
        QCOMPARE(lastPathComponent(path), last);
        QCOMPARE(pathExtension(path), extension);
        QCOMPARE(stringByDeletingPathExtension(path), withoutExtension);
        QCOMPARE(stringByDeletingLastPathComponent(path), withoutLast);
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
