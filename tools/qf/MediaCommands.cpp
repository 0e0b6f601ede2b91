#include "tools/qf/Command.h"

#include "media/QFImageIO.h"
#include "media/QFQTExport.h"
#include "platform/NSGeometry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <charconv>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kMetadataHelp =
    R"(Usage: qf metadata FILE

Prints what a picture's file says about it, as JSON: "PixelWidth", "PixelHeight", "Orientation" (1 to 8, where
the file has one) and "{Exif}" with the camera's notes, where there are any. FILE is told by content; "-" is
standard input. No pixels are decoded.

Exit codes: 0 done; 1 no picture that can be read; 2 wrong usage.
)";

constexpr const char *kMovieHelp =
    R"(Usage: qf movie [options] FILE

Prints the size at which a movie is shown, as JSON: "width" and "height" in pixels, both 0 for sound alone.
FILE is a QuickTime, MPEG-4, AVI or MPEG file, told by content; "-" is standard input.

  --flatten DIR     write the movie as DIR/flattened.mov, so that it plays while it loads; its media are
                    copied as they are. The JSON has the path as "flattened"

Exit codes: 0 done; 1 no movie that can be read, or it could not be written; 2 wrong usage.
)";

QByteArray standardInput()
{
    QFile input;
    return input.open(stdin, QIODevice::ReadOnly) ? input.readAll() : QByteArray();
}

/// Why a file is not what the command needs.
int unreadable(const QString &path, const QString &kind)
{
    const bool isThere = path == u"-" || QFileInfo::exists(path);
    return failed(
        path + (isThere ? u": is no "_s + kind + u" that can be read"_s : u": No such file or directory"_s));
}

/// A value as JSON, 32-bit floats with no more digits than they have.
QJsonValue jsonValue(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<QVariantMap>()) {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto entry = map.begin(); entry != map.end(); ++entry)
            object.insert(entry.key(), jsonValue(entry.value()));
        return object;
    }
    if (value.typeId() == QMetaType::QString)
        return value.toString();
    if (value.typeId() != QMetaType::Float)
        return value.toInt();
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), value.toFloat()).ptr;
    return QByteArray(digits.data(), end - digits.data()).toDouble();
}

/// The one file that both commands take.
std::optional<int> parsedFile(QCommandLineParser &parser, const QStringList &arguments, const char *help,
                              QString &path)
{
    if (const auto code = parsed(parser, arguments, help))
        return code;
    if (parser.positionalArguments().size() != 1)
        return wrongUsage(u"one file is needed; see qf "_s + arguments.constFirst() + u" --help"_s);
    path = parser.positionalArguments().constFirst();
    return {};
}

} // namespace

int runMetadata(const QStringList &arguments)
{
    QCommandLineParser parser;
    QString path;
    if (const auto code = parsedFile(parser, arguments, kMetadataHelp, path))
        return *code;
    const QVariantMap properties =
        path == u"-" ? QFImageIO::propertiesFromData(standardInput()) : QFImageIO::propertiesFromFile(path);
    if (properties.isEmpty())
        return unreadable(path, u"picture"_s);
    return writeOutput(QJsonDocument(jsonValue(properties).toObject()).toJson(), {});
}

int runMovie(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOption({u"flatten"_s, {}, u"dir"_s});
    QString path;
    if (const auto code = parsedFile(parser, arguments, kMovieHelp, path))
        return *code;
    const QString folder = parser.value(u"flatten"_s);
    const bool isStandardInput = path == u"-";
    if (isStandardInput && parser.isSet(u"flatten"_s))
        return wrongUsage(u"--flatten needs a named file"_s);
    const QByteArray data = isStandardInput ? standardInput() : QByteArray();
    const NSSize size =
        isStandardInput ? QFQTExport::getMovieDimensionsFromData(data) : QFQTExport::getMovieDimensions(path);
    if (size == NSSize() && (isStandardInput || !QFQTExport::getPotentialQuickTimeMovie(path)))
        return unreadable(path, u"movie"_s);
    QJsonObject result{{u"width"_s, double(size.width)}, {u"height"_s, double(size.height)}};
    if (parser.isSet(u"flatten"_s)) {
        if (!QDir().mkpath(folder))
            return failed(folder + u": the folder cannot be made"_s);
        const QString flattened = QFQTExport::flattenQuickTimeMovieForFastStart(path, folder);
        if (flattened.isNull())
            return Failed; // the log has said why
        result.insert(u"flattened"_s, flattened);
    }
    return writeOutput(QJsonDocument(result).toJson(QJsonDocument::Compact) + '\n', {});
}
