#include "editing/QFHTMLHandleMenu.h"

#include "platform/NSUserDefaults.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "tests/Files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class QFHTMLHandleMenuTest : public QObject
{
    Q_OBJECT

public:
    static void initMain();

private Q_SLOTS:
    void initTestCase();
    void init();
    void offersWhatTheDesktopDoes();
    void leavesTheProbeFileOfOthers();
    void listsProgramsInItsOrder();
    void endsAsItShould();
    void takesOnlyTheNextPage();
    void keepsTheListOfOthers();
};

namespace {

const QString kProbe = u"/tmp/qftmp.html"_s;
const QString kPreference = u"OtherHTMLHandlers"_s;

/// Made before anything asks for the desktop's folders, which are looked up once.
QTemporaryDir &desktop()
{
    static QTemporaryDir folder;
    return folder;
}

QString at(const QString &path)
{
    return desktop().filePath(path);
}

void writeProgram(const QString &name, const QByteArray &entries)
{
    QVERIFY(write(at(u"data/applications/"_s + name),
                  "[Desktop Entry]\nType=Application\nMimeType=text/html\n" + entries));
}

void writePicture(const QString &path, QSize size)
{
    QImage picture(size, QImage::Format_ARGB32);
    picture.fill(Qt::red);
    QDir().mkpath(QFileInfo(at(path)).path());
    QVERIFY(picture.save(at(path)));
}

QUrl handlerURL(const QString &name)
{
    return QUrl::fromLocalFile(at(u"data/applications/"_s + name));
}

QVariantMap &dictionary(const NSMenuItem &item)
{
    return *item.representedObject.value<NSMutableDictionaryPtr>();
}

QStringList titles(const NSMenu &menu)
{
    QStringList titles;
    for (const NSMenuItem &item : menu.items)
        titles.append(item.isSeparatorItem ? u"-"_s : item.title);
    return titles;
}

void storeOthers(const QVariant &list)
{
    NSUserDefaults::standardUserDefaults().setObject(list, kPreference);
}

} // namespace

void QFHTMLHandleMenuTest::initMain()
{
    qputenv("XDG_DATA_HOME", QFile::encodeName(at(u"data"_s)));
    qputenv("XDG_DATA_DIRS", QFile::encodeName(at(u"shared"_s)));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(at(u"config"_s)));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(at(u"config"_s)));
}

void QFHTMLHandleMenuTest::initTestCase()
{
    NSUserDefaults::standardUserDefaults().setFolder(at(u"preferences"_s));
    writePicture(u"shared/icons/hicolor/32x32/apps/alpha.png"_s, {32, 32});
    writePicture(u"wide.png"_s, {40, 20});
    writeProgram(u"alpha.desktop"_s, "Name=Alpha\nExec=/bin/sh %f\nIcon=alpha\n");
    writeProgram(u"beta.desktop"_s, "Name=Beta\nExec=/bin/sh %f\nIcon=" + at(u"wide.png"_s).toUtf8() + "\n");
    writeProgram(u"twin.desktop"_s, "Name=Alpha\nExec=/bin/sh %f\nIcon=missing\n");
    writeProgram(u"hidden.desktop"_s, "Name=Hidden\nExec=/bin/sh %f\nNoDisplay=true\n");
    writeProgram(u"gone.desktop"_s, "Name=Gone\nExec=/none/at/all %f\n");
    QVERIFY(
        write(at(u"data/applications/mimeinfo.cache"_s),
              "[MIME "
              "Cache]\ntext/html=alpha.desktop;hidden.desktop;gone.desktop;beta.desktop;twin.desktop;\n") &&
        write(at(u"config/mimeapps.list"_s), "[Added Associations]\ntext/html=twin.desktop\n") &&
        write(at(u"tool"_s), ""));
}

void QFHTMLHandleMenuTest::init()
{
    QFHTMLHandleMenu::discardMenu();
    storeOthers({});
    if (QFile::exists(kProbe))
        QSKIP("something stands in the probe file's place");
}

void QFHTMLHandleMenuTest::offersWhatTheDesktopDoes()
{
    QCOMPARE(QFHTMLHandleMenu::installedHTMLHandlers(),
             (QList<QUrl>{handlerURL(u"twin.desktop"_s), handlerURL(u"alpha.desktop"_s),
                          handlerURL(u"beta.desktop"_s)}));
    QVERIFY(!QFile::exists(kProbe));
}

void QFHTMLHandleMenuTest::leavesTheProbeFileOfOthers()
{
    QFile foreign(kProbe);
    QVERIFY(foreign.open(QIODevice::WriteOnly | QIODevice::NewOnly));
    QVERIFY(foreign.write("theirs") == 6 && foreign.flush());
    QFReport report;
    const QFReport::Installed installed(report);
    const QList<QUrl> handlers = QFHTMLHandleMenu::installedHTMLHandlers();
    const bool isStillThere = QFile::exists(kProbe);
    QVERIFY(foreign.remove());
    QVERIFY(handlers.isEmpty() && isStillThere);
    QCOMPARE(report.records().size(), 1);
}

