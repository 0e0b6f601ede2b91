#include "text/QFLocale.h"

#include "platform/NSUserDefaults.h"
#include "platform/Values.h"

using namespace Qt::StringLiterals;

namespace {

QString preferredLanguage()
{
    const QVariantMap global =
        NSUserDefaults::standardUserDefaults().persistentDomainForName(NSGlobalDomain.toString());
    const QString language = stringValue(global.value(u"AppleLanguages"_s).toList().value(0));
    return language.isEmpty() ? u"en"_s : language;
}

} // namespace

QString QFLocale::currentLanguageCode()
{
    static const QString language = preferredLanguage();
    return language;
}
