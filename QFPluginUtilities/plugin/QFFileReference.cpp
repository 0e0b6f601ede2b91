#include "plugin/QFFileReference.h"

#include "platform/NSArchivableClasses.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/Values.h"
#include "text/QFPathUtilities.h"

using namespace Qt::StringLiterals;

namespace {

const NSArchivableClasses::Registration kReferenceClass({
    u"QFFileReference"_s,
    {},
    0,
    QMetaType::fromType<QFFileReferencePtr>(),
    [](const QVariant &object, NSKeyedArchiver &coder) {
        object.value<QFFileReferencePtr>()->encodeWithCoder(coder);
    },
    [](NSKeyedUnarchiver &coder) { return QVariant::fromValue(QFFileReference::initWithCoder(coder)); },
    NSArchivableClasses::identityOf<QFFileReferencePtr>,
});

} // namespace

QFFileReferencePtr QFFileReference::referenceTo(const QString &path, const QString &base)
{
    auto reference = std::make_shared<QFFileReference>();
    reference->setPath(path, base);
    return reference;
}

void QFFileReference::setPath(const QString &path, const QString &base)
{
    _path = path;
    _alias = QFPathUtilities::aliasForPathRelativeTo(path, base);
}

bool QFFileReference::pathExists() const
{
    return QFPathUtilities::pathToFSRef(_path, nullptr) == QFPathUtilities::kPathFound;
}

QString QFFileReference::resolveRelativeTo(const QString &base)
{
    if (pathExists())
        return _path;
    if (_alias.isNull())
        return {};
    const QString found = QFPathUtilities::resolveAliasRelativeTo(_alias, base, true);
    if (!found.isNull())
        setPath(found, base);
    return found;
}

void QFFileReference::encodeWithCoder(NSKeyedArchiver &coder) const
{
    coder.encodeObject(_path);
    coder.encodeObject(_alias.isNull() ? QVariant() : QVariant(_alias));
}

QFFileReferencePtr QFFileReference::initWithCoder(NSKeyedUnarchiver &coder)
{
    const QVariant path = coder.decodeObject();
    const QVariant alias = coder.decodeObject();
    if ((!isNil(path) && stringValue(path).isNull()) ||
        (!isNil(alias) && alias.typeId() != QMetaType::QByteArray))
        return nullptr;
    auto reference = std::make_shared<QFFileReference>();
    reference->_path = stringValue(path);
    reference->_alias = alias.toByteArray();
    return reference;
}
