#include "media/QFQTEXIF.h"

#include "codecs/ExifBlock.h"
#include "codecs/ImageSource.h"
#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"
#include "platform/WithoutThrowing.h"

#include <QtEndian>

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kItemClass = 0x6578; // "ex"

/// The store has no item of the type.
struct userdata_missing_exception
{
    quint32 itemType;
};
/// The item has a length that its kind of value never has.
struct userdata_malformed_exception
{
    quint32 itemType;
};

enum class Kind : quint8 { Integer16, Integer32, Rational, String };

struct Item
{
    QStringView key;
    quint16 tag;
    Kind kind;
};

/// In the order in which they are read.
constexpr std::array kItems{
    Item{u"kQTExifUserDataExifVersion", 0x9000, Kind::Integer32},
    Item{u"kQTExifUserDataFlashPixVersion", 0xA000, Kind::Integer32},
    Item{u"kQTExifUserDataColorSpace", 0xA001, Kind::Integer16},
    Item{u"kQTExifUserDataComponentsConfiguration", 0x9101, Kind::Integer32},
    Item{u"kQTExifUserDataCompressedBitsPerPixel", 0x9102, Kind::Rational},
    Item{u"kQTExifUserDataPixelXDimension", 0xA002, Kind::Integer32},
    Item{u"kQTExifUserDataPixelYDimension", 0xA003, Kind::Integer32},
    Item{u"kQTExifUserDataMakerNote", 0x927C, Kind::String},
    Item{u"kQTExifUserDataUserComment", 0x9286, Kind::String},
    Item{u"kQTExifUserDataRelatedSoundFile", 0xA004, Kind::String},
    Item{u"kQTExifUserDataDateTimeOriginal", 0x9003, Kind::String},
    Item{u"kQTExifUserDataDateTimeDigitized", 0x9004, Kind::String},
    Item{u"kQTExifUserDataSubSecTime", 0x9290, Kind::String},
    Item{u"kQTExifUserDataSubSecTimeOriginal", 0x9291, Kind::String},
    Item{u"kQTExifUserDataSubSecTimeDigitized", 0x9292, Kind::String},
    Item{u"kQTExifUserDataExposureTime", 0x829A, Kind::Rational},
    Item{u"kQTExifUserDataFNumber", 0x829D, Kind::Rational},
    Item{u"kQTExifUserDataExposureProgram", 0x8822, Kind::Integer16},
    Item{u"kQTExifUserDataSpectralSensitivity", 0x8824, Kind::String},
    Item{u"kQTExifUserDataISOSpeedRatings", 0x8827, Kind::Integer16},
    Item{u"kQTExifUserDataShutterSpeedValue", 0x9201, Kind::Rational},
    Item{u"kQTExifUserDataApertureValue", 0x9202, Kind::Rational},
    Item{u"kQTExifUserDataBrightnessValue", 0x9203, Kind::Rational},
    Item{u"kQTExifUserDataExposureBiasValue", 0x9204, Kind::Rational},
    Item{u"kQTExifUserDataMaxApertureValue", 0x9205, Kind::Rational},
    Item{u"kQTExifUserDataSubjectDistance", 0x9206, Kind::Rational},
    Item{u"kQTExifUserDataMeteringMode", 0x9207, Kind::Integer16},
    Item{u"kQTExifUserDataLightSource", 0x9208, Kind::Integer16},
    Item{u"kQTExifUserDataFlash", 0x9209, Kind::Integer16},
    Item{u"kQTExifUserDataFocalLength", 0x920A, Kind::Rational},
    Item{u"kQTExifUserDataFlashEnergy", 0xA20B, Kind::Rational},
    Item{u"kQTExifUserDataFocalPlaneXResolution", 0xA20E, Kind::Rational},
    Item{u"kQTExifUserDataFocalPlaneYResolution", 0xA20F, Kind::Rational},
    Item{u"kQTExifUserDataFocalPlaneResolutionUnit", 0xA210, Kind::Integer16},
    Item{u"kQTExifUserDataSubjectLocation", 0xA214, Kind::Integer16},
    Item{u"kQTExifUserDataExposureIndex", 0xA215, Kind::Rational},
    Item{u"kQTExifUserDataSensingMethod", 0xA217, Kind::Integer16},
};

