#include "plugins/photo-album/Photo.h"

#include "platform/NSStringPathExtensions.h"
#include "platform/Values.h"

#include <QDateTime>
#include <QLocale>
#include <QStringDecoder>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestName = 80;
constexpr qsizetype kCodeLength = 8; ///< of the name of the character set in front of a comment

QString decoded(const QByteArray &bytes, QStringConverter::Encoding encoding)
{
    QStringDecoder decoder(encoding);
    return decoder(bytes);
}

/// UTF-16 without a mark, in the byte order of the camera: the order that gives more plain letters.
QString decodedUnits(const QByteArray &bytes)
{
    const QString little = decoded(bytes, QStringConverter::Utf16LE);
    const QString big = decoded(bytes, QStringConverter::Utf16BE);
    const auto plain = [](const QString &text) {
        return std::count_if(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x250; });
    };
    return plain(little) >= plain(big) ? little : big;
}

/// Text of a comment, which starts with the name of its character set; nil when it is blank.
QString commentText(const QString &item)
{
    const QByteArray bytes = item.toLatin1();
    const QByteArray text = bytes.sliced(qMin(kCodeLength, bytes.size()));
    QString comment = bytes.startsWith("UNICODE") ? decodedUnits(text) : QString::fromUtf8(text);
    comment = comment.remove(QChar::Null).simplified();
    return comment.isEmpty() ? QString() : comment;
}

QString exposureTime(float seconds)
{
    if (seconds >= 0.4F)
        return QString::number(std::round(seconds * 10) / 10) + u" s"_s;
    return u"1/"_s + QString::number(std::lround(1 / seconds)) + u" s"_s;
}

QString cameraSettings(const QVariantMap &exif)
{
    const auto number = [&](QStringView key) { return floatValue(exif.value(key.toString())); };
    QStringList settings;
    if (const float time = number(u"kQTExifUserDataExposureTime"); time > 0 && std::isfinite(time))
        settings += exposureTime(time);
    if (const float aperture = number(u"kQTExifUserDataFNumber"); aperture > 0)
        settings += u"f/"_s + QString::number(aperture, 'g', 3);
    if (const float speed = number(u"kQTExifUserDataISOSpeedRatings"); speed > 0)
        settings += u"ISO "_s + QString::number(speed);
    if (const float length = number(u"kQTExifUserDataFocalLength"); length > 0)
        settings += QString::number(length, 'g', 4) + u" mm"_s;
    return settings.isEmpty() ? QString() : settings.join(u", "_s);
}

QDateTime dateTime(const QString &taken)
{
    return QDateTime::fromString(taken, u"yyyy:MM:dd HH:mm:ss"_s);
}

} // namespace

QString titleFromFileName(const QString &fileName)
{
    QString title = NSStringPathExtensions::stringByDeletingPathExtension(fileName);
    title = title.replace(u'-', u' ').replace(u'_', u' ').simplified();
    if (title.isEmpty())
        return u"Photograph"_s;
    title[0] = title[0].toUpper();
    return title;
}

QString safeNameFromFileName(const QString &fileName)
{
    QString name;
    // Letters come apart from their accents, which then count as nothing.
    const QString plain = NSStringPathExtensions::stringByDeletingPathExtension(fileName).normalized(
        QString::NormalizationForm_KD);
    for (const QChar c : plain) {
        if (c.isMark())
            continue;
        const bool isSafe = c.unicode() < 0x80 && c.isLetterOrNumber();
        if (isSafe)
            name += c.toLower();
        else if (!name.isEmpty() && !name.endsWith(u'-'))
            name += u'-';
    }
    name.truncate(kLongestName);
    while (name.endsWith(u'-'))
        name.chop(1);
    return name.isEmpty() ? u"photo"_s : name;
}

void readMetadata(Photo &photo, const QVariantMap &properties)
{
    const QVariantMap exif = properties.value(u"{Exif}"_s).toMap();
    photo.caption = commentText(stringValue(exif.value(u"kQTExifUserDataUserComment"_s)));
    QString taken = stringValue(exif.value(u"kQTExifUserDataDateTimeOriginal"_s));
    taken = taken.remove(QChar::Null).trimmed();
    photo.taken = dateTime(taken).isValid() ? taken : QString();
    photo.settings = cameraSettings(exif);
}

QString printedDate(const QString &taken, const QString &language)
{
    const QDate date = dateTime(taken).date();
    return date.isValid() ? QLocale(language).toString(date, u"d MMMM yyyy") : QString();
}
