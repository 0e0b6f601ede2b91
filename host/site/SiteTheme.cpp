#include "host/site/SiteTheme.h"

#include "host/ContainedPath.h"
#include "host/JSONFile.h"
#include "host/TextFile.h"
#include "host/site/KeyReader.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

QVariantList readVariations(KeyReader &keys, const QString &file)
{
    QVariantList variations;
    const QJsonArray array = keys.array(u"variations"_s);
    for (qsizetype i = 0; i < array.size(); ++i) {
        KeyReader variation(array.at(i).toObject(), file, u"variations["_s + QString::number(i) + u']');
        const QString name = variation.string(u"Name"_s);
        const QString type = variation.string(u"Type"_s);
        const QStringList files = variation.strings(u"Files"_s);
        variation.complainOfUnknownKeys();
        if (type != u"Stylesheet" && type != u"Javascript")
            variation.complain(u"Type"_s, u"should be Stylesheet or Javascript"_s);
        else
            variations.append(
                QVariantMap{{u"Name"_s, name}, {u"Type"_s, type}, {u"Files"_s, QVariant(files)}});
    }
    return variations;
}

} // namespace

std::optional<SiteTheme> SiteTheme::read(const QString &folder, QString &error)
{
    SiteTheme theme;
    theme.folder = folder;
    const QString file = folder + u"/theme.json"_s;
    const std::optional<QJsonObject> object = JSONFile::read(file, error);
    if (!object)
        return {};
    KeyReader keys(*object, file, {});
    theme.name = keys.string(u"name"_s, u"Theme"_s);
    theme.styles = keys.strings(u"styles"_s);
    theme.colourTagFiles = keys.strings(u"colourTagFiles"_s);
    theme.styleVariationMode = keys.number(u"styleVariationMode"_s, 0);
    theme.contentOnlySubpages = keys.boolean(u"contentOnlySubpages"_s, true);
    theme.variations = readVariations(keys, file);
    const QString name = keys.string(u"template"_s, u"template.html"_s);
    keys.complainOfUnknownKeys();
    theme.templateFile = containedPath(folder, name);
    if (theme.templateFile.isNull() || !QFileInfo(theme.templateFile).isFile()) {
        error = file + u": template names no file of the theme"_s;
        return {};
    }
    const TextFile text = TextFile::read(theme.templateFile);
    if (!text.error.isNull()) {
        error = text.error;
        return {};
    }
    theme.pageTemplate = text.text;
    return theme;
}

QVariantList SiteTheme::variationsNamed(const QStringList &names, QStringList &missing) const
{
    QVariantList found;
    QStringList left = names;
    for (const QVariant &variation : variations) {
        if (left.removeAll(variation.toMap().value(u"Name"_s).toString()) > 0)
            found.append(variation);
    }
    missing.append(left);
    return found;
}
