#include "export/NSAttributedString+QFTextViewExtensions.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/NSArchivableClasses.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/QFReport.h"
#include "platform/WithoutThrowing.h"

using namespace Qt::StringLiterals;

QByteArray QFTextViewExtensions::createArchiveFromSelection(const NSAttributedString &text, NSRange range)
{
    return withoutThrowing([&] {
        const NSAttributedString selected = text.attributedSubstringFromRange(range);
        if (selected.isEmpty())
            return QByteArray();
        return NSKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(selected));
    });
}

std::optional<NSAttributedString> QFTextViewExtensions::createStringFromArchive(const QByteArray &data)
{
    const QVariant object = NSKeyedUnarchiver::unarchiveObjectWithData(data);
    if (object.metaType() == QMetaType::fromType<NSAttributedString>())
        return object.value<NSAttributedString>();
    logFailure(qfExportLog(), u"archive"_s,
               formatted(u"Unarchived object is not an attributed string: %s",
                         {NSArchivableClasses::classNameOfValue(object)}));
    return {};
}
