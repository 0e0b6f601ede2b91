#include "export/QFMarkupAttributes.h"

#include "export/QFMarkupDirective.h"
#include "platform/NSBundle.h"
#include "platform/NSPropertyList.h"
#include "platform/Values.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

NSMenuItem itemForDirective(const QVariantMap &directive, const NSBundle &bundle)
{
    if (boolValue(directive.value(u"separator"_s)))
        return NSMenuItem::separatorItem();
    NSMenuItem item;
    const QString name = QFMarkupDirective::name(directive);
    item.title = name.isEmpty() ? u""_s : bundle.localizedStringForKey(name);
    item.action = u"applyMarkupAttributeToSelection:"_s;
    item.keyEquivalent = u""_s;
    item.representedObject = directive;
    return item;
}

} // namespace

NSMenu QFMarkupAttributes::setupMarkupMenu()
{
    NSMenu menu;
    const NSBundle *bundle = NSBundle::bundleWithIdentifier(u"com.corvale.qfpluginutilities"_s);
    if (!bundle)
        return menu;
    QFile file(bundle->pathForResourceOfType(u"markup"_s, u"plist"_s));
    if (!file.open(QIODevice::ReadOnly))
        return menu;
    const QVariantList directives = NSPropertyList::propertyListFromData(file.readAll()).toList();
    for (const QVariant &directive : directives) {
        if (directive.typeId() == QMetaType::QVariantMap)
            menu.items.append(itemForDirective(directive.toMap(), *bundle));
    }
    return menu;
}
