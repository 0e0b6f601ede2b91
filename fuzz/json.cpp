// Feeds arbitrary bytes to the reader of styled-text JSON. What is read must be written so that it reads
// back, and writes, the same.

#include "fuzz/Require.h"
#include "host/StyledTextJSON.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QString nowhere = QStringLiteral("/nonexistent");
    const DocumentResult result = StyledTextJSON::read(bytes, nowhere);
    if (!result.isValid())
        return 0;
    const QByteArray written = StyledTextJSON::write(result.text, QStringLiteral("files")).json;
    const DocumentResult again = StyledTextJSON::read(written, nowhere);
    require(again.isValid() && again.text.string() == result.text.string());
    require(StyledTextJSON::write(again.text, QStringLiteral("files")).json == written);
    return 0;
}
