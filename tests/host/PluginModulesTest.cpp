#include "host/plugins/PluginModules.h"

#include "plugin/QFPluginClass.h"
#include "tests/Files.h"
#include "tests/Rows.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// The thread sanitizer's own thread keeps a process from being copied, so modules cannot be tried out.
#if defined(__SANITIZE_THREAD__)
constexpr bool kHasTrials = false;
#else
constexpr bool kHasTrials = true;
#endif

const QString kSound = QStringLiteral(QF_TEST_MODULES "/sound");
const QString kCrashing = QStringLiteral(QF_TEST_MODULES "/crashing");

/// What `qf plugins` says of the modules in some folders: "usable", or why not, by file name.
QHash<QString, QString> listed(const QStringList &folders)
{
    QProcess qf;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QF_PLUGIN_PATH"_s, folders.join(u':'));
    environment.insert(u"QF_PLUGIN_TIMEOUT"_s, u"3000"_s);
    qf.setProcessEnvironment(environment);
    qf.start(QStringLiteral(QF_PROGRAM), {u"plugins"_s, u"--json"_s});
    if (!qf.waitForFinished(60000) || qf.exitStatus() != QProcess::NormalExit || qf.exitCode() != 0)
        return {{u"qf"_s, u"did not end well: "_s + QString::fromUtf8(qf.readAllStandardError())}};
    const QJsonObject lists = QJsonDocument::fromJson(qf.readAllStandardOutput()).object();
    QHash<QString, QString> result;
    for (const QJsonValue &plugin : lists[u"plugins"_s].toArray())
        result.insert(QFileInfo(plugin[u"file"_s].toString()).fileName(), u"usable"_s);
    for (const QJsonValue &refused : lists[u"refused"_s].toArray())
        result.insert(QFileInfo(refused[u"file"_s].toString()).fileName(), refused[u"sentence"_s].toString());
    return result;
}

QString refusalOf(const PluginModules &modules, const QString &file)
{
    for (const PluginModuleRefusal &refusal : modules.refusals()) {
        if (refusal.file == file)
            return refusal.sentence;
    }
    return {};
}

} // namespace

class PluginModulesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void saysWhatIsWrongWithAModule_data();
    void saysWhatIsWrongWithAModule();
    void refusesWhatIsNoModule();
    void refusesTruncatedModules();
    void survivesFlippedBytes();
    void readsMetadataWithFlippedBytes();
    void choosesAmongModulesOfOneIdentifier();
    void loadsOnceInAProcessWithThreads();
    void loadsAFileThatWasReplaced();
};

void PluginModulesTest::saysWhatIsWrongWithAModule_data()
{
    const Rows<QString, QString> row({"file", "sentence"}); // some of the sentence
    row("newest of two", u"Newer.so"_s, u"usable"_s);
    row("oldest level counts", u"Accommodating.so"_s, u"usable"_s);
    row("older of two", u"Good.so"_s, u"is used in its place, since it is newer"_s);
    row("throws in constructor", u"Throwing.so"_s, u"it threw an exception while being loaded"_s);
    row("throws in initializeClass", u"ThrowingLater.so"_s, u"while being initialised (out of ink)"_s);
    row("cannot run", u"Declining.so"_s, u"says that it cannot run here"_s);
    row("no instance", u"Barren.so"_s, u"makes no pages"_s);
    row("unresolved symbol", u"Unresolved.so"_s, u"nobodyDefinesThis"_s);
    row("other root object", u"AnotherRoot.so"_s, u"(ModuleClass) is no QFPluginClass"_s);
    row("foreign interface", u"Foreign.so"_s, u"another program (its interface is \"org.example.other\")"_s);
    row("newer level", u"Future.so"_s, u"newer Quillfern (level 98 of the plug-in interface"_s);
    row("older level", u"Past.so"_s, u"Ask its author, Jo, for a newer build"_s);
    row("missing key", u"Versionless.so"_s, u"\"version\" is missing"_s);
    row("mistyped key", u"Misnamed.so"_s, u"\"name\" must be a string"_s);
    row("path for an identifier", u"Escaping.so"_s, u"\"identifier\" must be of the form"_s);
    row("text for a level", u"Unlevelled.so"_s, u"\"apiLevel\" must be a whole number"_s);
    if (!kHasTrials)
        return;
    row("aborts", u"Aborting.so"_s, u"crashed while it was being loaded (SIGABRT)"_s);
    row("ends the program", u"Ending.so"_s, u"ended the program"_s);
    row("crashes in an instance", u"Crashing.so"_s, u"(SIGSEGV)"_s);
    row("hangs", u"Hanging.so"_s, u"did not come back"_s);
}

