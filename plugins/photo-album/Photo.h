#pragma once

#include <QString>
#include <QVariantMap>

#include <optional>

/// What an album knows of one photograph.
struct Photo
{
    QString path;
    QString fileName;
    QString ID;       ///< safe and unique in its album: what the names of its files start with
    QString title;    ///< made of the file's name
    QString caption;  ///< what its camera or its owner noted in it; nil for none
    QString taken;    ///< date and time as cameras write them, "2024:07:06 11:20:41"; nil when unknown
    QString settings; ///< of the camera: "1/500 s, f/8, ISO 100, 35 mm"; nil when unknown

    [[nodiscard]] QString thumbnailName() const { return ID + QStringLiteral("-small.jpg"); }
    [[nodiscard]] QString photoName() const { return ID + QStringLiteral(".jpg"); }
};

/// "Halberd at dawn" of "halberd-at-dawn.jpg".
[[nodiscard]] QString titleFromFileName(const QString &fileName);
/// Letters and digits of the name in lower case and without accents, with "-" for all that lies between;
/// "photo" where nothing is left. At most 80 characters.
[[nodiscard]] QString safeNameFromFileName(const QString &fileName);
/// Fills in what the properties of a picture's file say.
void readMetadata(Photo &photo, const QVariantMap &properties);
/// "6 July 2024" in the language; nil for what is no date.
[[nodiscard]] QString printedDate(const QString &taken, const QString &language);
