#include "export/QFMarkupDirective.h"

#include "platform/Values.h"

#include <QStringBuilder>

using namespace Qt::StringLiterals;

namespace {

bool standsInParagraph(const QVariantMap &directive)
{
    return boolValue(directive.value(u"ptag"_s));
}

} // namespace

namespace QFMarkupDirective {

QString tag(const QVariantMap &directive)
{
    return stringValue(directive.value(u"tag"_s));
}

QString name(const QVariantMap &directive)
{
    return stringValue(directive.value(u"name"_s));
}

bool cleartags(const QVariantMap &directive)
{
    return boolValue(directive.value(u"cleartags"_s));
}

QString openTag(const QVariantMap &directive)
{
    if (const QString given = stringValue(directive.value(u"opentag"_s)); !given.isNull())
        return given;
    const QString element = tag(directive);
    if (element.isNull())
        return u""_s;
    const QString opening = u'<' % element % u'>';
    return standsInParagraph(directive) ? QString(opening % u"<p>") : opening;
}

QString closeTag(const QVariantMap &directive)
{
    if (const QString given = stringValue(directive.value(u"closetag"_s)); !given.isNull())
        return given;
    const QString element = tag(directive);
    if (element.isNull())
        return u""_s;
    const QString closing = u"</" % element % u'>';
    return standsInParagraph(directive) ? QString(u"</p>" % closing) : closing;
}

} // namespace QFMarkupDirective
