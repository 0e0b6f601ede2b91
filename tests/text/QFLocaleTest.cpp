#include "text/QFLocale.h"

#include "platform/NSUserDefaults.h"
#include "tests/Rows.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class QFLocaleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheUsersLanguage_data();
    void findsTheUsersLanguage();
};

namespace {

constexpr auto kChild = "QF_LOCALE_TEST_CHILD";

void storeLanguages(NSUserDefaults &preferences, const QVariant &languages)
{
    preferences.setPersistentDomain({{u"AppleLanguages"_s, languages}}, NSGlobalDomain.toString());
    preferences.synchronize();
}

/// The language is read once in a process, so each row has a process of its own.
int printLanguage()
{
    const QString language = QFLocale::currentLanguageCode();
    storeLanguages(NSUserDefaults::standardUserDefaults(), QStringList{u"xx"_s});
    const bool stays = QFLocale::currentLanguageCode() == language;
    std::printf("%s%s", qPrintable(language), stays ? "" : " then another");
    return 0;
}

} // namespace

void QFLocaleTest::findsTheUsersLanguage_data()
{
    const Rows<QVariant, QByteArray> row({"stored", "language"});
    row("first of a list", QStringList{u"pt-BR"_s, u"en"_s}, "pt-BR");
    row("nothing", QStringList(), "en");
    row("first is no string", QVariantList{1, u"de"_s}, "en");
    row("first is empty", QStringList{u""_s, u"de"_s}, "en");
    row("no list", u"de"_s, "en");
}

void QFLocaleTest::findsTheUsersLanguage()
{
    const QTemporaryDir folder;
    QFETCH(QVariant, stored);
    NSUserDefaults preferences(folder.filePath(u"QFPluginUtilities"_s), {});
    storeLanguages(preferences, stored);
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(kChild), u"1"_s);
    environment.insert(u"XDG_CONFIG_HOME"_s, folder.path());
    environment.insert(u"LANG"_s, u"fr_FR.UTF-8"_s); // has no say
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), {});
    QVERIFY(child.waitForFinished());
    QTEST(child.readAllStandardOutput(), "language");
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet(kChild))
        return printLanguage();
    const QCoreApplication application(argc, argv);
    QFLocaleTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "QFLocaleTest.moc"
