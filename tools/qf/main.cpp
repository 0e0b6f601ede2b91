#include "tools/qf/Command.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <array>
#include <cstdio>
#include <exception>
#include <new>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp = R"(Usage: qf COMMAND [arguments]

  export     styled text, archives, HTML and Markdown as a page's HTML
  convert    between styled-text JSON and archives, and from HTML and Markdown
  image      scale, convert and transform a picture
  metadata   what a picture's file says about it
  movie      the size of a movie; flatten it so that it plays while it loads
  text       escape and encode text
  new        a page plug-in or a site to start from
  build      a whole site, by its pages' plug-ins
  preview    a site in the browser, made anew while it is written
  check      what is wrong with a site
  plugins    the page plug-ins that there are

qf COMMAND --help says more; qf --version prints the version.
)";

struct Command
{
    QStringView name;
    int (*run)(const QStringList &arguments);
};

constexpr std::array<Command, 11> kCommands{{{u"export", runExport},
                                             {u"convert", runConvert},
                                             {u"image", runImage},
                                             {u"metadata", runMetadata},
                                             {u"movie", runMovie},
                                             {u"text", runText},
                                             {u"new", runNew},
                                             {u"build", runBuild},
                                             {u"preview", runPreview},
                                             {u"check", runCheck},
                                             {u"plugins", runPlugins}}};

/// What the library logs, as plain lines.
void printMessage(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    const char *kind = type == QtDebugMsg     ? "debug"
                       : type == QtInfoMsg    ? "note"
                       : type == QtWarningMsg ? "warning"
                                              : "error";
    std::fprintf(stderr, "qf: %s: %s\n", kind, message.toUtf8().constData());
}

int runSafely(const Command &command, const QStringList &arguments)
{
    try {
        return command.run(arguments);
    } catch (const std::bad_alloc &) {
        std::fputs("qf: there is not enough memory\n", stderr); // and so none for a string of ours
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "qf: %s\n", exception.what());
    }
    return Failed;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler(printMessage);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString first = arguments.value(0);
    if (first == u"--version") {
        std::puts("qf " QF_VERSION);
        return Done;
    }
    if (first == u"--help" || first == u"-h" || first == u"help") {
        std::fputs(kHelp, stdout);
        return Done;
    }
    for (const Command &command : kCommands) {
        if (command.name == first)
            return runSafely(command, arguments);
    }
    return wrongUsage(first.isEmpty() ? u"a command is needed; see qf --help"_s
                                      : u"there is no command \""_s + first + u"\"; see qf --help"_s);
}