QByteArray extractRawUserData(const QFQTEXIF::MetadataStore &store, quint32 itemType)
{
    std::optional<QByteArray> bytes = store(itemType);
    if (!bytes)
        throw userdata_missing_exception{itemType};
    return *std::move(bytes);
}

/// A pair of signed numbers, also where the standard says that they are unsigned.
float extractRational(const QFQTEXIF::MetadataStore &store, quint32 itemType)
{
    const QByteArray bytes = extractRawUserData(store, itemType);
    if (bytes.size() != 8)
        throw userdata_malformed_exception{itemType};
    const auto numerator = static_cast<float>(qFromUnaligned<qint32>(bytes.constData()));
    const auto denominator = static_cast<float>(qFromUnaligned<qint32>(bytes.constData() + 4));
    return denominator == 0 ? 0 : numerator / denominator;
}

qint32 extractInteger(const QFQTEXIF::MetadataStore &store, quint32 itemType)
{
    const QByteArray bytes = extractRawUserData(store, itemType);
    if (bytes.size() == 2)
        return qFromUnaligned<qint16>(bytes.constData());
    if (bytes.size() == 4)
        return qFromUnaligned<qint32>(bytes.constData());
    throw userdata_malformed_exception{itemType};
}

QVariant extractUserData(const QFQTEXIF::MetadataStore &store, const Item &item)
{
    const quint32 itemType = kItemClass << 16 | item.tag;
    switch (item.kind) {
    case Kind::Integer16:
        return QVariant::fromValue(static_cast<qint16>(extractInteger(store, itemType)));
    case Kind::Integer32:
        return extractInteger(store, itemType);
    case Kind::Rational:
        return extractRational(store, itemType);
    case Kind::String:
        break;
    }
    return QString::fromLatin1(extractRawUserData(store, itemType));
}

void addValueToDictionary(QVariantMap &dictionary, const QFQTEXIF::MetadataStore &store, const Item &item)
{
    try {
        dictionary.insert(item.key.toString(), extractUserData(store, item));
    } catch (const userdata_missing_exception &) {
    } catch (const userdata_malformed_exception &) {
    }
}

} // namespace

std::optional<QVariantMap> QFQTEXIF::getImageEXIF(const QString &path)
{
    return withoutThrowing([&]() -> std::optional<QVariantMap> {
        const ImageSourcePtr source = ImageSource::withFile(path);
        if (!source) {
            logFailure(qfMediaLog(), u"metadata"_s,
                       formatted(u"Couldn't create image source for '%@'", {path}), path);
            return {};
        }
        const QVariantMap dictionary = dictionaryFromPicture(source->data());
        return dictionary.isEmpty() ? std::nullopt : std::optional(dictionary);
    });
}

QVariantMap QFQTEXIF::getImageEXIFUsingQuickTime(const QString &path)
{
    return withoutThrowing([&] {
        const ImageSourcePtr source = ImageSource::withFile(path);
        return source ? dictionaryFromPicture(source->data()) : QVariantMap();
    });
}

QVariantMap QFQTEXIF::dictionaryFromStore(const MetadataStore &store)
{
    return withoutThrowing([&] {
        QVariantMap dictionary;
        for (const Item &item : kItems)
            addValueToDictionary(dictionary, store, item);
        return dictionary;
    });
}

QVariantMap QFQTEXIF::dictionaryFromPicture(const QByteArray &file)
{
    return withoutThrowing([&] {
        const ExifBlock block = ExifBlock::inPicture(file);
        return dictionaryFromStore([&](quint32 itemType) -> std::optional<QByteArray> {
            return itemType >> 16 == kItemClass ? block.item(static_cast<quint16>(itemType)) : std::nullopt;
        });
    });
}
