// Feeds arbitrary bytes to the readers of what cameras note in pictures: as a picture's file, and as the
// block itself.

#include "codecs/ExifBlock.h"
#include "fuzz/Require.h"
#include "media/QFImageIO.h"
#include "media/QFQTEXIF.h"

namespace {

/// Nothing is made up: no string is longer than the file.
void checkNotes(const QVariantMap &notes, qsizetype size)
{
    for (const QVariant &value : notes)
        require(value.typeId() != QMetaType::QString || value.toString().size() <= size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    checkNotes(QFQTEXIF::dictionaryFromPicture(bytes), bytes.size());
    const int orientation = ExifBlock::inPicture(bytes).orientation().value_or(1);
    require(orientation >= 1 && orientation <= 8);

    // Many inputs are blocks but for their first bytes.
    for (const QByteArrayView start : {QByteArrayView("II*\0", 4), QByteArrayView("MM\0*", 4)}) {
        QByteArray block = bytes;
        block.replace(0, start.size(), start);
        checkNotes(QFQTEXIF::dictionaryFromPicture(block), block.size());
    }

    const QVariantMap properties = QFImageIO::propertiesFromData(bytes);
    require(properties.isEmpty() || (properties.value(QStringLiteral("PixelWidth")).toInt() > 0 &&
                                     properties.value(QStringLiteral("PixelHeight")).toInt() > 0));
    return 0;
}
