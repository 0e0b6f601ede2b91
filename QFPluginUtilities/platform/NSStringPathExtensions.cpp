#include "platform/NSStringPathExtensions.h"

#include <QStringBuilder>

using namespace Qt::StringLiterals;

namespace {

/// The path without trailing slashes; "/" for a path of slashes only.
QStringView withoutTrailingSlashes(QStringView path)
{
    qsizetype end = path.size();
    while (end > 1 && path[end - 1] == u'/')
        --end;
    return path.left(end);
}

/// Index of the dot that starts the last component's extension, or -1.
qsizetype extensionDot(QStringView path)
{
    const qsizetype nameStart = path.lastIndexOf(u'/') + 1;
    const qsizetype dot = path.lastIndexOf(u'.');
    // A dot at the start of a name hides the file, one at its end begins nothing.
    return dot > nameStart && dot < path.size() - 1 ? dot : -1;
}

QString withSingleSlashes(const QString &path)
{
    QString result;
    result.reserve(path.size());
    for (const QChar unit : path) {
        if (unit != u'/' || !result.endsWith(u'/'))
            result += unit;
    }
    return result;
}

} // namespace

namespace NSStringPathExtensions {

QString lastPathComponent(QStringView path)
{
    const QStringView whole = withoutTrailingSlashes(path);
    if (whole == u"/")
        return u"/"_s;
    return whole.mid(whole.lastIndexOf(u'/') + 1).toString();
}

QString pathExtension(QStringView path)
{
    const QStringView whole = withoutTrailingSlashes(path);
    const qsizetype dot = extensionDot(whole);
    return dot < 0 ? u""_s : whole.mid(dot + 1).toString();
}

QString stringByDeletingPathExtension(QStringView path)
{
    const QStringView whole = withoutTrailingSlashes(path);
    const qsizetype dot = extensionDot(whole);
    return (dot < 0 ? whole : whole.left(dot)).toString();
}

QString stringByDeletingLastPathComponent(QStringView path)
{
    const QStringView whole = withoutTrailingSlashes(path);
    const qsizetype slash = whole.lastIndexOf(u'/');
    if (slash < 0)
        return u""_s;
    return slash == 0 ? u"/"_s : withoutTrailingSlashes(whole.left(slash)).toString();
}

QString stringByAppendingPathComponent(QStringView path, QStringView component)
{
    QString joined = path.toString();
    if (!path.isEmpty() && !component.isEmpty())
        joined += u'/';
    joined += component;
    const QString single = withSingleSlashes(joined);
    return withoutTrailingSlashes(single).toString();
}

QString stringByAppendingPathExtension(QStringView path, QStringView extension)
{
    const QStringView whole = withoutTrailingSlashes(path);
    if (whole.isEmpty() || whole == u"/")
        return whole.toString();
    return whole % u'.' % extension;
}

} // namespace NSStringPathExtensions
