#include "plugin/QFLink.h"

#include "platform/NSArchivableClasses.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/Values.h"

using namespace Qt::StringLiterals;

namespace {

const NSArchivableClasses::Registration kLinkClass({
    u"QFLink"_s,
    {},
    0,
    QMetaType::fromType<QFLinkPtr>(),
    [](const QVariant &object, NSKeyedArchiver &coder) { object.value<QFLinkPtr>()->encodeWithCoder(coder); },
    [](NSKeyedUnarchiver &coder) { return QVariant::fromValue(QFLink::initWithCoder(coder)); },
    NSArchivableClasses::identityOf<QFLinkPtr>,
});

} // namespace

QString QFLink::name() const
{
    if (!_name.isNull())
        return _name;
    return _href.isNull() ? u""_s : _href;
}

void QFLink::encodeWithCoder(NSKeyedArchiver &coder) const
{
    coder.encodeObject(_href, u"href");
    coder.encodeObject(_anchor, u"anchor");
    coder.encodeObject(_name, u"name");
    coder.encodeObject(_target, u"target");
    coder.encodeObject(_title, u"title");
    coder.encodeObject(_rel, u"rel");
    coder.encodeBool(_internal, u"internal");
    coder.encodeInt(_asset, u"asset");
    coder.encodeObject(_subpageID, u"subpageID");
}

QFLinkPtr QFLink::initWithCoder(NSKeyedUnarchiver &coder)
{
    auto link = std::make_shared<QFLink>();
    link->_href = stringValue(coder.decodeObject(u"href"));
    link->_anchor = stringValue(coder.decodeObject(u"anchor"));
    link->_name = stringValue(coder.decodeObject(u"name"));
    link->_target = stringValue(coder.decodeObject(u"target"));
    link->_title = stringValue(coder.decodeObject(u"title"));
    link->_rel = stringValue(coder.decodeObject(u"rel"));
    link->_internal = coder.decodeBool(u"internal");
    link->_asset = coder.decodeInt(u"asset");
    link->_subpageID = stringValue(coder.decodeObject(u"subpageID"));
    return link;
}
