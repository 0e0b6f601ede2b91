// Feeds arbitrary bytes to the readers of archives and property lists. Whatever is read must be writable and,
// where it is plain, read back the same.

#include "export/NSAttributedString+QFTextViewExtensions.h"
#include "fuzz/Require.h"
#include "media/NSAttributedString+Attachments.h"
#include "platform/NSKeyedArchiver.h"
#include "platform/NSKeyedUnarchiver.h"
#include "platform/NSPropertyList.h"
#include "platform/Values.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));

    const QVariant list = NSPropertyList::propertyListFromData(bytes);
    if (!isNil(list)) {
        const QByteArray written = NSPropertyList::dataFromPropertyList(list, NSPropertyListFormat::Binary);
        require(sameValue(NSPropertyList::propertyListFromData(written), list));
    }

    const QVariant root = NSKeyedUnarchiver::unarchiveObjectWithData(bytes);
    if (!isNil(root)) {
        const QByteArray written = NSKeyedArchiver::archivedDataWithRootObject(root);
        require(!isNil(NSKeyedUnarchiver::unarchiveObjectWithData(written)));
    }
    if (root.metaType() == QMetaType::fromType<NSAttributedString>()) {
        const auto text = root.value<NSAttributedString>();
        for (const auto &attachment : Attachments::attachments(text))
            (void)attachment->mediaAttributes();
        const auto again =
            QFTextViewExtensions::createStringFromArchive(NSKeyedArchiver::archivedDataWithRootObject(root));
        require(again && again->string() == text.string() && again->runs().size() == text.runs().size());
    }
    return 0;
}
