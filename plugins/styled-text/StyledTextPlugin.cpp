#include "plugins/styled-text/StyledTextPlugin.h"

#include "export/CVHTML.h"
#include "media/NSAttributedString+Attachments.h"
#include "platform/DynamicMessages.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/QFHost.h"
#include "platform/QFReport.h"
#include "plugin/QFExportParams.h"
#include "plugin/QFPluginClass.h"
#include "plugins/common/PluginSettings.h"
#include "plugins/common/SiteFiles.h"
#include "text/QFStrings.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kDescriptionLength = 160;

bool isSafePrefix(const QString &prefix)
{
    const auto isSafe = [](QChar c) {
        return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u'-' || c == u'_');
    };
    return !prefix.isEmpty() && prefix.size() <= 100 && std::all_of(prefix.begin(), prefix.end(), isSafe);
}

/// How the prose of a text begins, up to the last word that fits: without titles (which the page has anyway),
/// raw markup, and embedded files.
QString beginning(const NSAttributedString &text)
{
    QString prose;
    for (qsizetype run = 0; run < text.runs().size() && prose.size() <= kDescriptionLength; ++run) {
        const NSAttributeDictionary &attributes = text.runs()[run].attributes;
        const NSRange range = text.rangeOfRun(run);
        if (attributes.value(kQFTextViewMarkupDirectivesAttributeName).isValid() ||
            attributes.value(kQFTextViewIgnoreFormattingAttributeName).isValid())
            continue;
        prose +=
            QStringView(text.string()).sliced(range.location, qMin(range.length, 4 * kDescriptionLength));
    }
    prose = prose.remove(QChar::ObjectReplacementCharacter).simplified();
    if (prose.size() <= kDescriptionLength)
        return prose;
    const qsizetype end = prose.lastIndexOf(u' ', kDescriptionLength - 1);
    return prose.left(end > 0 ? end : kDescriptionLength - 1) + u'…';
}

QString filled(const QString &format, const QString &address)
{
    return QString(format).replace(u"{}"_s, QFStringUtilities::stringEscapedForHTMLAttribute(address));
}

} // namespace

StyledTextPlugin::StyledTextPlugin(QFPluginClass &kind) : _kind(kind) {}

QFPluginClass *StyledTextPlugin::pluginClass() const
{
    return &_kind;
}

void StyledTextPlugin::setImagePrefix(const QString &prefix)
{
    if (isSafePrefix(prefix))
        _imagePrefix = prefix;
    else
        reportLoss(u"setting"_s, u"Names of pictures cannot start with \""_s + prefix + u'"');
}

QVariantMap StyledTextPlugin::populatePluginSettings() const
{
    return PluginSettings::transferable(*this, {"source"});
}

QVariant StyledTextPlugin::normaliseImages()
{
    _normalisesImages = true;
    return true;
}

bool StyledTextPlugin::hostReadsDocuments() const
{
    return respondsTo(document(), "styledTextFromFile", 1);
}

QStringList StyledTextPlugin::filesReadForExport() const
{
    return SiteFiles::watched(*this, {_source, _sidebar});
}

std::optional<NSAttributedString> StyledTextPlugin::readText(const QString &name) const
{
    const QString path = SiteFiles::named(*this, name);
    if (path.isNull())
        return {};
    QVariant text;
    if (hostReadsDocuments()) {
        text = send(document(), "styledTextFromFile", {path});
    } else if (const std::optional<QByteArray> archive = SiteFiles::contents(path)) {
        text = NSKeyedUnarchiver::unarchiveObjectWithData(*archive);
        if (text.metaType() != QMetaType::fromType<NSAttributedString>())
            reportLoss(u"source"_s, u"This host reads archives of styled text only"_s, path);
    }
    if (text.metaType() != QMetaType::fromType<NSAttributedString>())
        return {};
    return text.value<NSAttributedString>();
}

std::optional<NSAttributedString> StyledTextPlugin::text(const QString &name) const
{
    std::optional<NSAttributedString> text = readText(name);
    if (text && _normalisesImages)
        Attachments::normaliseImageAttachments(*text);
    return text;
}

QString StyledTextPlugin::exported(const NSAttributedString &text, const QString &prefix,
                                   const QVariantMap &params)
{
    const QString folder = SiteFiles::filesFolder(params);
    if (folder.isNull()) {
        reportLoss(u"export"_s, u"The host does not say where the page is written"_s);
        return {};
    }
    const std::unique_ptr<CVHTML> exporter = exporterWithParams(params);
    exporter->setAllowWebUnsafeFonts(_allowWebUnsafeFonts);
    const QPointer<QObject> page = QFHost::pageFromUniqueID(document(), uniqueID());
    QString HTML =
        exporter->exportAttributedString(text, folder, QFExportParams(params).exportFilesFolderName(), prefix,
                                         u"%content%"_s, u"content"_s, page);
    _showsMovies = _showsMovies || HTML.contains(u"QT_WriteOBJECT_XHTML(");
    return HTML;
}

QVariant StyledTextPlugin::contentHTML(const QVariantMap &params)
{
    broadcastPluginExportStatus(u"Reading the text"_s, 0);
    const std::optional<NSAttributedString> source = text(_source);
    if (!source)
        return {};
    const NSAttributedString &content = *source;
    _description = beginning(content);
    _showsMovies = false;
    broadcastPluginExportStatus(u"Writing the page"_s, 0.3F);
    QString HTML = exported(content, _imagePrefix, params);
    broadcastPluginExportStatus(u"Page written"_s, 1);
    return HTML;
}

QVariant StyledTextPlugin::sidebarHTML(const QVariantMap &params)
{
    if (_sidebar.isEmpty())
        return {};
    // Pictures of both texts lie in one folder.
    const NSAttributedString sidebar = text(_sidebar).value_or(NSAttributedString());
    return exported(sidebar, _imagePrefix + u"-sidebar"_s, params);
}

QVariant StyledTextPlugin::pageContentHeaders(const QVariantMap & /*params*/)
{
    if (_description.isEmpty())
        return {};
    return filled(u"<meta name=\"description\" content=\"{}\" />"_s, _description);
}

QString &StyledTextPlugin::updatePageTemplate(QString &pageTemplate, const QVariantMap &params, qint64 depth)
{
    QString markup = filled(u"<link rel=\"stylesheet\" type=\"text/css\" href=\"{}\" />"_s,
                            SiteFiles::sharedFile(u"styled-text.css"_s, params, depth));
    if (_showsMovies)
        markup +=
            filled(u"<script src=\"{}\"></script>"_s, SiteFiles::sharedFile(u"movie.js"_s, params, depth));
    SiteFiles::addToStyleSheets(pageTemplate, markup);
    return QFAbstractPlugin::updatePageTemplate(pageTemplate, params, depth);
}
