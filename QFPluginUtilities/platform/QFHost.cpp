#include "platform/QFHost.h"

#include "platform/DynamicMessages.h"
#include "platform/KeyValueCoding.h"
#include "platform/Values.h"

using namespace Qt::StringLiterals;

namespace {

QVariant answer(QObject *receiver, QByteArrayView name, const QVariantList &arguments = {})
{
    return respondsTo(receiver, name, arguments.size()) ? send(receiver, name, arguments) : QVariant();
}

QString attribute(QObject *page, const QString &key)
{
    return stringValue(NSKeyValueCoding::valueForKey(QFHost::pageAttributes(page), key));
}

} // namespace

QVariant QFHost::pageAttributes(QObject *page)
{
    return NSKeyValueCoding::valueForKey(page, u"attributes"_s);
}

QString QFHost::imageFormat(QObject *page)
{
    return attribute(page, u"imageFormat"_s);
}

QString QFHost::imageQuality(QObject *page)
{
    return attribute(page, u"imageQuality"_s);
}

QString QFHost::filenameExt(QObject *page)
{
    return attribute(page, u"filenameExt"_s);
}

QPointer<QObject> QFHost::document(QObject *page)
{
    return objectValue(NSKeyValueCoding::valueForKey(page, u"document"_s));
}

QString QFHost::uniqueID(QObject *page)
{
    return stringValue(answer(page, "uniqueID"));
}

QPointer<QObject> QFHost::plugin(QObject *page)
{
    return objectValue(answer(page, "plugin"));
}

bool QFHost::isExternalPage(QObject *page)
{
    const QVariant external = answer(page, "isExternalPage");
    return isNumber(external) && boolValue(external);
}

QString QFHost::externalPageURL(QObject *page)
{
    return stringValue(answer(page, "externalPageURL"));
}

QPointer<QObject> QFHost::pageFromUniqueID(QObject *document, const QString &uniqueID)
{
    return objectValue(answer(document, "pageFromUniqueID", {uniqueID}));
}

QString QFHost::pathFromPage(QObject *document, const QString &from, const QString &to, qint64 correction)
{
    // A nil is no entry.
    QVariantMap question{{u"correction"_s, correction}};
    if (!from.isNull())
        question.insert(u"from"_s, from);
    if (!to.isNull())
        question.insert(u"to"_s, to);
    return stringValue(answer(document, "pathFromPage", {question}));
}

QString QFHost::pageFilesFolderName(QObject *document, const QString &uniqueID)
{
    return stringValue(answer(document, "pageFilesFolderName", {uniqueID}));
}

QString QFHost::fileNameOrSaveToFileName(QObject *document)
{
    return stringValue(answer(document, "fileNameOrSaveToFileName"));
}

QStringList QFHost::colourTagFiles(QObject *theme)
{
    return stringsIn(answer(theme, "colourTagFiles"));
}

std::optional<QString> QFHost::internalPageLinkFileMapper(QObject *plugin, const QString &subpageID)
{
    if (!respondsTo(plugin, "internalPageLinkFileMapper", 1))
        return std::nullopt;
    return stringValue(send(plugin, "internalPageLinkFileMapper", {subpageID}));
}
