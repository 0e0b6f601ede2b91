#include "tools/qf/Command.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp =
    R"(Usage: qf new plugin NAME [--in DIR]
       qf new site NAME [--in DIR]

Writes a project to start from into the new folder NAME: a page plug-in with its build file and test, or a site
of two pages with a theme.

  --in DIR    make the folder in DIR (default: the current folder)

NAME is made of letters, digits and "-", starts with a letter and has 60 characters at most.

Exit codes: 0 done; 1 failed, and nothing was written; 2 wrong usage.
)";

constexpr qsizetype kLongestName = 60;

/// Its files are the templates in ":/templates/<name>/", with ".in" after their names.
struct ProjectKind
{
    QStringView name;
    QStringView nextStep;
};

constexpr std::array kKinds{
    ProjectKind{u"plugin", u"README.md in it says how to build and use the plug-in."},
    ProjectKind{u"site", u"To see it, run qf build on it with -o and a folder."},
};

/// What stands for the project's names in templates: "photo-notes" is called "Photo notes", its class
/// PhotoNotesPage.
class Names
{
public:
    explicit Names(const QString &name) : _identifier(u"com.example."_s + name.toLower())
    {
        const QStringList words = name.split(u'-');
        for (const QString &word : words)
            _className += capitalised(word);
        // No class of the library or of Qt ends like this.
        _className += u"Page"_s;
        _title = capitalised(words.join(u' '));
    }

    [[nodiscard]] QString filled(QString text) const
    {
        return text.replace(u"@CLASS@"_s, _className)
            .replace(u"@IDENTIFIER@"_s, _identifier)
            .replace(u"@TITLE@"_s, _title);
    }

private:
    static QString capitalised(const QString &word) { return word.left(1).toUpper() + word.mid(1); }

    QString _identifier;
    QString _className;
    QString _title;
};

bool isGoodName(const QString &name)
{
    static const QRegularExpression form(u"\\A[A-Za-z][A-Za-z0-9]*(-[A-Za-z0-9]+)*\\z"_s);
    return name.size() <= kLongestName && form.match(name).hasMatch();
}

/// Nil, or what went wrong.
QString writeFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    const bool isWritten = QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
                           file.write(bytes) == bytes.size() && file.commit();
    return isWritten ? QString() : file.errorString();
}

QString writeProject(const ProjectKind &kind, const Names &names, const QString &folder)
{
    const QDir templates(u":/templates/"_s + kind.name.toString());
    QDirIterator each(templates.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (each.hasNext()) {
        QFile source(each.next());
        if (!source.open(QIODevice::ReadOnly))
            return source.errorString();
        const QString text = names.filled(QString::fromUtf8(source.readAll()));
        const QString path = names.filled(templates.relativeFilePath(source.fileName()).chopped(3));
        if (const QString error = writeFile(folder + u'/' + path, text.toUtf8()); !error.isNull())
            return error;
    }
    return {};
}

/// Makes the folder whole or not at all. Nil, or what went wrong.
QString makeProject(const ProjectKind &kind, const QString &name, const QString &parent)
{
    const QString target = parent + u'/' + name;
    // A link that leads nowhere is there, too.
    const QFileInfo existing(target);
    if (existing.exists() || existing.isSymLink())
        return target + u": exists already"_s;
    if (!QFileInfo(parent).isDir())
        return parent + u": there is no such folder"_s;
    const QTemporaryDir unfinished(parent + u"/."_s + name + u"-XXXXXX"_s);
    if (!unfinished.isValid())
        return parent + u": "_s + unfinished.errorString();
    // A folder in the temporary one, since that one is for its owner's eyes only.
    const QString made = unfinished.filePath(name);
    if (const QString error = writeProject(kind, Names(name), made); !error.isNull())
        return target + u": "_s + error;
    return QDir().rename(made, target) ? QString() : target + u": the folder cannot be made"_s;
}

} // namespace

int runNew(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOption({u"in"_s, {}, u"dir"_s, u"."_s});
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    const QStringList words = parser.positionalArguments();
    const auto kind = std::ranges::find(kKinds, QStringView(words.value(0)), &ProjectKind::name);
    if (words.size() != 2 || kind == kKinds.end())
        return wrongUsage(u"the form is: qf new plugin NAME, or: qf new site NAME"_s);
    const QString &name = words.at(1);
    if (!isGoodName(name))
        return wrongUsage(u'"' + name +
                          u"\" is no name for a project: use letters, digits and \"-\" between them, 60 at "
                          u"most, and a letter first"_s);
    const QString parent = parser.value(u"in"_s);
    if (const QString error = makeProject(*kind, name, parent); !error.isNull())
        return failed(error);
    const QString done =
        QDir::cleanPath(parent + u'/' + name) + u": made. "_s + kind->nextStep.toString() + u'\n';
    return writeOutput(done.toUtf8(), {});
}
