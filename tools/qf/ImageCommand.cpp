#include "tools/qf/Command.h"

#include "codecs/ImageSource.h"
#include "host/StyledTextJSONValues.h"
#include "media/QFQTExport.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kHelp =
    R"(Usage: qf image [options] IN OUT

Writes the picture IN ("-": standard input) as OUT, through the exporter that writes the pictures of pages, and
prints {"width": w, "height": h, "status": s}: the file's size in pixels, and 0 or the error.

  --format CODE      JPEG, PNGf, GIFf, TIFF or BMPf; without it, what OUT's extension says, or JPEG
  --quality N        of JPEG: 256 low, 512 medium (without it), 1024 best, any other number in between
  --width W          scale the picture to fit into W points,
  --height H         into H points, or into both
  --square           crop it to a square first
  --attributes JSON  media attributes, as a styled text has them, or a file that holds them, such as
                     '{"lockratios": true, "scale": 0.5, "rotation": 7, "fillcolour": [1, 1, 1, 1]}'; not
                     together with the three before

Exit codes: 0 done; 1 no picture that can be read, or it could not be written; 2 wrong usage.
)";

/// Without bounds in one direction.
constexpr float kAnySize = 1e9F;

qint32 codeOf(const char *name)
{
    return qFromBigEndian<qint32>(name);
}

/// 0 for an option that names none.
qint32 formatFor(const QString &option, const QString &path)
{
    struct Format
    {
        const char *code;
        QStringView extension;
    };
    constexpr std::array<Format, 5> kFormats{
        {{"PNGf", u"png"}, {"GIFf", u"gif"}, {"TIFF", u"tif"}, {"TIFF", u"tiff"}, {"BMPf", u"bmp"}}};
    for (const Format &format : kFormats) {
        if (option == QLatin1StringView(format.code))
            return codeOf(format.code);
    }
    if (!option.isEmpty())
        return option == u"JPEG" ? codeOf("JPEG") : 0;
    const QString extension = QFileInfo(path).suffix().toLower();
    for (const Format &format : kFormats) {
        if (format.extension == extension)
            return codeOf(format.code);
    }
    return codeOf("JPEG");
}

/// The attributes that stand in the option itself or in the file that it names; nothing when neither is so.
QFQTExport::Attributes attributesFrom(const QString &option)
{
    QByteArray json = option.toUtf8();
    if (!json.trimmed().startsWith('{')) {
        QFile file(option);
        json = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return nullptr;
    return std::make_shared<QVariantMap>(StyledTextJSONValues::mediaAttributesFrom(document.object()));
}

std::unique_ptr<QFQTExport> exporterFor(const QString &path)
{
    if (path != u"-")
        return QFQTExport::exporterWithFile(path);
    QFile input;
    return QFQTExport::exporterWithData(input.open(stdin, QIODevice::ReadOnly) ? input.readAll()
                                                                               : QByteArray());
}

/// Sets what the options ask for; false, after saying why, for options that cannot be.
bool configure(QFQTExport &exporter, const QCommandLineParser &parser)
{
    bool areNumbers = true;
    const auto number = [&](const QString &name, float absent) {
        bool isNumber = true;
        const float value = parser.isSet(name) ? parser.value(name).toFloat(&isNumber) : absent;
        areNumbers = areNumbers && isNumber && value >= 0;
        return value;
    };
    if (parser.isSet(u"quality"_s))
        exporter.setQuality(parser.value(u"quality"_s).toInt(&areNumbers));
    const bool hasSize = parser.isSet(u"width"_s) || parser.isSet(u"height"_s);
    const float width = number(u"width"_s, kAnySize);
    const float height = number(u"height"_s, kAnySize);
    if (!areNumbers) {
        complain(u"--width, --height and --quality are numbers, none of them below zero"_s);
        return false;
    }
    const bool isSquare = parser.isSet(u"square"_s);
    if (!parser.isSet(u"attributes"_s)) {
        if (hasSize) {
            exporter.setWidth(width);
            exporter.setHeight(height);
            exporter.setSquareImage(isSquare);
        } else if (isSquare) {
            exporter.setAttributes(std::make_shared<QVariantMap>(QVariantMap{{u"square"_s, true}}));
        }
        return true;
    }
    if (hasSize || isSquare) {
        complain(u"--attributes does not go together with --width, --height and --square"_s);
        return false;
    }
    exporter.setAttributes(attributesFrom(parser.value(u"attributes"_s)));
    if (!exporter.attributes())
        complain(u"--attributes is neither a JSON object nor a file with one"_s);
    return exporter.attributes() != nullptr;
}

} // namespace

int runImage(const QStringList &arguments)
{
    QCommandLineParser parser;
    for (const QString &name : {u"format"_s, u"quality"_s, u"width"_s, u"height"_s, u"attributes"_s})
        parser.addOption({name, {}, name});
    parser.addOption(QCommandLineOption(u"square"_s));
    if (const auto code = parsed(parser, arguments, kHelp))
        return *code;
    const QStringList paths = parser.positionalArguments();
    if (paths.size() != 2)
        return wrongUsage(u"two files are needed; see qf image --help"_s);
    const std::unique_ptr<QFQTExport> exporter = exporterFor(paths.at(0));
    if (!configure(*exporter, parser))
        return WrongUsage;
    exporter->setDestination(paths.at(1));
    const qint32 format = formatFor(parser.value(u"format"_s), paths.at(1));
    if (format == 0)
        return wrongUsage(u"--format is one of JPEG, PNGf, GIFf, TIFF and BMPf"_s);
    exporter->setFormat(format);
    const qint32 status = exporter->exportImage();
    const ImageSourcePtr written = status == 0 ? ImageSource::withFile(paths.at(1)) : nullptr;
    const QSize size = written ? written->size() : QSize(0, 0);
    const QJsonObject result{{u"width"_s, size.width()}, {u"height"_s, size.height()}, {u"status"_s, status}};
    const int code = writeOutput(QJsonDocument(result).toJson(QJsonDocument::Compact) + '\n', {});
    return written ? code : Failed;
}
