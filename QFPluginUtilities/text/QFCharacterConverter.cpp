#include "text/QFCharacterConverter.h"

#include "platform/Logging.h"
#include "platform/NSBundle.h"
#include "platform/QFReport.h"
#include "text/QFUnitEncoder.h"

#include <QFile>

#include <atomic>
#include <locale>
#include <mutex>
#include <sstream>

using namespace Qt::StringLiterals;

namespace {

using MappingTable = std::map<unsigned, std::string>;

struct Tables
{
    MappingTable names;
    QFUnitEncoder everything;
    QFUnitEncoder skippingTags;
    QFUnitEncoder breakingLines;

    explicit Tables(MappingTable &&loaded);
};

bool isMarkup(char16_t unit)
{
    return unit == u'<' || unit == u'>' || unit == u'&' || unit == u'"';
}

Tables::Tables(MappingTable &&loaded) : names(std::move(loaded))
{
    for (const auto &[number, name] : names) {
        if (number > 0xFFFF)
            continue;
        const auto unit = static_cast<char16_t>(number);
        const QString reference = u'&' + QString::fromUtf8(name) + u';';
        everything.setReplacement(unit, reference);
        if (isMarkup(unit))
            continue;
        skippingTags.setReplacement(unit, reference);
        breakingLines.setReplacement(unit, reference);
    }
    breakingLines.setLineBreaks(u"<br />");
}

// A record is name, separator, number, terminator. It counts only if the stream is good behind the
// terminator, so that a last record needs white space after it; at the first record that cannot be read
// everything ends.
void readRecords(std::istream &stream, MappingTable &table)
{
    std::string name;
    std::string separator;
    std::string terminator;
    unsigned number = 0;
    while ((stream >> name >> separator >> number >> terminator) && stream.good())
        table[number] = name;
}

MappingTable loadMappingTable()
{
    MappingTable table;
    QFile file(NSBundle::libraryBundle().pathForResourceOfType(u"HTMLEncodings"_s, u"strings"_s));
    if (file.fileName().isNull() || !file.open(QIODevice::ReadOnly))
        return table;
    try {
        std::istringstream stream(file.readAll().toStdString());
        stream.imbue(std::locale::classic());
        readRecords(stream, table);
    } catch (...) {
        logFailure(qfTextLog(), u"entities"_s, u"Exception reading in entity mapping table"_s);
    }
    return table;
}

const Tables &tables()
{
    static std::atomic<const Tables *> filled{nullptr};
    if (const Tables *ready = filled.load(std::memory_order_acquire))
        return *ready;

    static std::mutex mutex; // guards the filling of `loaded`
    static std::unique_ptr<const Tables> loaded;
    static const Tables empty{MappingTable()};
    const std::lock_guard lock(mutex);
    if (!loaded) {
        MappingTable table = loadMappingTable();
        if (table.empty())
            return empty;
        loaded = std::make_unique<const Tables>(std::move(table));
        filled.store(loaded.get(), std::memory_order_release);
    }
    return *loaded;
}

} // namespace

const std::map<unsigned, std::string> &QFCharacterConverter::mappingTable()
{
    return tables().names;
}

QString QFCharacterConverter::encodeUnicodeForHTML(const QString &text, bool skipTags)
{
    return (skipTags ? tables().skippingTags : tables().everything).encoded(text);
}

void QFCharacterConverter::appendEncoded(QString &output, QStringView text, bool skipTags)
{
    (skipTags ? tables().skippingTags : tables().everything).append(output, text);
}

const QFUnitEncoder &QFCharacterConverter::lineBreakingEncoder()
{
    return tables().breakingLines;
}
