#include "tests/Files.h"

#include <QDir>
#include <QDirIterator>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;

/// The site that comes with the system, built by the command line with all plug-ins: nothing is left to wish
/// for.
class SampleSiteTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyAddressLeadsToAFile();
    void everyPictureHasTheSizeThatItsTagSays();
    void nothingIsFetchedFromElsewhere();

private:
    using See = std::function<void(const QHash<QString, QString> &, const QString &page)>;
    /// Calls back with the attributes of each element of the name, and the page that it stands on.
    void forEach(const QString &element, const See &see);

    QTemporaryDir _folder;
    QHash<QString, QString> _pages; ///< text by path
};

namespace {

/// The file that an address on a page leads to; nil for addresses of other schemes.
QString target(const QString &address, const QString &page)
{
    const QUrl url(address);
    if (!url.scheme().isEmpty())
        return {};
    const QString path = url.path(QUrl::FullyDecoded);
    return path.isEmpty() ? page : QDir::cleanPath(QFileInfo(page).path() + u'/' + path);
}

} // namespace

void SampleSiteTest::forEach(const QString &element, const See &see)
{
    const QRegularExpression tag(u"<"_s + element + u"\\b([^>]*)>"_s);
    const QRegularExpression attribute(u"([a-z-]+)=\"([^\"]*)\""_s);
    int seen = 0;
    for (auto [page, text] : _pages.asKeyValueRange()) {
        for (auto tags = tag.globalMatch(text); tags.hasNext(); ++seen) {
            QHash<QString, QString> values;
            for (auto match = attribute.globalMatch(tags.next().captured(1)); match.hasNext();) {
                const QRegularExpressionMatch one = match.next();
                values.insert(one.captured(1), one.captured(2));
            }
            see(values, page);
        }
    }
    QVERIFY2(seen > 0, qPrintable(element));
}

void SampleSiteTest::initTestCase()
{
    QProcess qf;
    qf.setProcessChannelMode(QProcess::MergedChannels);
    qf.start(QStringLiteral(QF_PROGRAM),
             {u"build"_s, QStringLiteral(QF_SITE), u"-o"_s, _folder.filePath(u"out"_s), u"--strict"_s});
    QVERIFY(qf.waitForFinished(120000));
    QVERIFY2(qf.exitCode() == 0, qf.readAll().constData());
    for (QDirIterator files(_folder.filePath(u"out"_s), {u"*.html"_s}, QDir::Files,
                            QDirIterator::Subdirectories);
         files.hasNext();) {
        const QString file = files.next();
        _pages.insert(file, QString::fromUtf8(contents(file)));
    }
    QVERIFY(_pages.size() > 20);
}

void SampleSiteTest::everyAddressLeadsToAFile()
{
    for (const auto &[element, attribute] : {std::pair{u"a"_s, u"href"_s},
                                             {u"link"_s, u"href"_s},
                                             {u"script"_s, u"src"_s},
                                             {u"img"_s, u"src"_s}}) {
        forEach(element, [&](const QHash<QString, QString> &values, const QString &page) {
            const QString address = values.value(attribute);
            const QString file = target(address, page);
            if (values.contains(attribute) && !file.isNull())
                QVERIFY2(QFileInfo(file).isFile() && address != u"#", qPrintable(page + u": "_s + address));
        });
    }
}

void SampleSiteTest::everyPictureHasTheSizeThatItsTagSays()
{
    forEach(u"img"_s, [](const QHash<QString, QString> &values, const QString &page) {
        const QString file = target(values.value(u"src"_s), page);
        const QSize size(values.value(u"width"_s).toInt(), values.value(u"height"_s).toInt());
        QVERIFY2(QImage(file).size() == size, qPrintable(page + u": "_s + file));
        QVERIFY2(!values.value(u"alt"_s).isEmpty(), qPrintable(page + u": "_s + file));
    });
}

void SampleSiteTest::nothingIsFetchedFromElsewhere()
{
    for (const QString &element : {u"link"_s, u"script"_s, u"img"_s}) {
        forEach(element, [](const QHash<QString, QString> &values, const QString &page) {
            const QString address = values.value(u"src"_s, values.value(u"href"_s));
            QVERIFY2(!address.contains(u"//"), qPrintable(page + u": "_s + address));
        });
    }
}

QTEST_GUILESS_MAIN(SampleSiteTest)
#include "SampleSiteTest.moc"