void PluginModulesTest::saysWhatIsWrongWithAModule()
{
    QFETCH(QString, file);
    QFETCH(QString, sentence);
    static const QHash<QString, QString> said = listed({kSound, kCrashing});
    const QString outcome = said.value(file, u"not listed"_s + said.value(u"qf"_s));
    if (kHasTrials || outcome != u"not listed")
        QVERIFY2(outcome.contains(sentence), qPrintable(outcome));
}

void PluginModulesTest::refusesWhatIsNoModule()
{
    const QTemporaryDir folder;
    const auto path = [&](const QString &name) { return folder.filePath(name); };
    QVERIFY(write(path(u"text.so"_s), "#!/bin/sh\nexit 1\n"));
    QVERIFY(write(path(u"empty.so"_s), {}));
    QVERIFY(QFile::link(path(u"nowhere"_s), path(u"link.so"_s)));
    QVERIFY(QDir().mkdir(path(u"folder.so"_s)));
    QCOMPARE(::mkfifo(QFile::encodeName(path(u"pipe.so"_s)).constData(), 0600), 0);
    QVERIFY(QFile::copy(kSound + u"/Good.so"_s, path(u"closed.so"_s)));
    QVERIFY(QFile::setPermissions(path(u"closed.so"_s), {}));
    QVERIFY(QFile::copy(QStringLiteral(QF_PROGRAM), path(u"program.so"_s)));
    QVERIFY(write(path(u"notes.txt"_s), "not looked at"));

    const PluginModules modules({folder.path(), path(u"no such folder"_s), folder.path()});
    QVERIFY(refusalOf(modules, path(u"text.so"_s)).contains(u"no module"));
    QVERIFY(refusalOf(modules, path(u"empty.so"_s)).contains(u"empty"));
    QVERIFY(refusalOf(modules, path(u"link.so"_s)).contains(u"leads nowhere"));
    QVERIFY(refusalOf(modules, path(u"folder.so"_s)).contains(u"a folder"));
    QVERIFY(refusalOf(modules, path(u"pipe.so"_s)).contains(u"no regular file"));
    QVERIFY(refusalOf(modules, path(u"program.so"_s)).contains(u"no page plug-in of Quillfern"));
    const bool mayReadAll = ::geteuid() == 0;
    QCOMPARE(refusalOf(modules, path(u"closed.so"_s)).contains(u"cannot be read"), !mayReadAll);
    QCOMPARE(modules.refusals().size(), mayReadAll ? 6 : 7);
}

void PluginModulesTest::refusesTruncatedModules()
{
    const QByteArray whole = contents(kSound + u"/Good.so"_s);
    const QTemporaryDir folder;
    const QList<qsizetype> lengths{
        1, 4, 63, 64, 200, 4096, whole.size() / 2, whole.size() - 64, whole.size() - 1};
    for (const qsizetype length : lengths)
        QVERIFY(write(folder.filePath(QString::number(length) + u".so"_s), whole.first(length)));

    const PluginModules modules({folder.path()});
    QVERIFY(modules.modules().isEmpty());
    QCOMPARE(modules.refusals().size(), lengths.size());
}

// A whole run for each, since what is wrong may only show when the module is loaded.
void PluginModulesTest::survivesFlippedBytes()
{
    if (!kHasTrials)
        QSKIP("modules cannot be tried out here");
    const QByteArray whole = contents(kSound + u"/Good.so"_s);
    const QTemporaryDir folder;
    for (qsizetype place = 4; place < 700; place += 29) {
        QByteArray damaged = whole;
        damaged[place] = char(damaged.at(place) ^ 0xff);
        QFile::remove(folder.filePath(u"damaged.so"_s));
        QVERIFY(write(folder.filePath(u"damaged.so"_s), damaged));
        const QHash<QString, QString> said = listed({folder.path()});
        QVERIFY2(said.contains(u"damaged.so"_s), qPrintable(QString::number(place) + said.value(u"qf"_s)));
    }
}