void QFHTMLHandleMenuTest::listsProgramsInItsOrder()
{
    QObject page;
    auto target = std::make_unique<QObject>();
    storeOthers(QVariantList{at(u"tool"_s), at(u"none"_s), 42, at(u"data/applications/gone.desktop"_s),
                             at(u"data/applications/beta.desktop"_s), u"tool"_s});
    const auto menu = QFHTMLHandleMenu::htmlHandlersMenu(&page, target.get(), u"preview:"_s, u"other:"_s);
    QCOMPARE(titles(*menu), (QStringList{u"Alpha"_s, u"Alpha"_s, u"Beta"_s, u"-"_s, u"tool"_s,
                                         u"gone.desktop"_s, u"Beta"_s, u"-"_s, u"Other..."_s}));
    const NSMenuItem &alpha = menu->items[1];
    QCOMPARE(dictionary(alpha).value(u"handler"_s).toUrl(), handlerURL(u"alpha.desktop"_s));
    QCOMPARE(objectValue(dictionary(alpha).value(u"page"_s)), &page);
    QCOMPARE(alpha.action, u"preview:"_s);
    QCOMPARE(alpha.target, target.get());
    const NSMenuItem &other = menu->items.last();
    QCOMPARE(other.target, QFHTMLHandleMenu::classObject());
    QCOMPARE(other.action, u"other:"_s);
    QCOMPARE(dictionary(other).keys(), QStringList{u"page"_s});

    QVERIFY2(menu->items[0].image.isNull() && menu->items[4].image.isNull(), "no icon");
    QCOMPARE(alpha.image.size(), QSize(16, 16));
    QCOMPARE(alpha.image.pixelColor(0, 0), QColor(Qt::red));
    const QImage &wide = menu->items[2].image;
    QCOMPARE(wide.size(), QSize(16, 16));
    QVERIFY(wide.pixelColor(8, 0).alpha() == 0 && wide.pixelColor(8, 8) == QColor(Qt::red));

    target.reset();
    QVERIFY2(!alpha.target, "the target is weak");
}

void QFHTMLHandleMenuTest::endsAsItShould()
{
    const auto end = [](const QString &other, const QString &otherSelector) {
        QFHTMLHandleMenu::discardMenu();
        storeOthers(QVariantList{at(other)});
        return titles(*QFHTMLHandleMenu::htmlHandlersMenu(nullptr, nullptr, u"preview:"_s, otherSelector))
            .mid(3);
    };
    QCOMPARE(end(u"none"_s, {}), QStringList{u"-"_s});
    QCOMPARE(end(u"tool"_s, {}), (QStringList{u"-"_s, u"tool"_s}));
    QCOMPARE(end(u"none"_s, u"other:"_s), (QStringList{u"-"_s, u"Other..."_s}));
}

void QFHTMLHandleMenuTest::takesOnlyTheNextPage()
{
    QObject first;
    QObject target;
    auto second = std::make_unique<QObject>();
    const auto menu = QFHTMLHandleMenu::htmlHandlersMenu(&first, &target, u"preview:"_s, u"other:"_s);
    const QStringList before = titles(*menu);
    QCOMPARE(QFHTMLHandleMenu::htmlHandlersMenu(second.get(), nullptr, u"elsewhere:"_s, {}), menu);
    QCOMPARE(QFHTMLHandleMenu::htmlHandlersMenu(nullptr, nullptr, {}, {}), menu);
    QCOMPARE(titles(*menu), before);
    QList<QVariant> pages;
    for (const NSMenuItem &item : menu->items) {
        if (!item.isSeparatorItem)
            pages.append(dictionary(item).value(u"page"_s));
    }
    QCOMPARE(pages.size(), 4);
    for (const QVariant &page : pages)
        QCOMPARE(objectValue(page), second.get());
    QCOMPARE(menu->items[0].action, u"preview:"_s);
    QCOMPARE(menu->items[0].target, &target);
    second.reset();
    QVERIFY2(isNil(pages[0]), "the page is weak");
}

void QFHTMLHandleMenuTest::keepsTheListOfOthers()
{
    const QVariant odd = QVariantList{u"/none"_s, 42, u"/bin/sh"_s};
    const QVariant empty = QVariantList();
    for (const QVariant &stored : {odd, empty, QVariant(u"no list"_s), QVariant()}) {
        storeOthers(stored);
        QFHTMLHandleMenu::loadOthersArray();
        const bool isList = stored.typeId() == QMetaType::QVariantList;
        QCOMPARE(QFHTMLHandleMenu::othersArray().has_value(), isList);
        QFHTMLHandleMenu::saveOthersArray();
        const QVariant now = NSUserDefaults::standardUserDefaults().objectForKey(kPreference);
        QVERIFY(sameValue(now, isList ? stored : QVariant()));
    }
}

QTEST_MAIN(QFHTMLHandleMenuTest)
#include "QFHTMLHandleMenuTest.moc"
