#include "text/QFDataCompress.h"

#include "platform/Formatting.h"
#include "platform/Logging.h"
#include "platform/QFReport.h"

#include <zlib.h>

using namespace Qt::StringLiterals;

QByteArray QFDataCompress::compress(const QByteArray &bytes)
{
    if (bytes.isNull())
        return {};
    // As much room as the input has, not the library's worst case: meant, so what does not shrink fails.
    QByteArray result(bytes.size(), Qt::Uninitialized); // never a null address, which would be another error
    auto length = uLongf(result.size());
    const int status = ::compress(reinterpret_cast<Bytef *>(result.data()), &length,
                                  reinterpret_cast<const Bytef *>(bytes.constData()), uLong(bytes.size()));
    if (status != Z_OK) {
        logFailure(qfTextLog(), u"compress"_s, formatted(u"zlib compress failed with error %d", {status}));
        return {};
    }
    result.truncate(qsizetype(length));
    return result;
}
