#include "platform/NSFont.h"

#include <QMutex>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Families whose PostScript stem does not spell their name.
constexpr std::array<std::pair<QStringView, QStringView>, 7> kFamilyOfStem{{
    {u"ArialMT", u"Arial"},
    {u"LucidaGrande", u"Lucida Grande"},
    {u"TimesNewRomanPS", u"Times New Roman"},
    {u"TimesNewRomanPSMT", u"Times New Roman"},
    {u"TrebuchetMS", u"Trebuchet MS"},
    {u"HiraKakuPro", u"Hiragino Kaku Gothic Pro"},
    {u"HiraMinPro", u"Hiragino Mincho Pro"},
}};

QString familyOfStem(QStringView stem)
{
    for (const auto &[known, family] : kFamilyOfStem) {
        if (stem == known)
            return family.toString();
    }
    return stem.toString();
}

/// `lock` guards `font`.
struct UserFont
{
    QMutex lock;
    NSFont font = NSFont::fontWithName(u"Helvetica"_s, 12);
};

UserFont &userFont()
{
    static UserFont font;
    return font;
}

} // namespace

bool operator==(const NSFont &a, const NSFont &b)
{
    return a.pointSize == b.pointSize && a.traits == b.traits && a.fontName == b.fontName &&
           a.familyName == b.familyName && a.familyName.isNull() == b.familyName.isNull();
}

NSFont NSFont::fontWithName(const QString &fontName, float size)
{
    const qsizetype hyphen = fontName.indexOf(u'-');
    const QStringView stem = QStringView(fontName).left(hyphen < 0 ? fontName.size() : hyphen);
    const QStringView face = hyphen < 0 ? QStringView() : QStringView(fontName).mid(hyphen + 1);
    NSFont font{fontName, familyOfStem(stem), size, 0};
    if (face.contains(u"Bold"))
        font.traits |= NSBoldFontMask;
    if (face.contains(u"Italic") || face.contains(u"Oblique"))
        font.traits |= NSItalicFontMask;
    return font;
}

NSFont NSFont::userFontOfSize(float size)
{
    UserFont &user = userFont();
    const QMutexLocker locked(&user.lock);
    NSFont font = user.font;
    if (size != 0)
        font.pointSize = size;
    return font;
}

void NSFont::setUserFont(const NSFont &font)
{
    UserFont &user = userFont();
    const QMutexLocker locked(&user.lock);
    user.font = font;
}