void PluginModulesTest::readsMetadataWithFlippedBytes()
{
    const QByteArray whole = contents(kSound + u"/Good.so"_s);
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);
    qInfo("seed %u", seed);
    const QTemporaryDir folder;
    for (int round = 0; round < 300; ++round) {
        QByteArray damaged = whole;
        // Half of them where the headers and the table of sections are.
        const qsizetype range = std::min<qsizetype>(damaged.size(), 2048);
        for (int i = 0; i < 3; ++i) {
            const qsizetype place = random.bounded(range);
            const bool isAtStart = round % 4 == 0;
            const qsizetype anywhere = random.bounded(damaged.size());
            const qsizetype index = isAtStart        ? place
                                    : round % 4 == 1 ? damaged.size() - 1 - place
                                                     : anywhere;
            damaged[index] = char(random.bounded(256));
        }
        const QString name = folder.filePath(QString::number(round) + u".so"_s);
        QVERIFY(write(name, damaged));
        const PluginModules modules({folder.path()});
        QCOMPARE(modules.modules().size() + modules.refusals().size(), 1);
        QVERIFY(QFile::remove(name));
    }
}

void PluginModulesTest::choosesAmongModulesOfOneIdentifier()
{
    const QTemporaryDir first;
    const QTemporaryDir second;
    const auto fileOf = [](const PluginModules &modules) { return modules.modules().value(0).file; };
    QVERIFY(QFile::copy(kSound + u"/Good.so"_s, first.filePath(u"a.so"_s)));
    QVERIFY(QFile::copy(kSound + u"/Newer.so"_s, second.filePath(u"b.so"_s)));
    QVERIFY(QFile::copy(kSound + u"/Good.so"_s, second.filePath(u"c.so"_s)));

    const PluginModules both({first.path(), second.path()});
    QCOMPARE(both.modules().size(), 1);
    QCOMPARE(fileOf(both), first.filePath(u"a.so"_s));
    QVERIFY(refusalOf(both, second.filePath(u"b.so"_s)).contains(u"lies in a folder that comes first"));
    QVERIFY(refusalOf(both, second.filePath(u"c.so"_s)).contains(u"Remove one of them"));
    const PluginModules newest({second.path(), first.path()});
    QCOMPARE(fileOf(newest), second.filePath(u"b.so"_s)); // 10.0 is newer than 9.0
    QVERIFY(refusalOf(newest, second.filePath(u"c.so"_s)).contains(u"is newer"));
}

// Qt Test runs a thread beside this one, so nothing is tried out before.
void PluginModulesTest::loadsOnceInAProcessWithThreads()
{
    PluginModules modules({kSound});
    QString error;
    QFPluginClass *good = modules.pluginClass(u"com.example.Good"_s, &error);
    QVERIFY2(good, qPrintable(error));
    QVERIFY(error.isNull());
    QCOMPARE(modules.pluginClass(u"com.example.Good"_s), good);
    PluginModules others({kSound});
    QCOMPARE(others.pluginClass(u"com.example.Good"_s), good); // it declines when it is initialised twice

    QVERIFY(!modules.pluginClass(u"com.example.nobody"_s, &error));
    QVERIFY(error.contains(u"no plug-in \"com.example.nobody\""));
    for (const QString &name : {u"Throwing"_s, u"ThrowingLater"_s, u"Declining"_s, u"Barren"_s,
                                u"Unresolved"_s, u"AnotherRoot"_s}) {
        const qsizetype before = modules.refusals().size();
        QVERIFY(!modules.pluginClass(u"com.example."_s + name, &error));
        const QString first = error;
        QVERIFY(!modules.pluginClass(u"com.example."_s + name, &error));
        QCOMPARE(error, first);
        QCOMPARE(refusalOf(modules, kSound + u'/' + name + u".so"_s), first);
        QCOMPARE(modules.refusals().size(), before + 1);
    }
}

void PluginModulesTest::loadsAFileThatWasReplaced()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"module.so"_s);
    QVERIFY(QFile::copy(kSound + u"/Good.so"_s, path));
    PluginModules modules({folder.path()});
    QVERIFY(QFile::remove(path) && QFile::copy(kSound + u"/Newer.so"_s, path));
    QVERIFY(modules.pluginClass(u"com.example.Good"_s));

    QVERIFY(QFile::copy(kSound + u"/Accommodating.so"_s, folder.filePath(u"gone.so"_s)));
    PluginModules later({folder.path()});
    QVERIFY(QFile::remove(folder.filePath(u"gone.so"_s)));
    QString error;
    QVERIFY(!later.pluginClass(u"com.example.Accommodating"_s, &error));
    QVERIFY2(error.contains(u"cannot be loaded"), qPrintable(error));
}

QTEST_GUILESS_MAIN(PluginModulesTest)

#include "PluginModulesTest.moc"
