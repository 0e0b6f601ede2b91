#include "text/NSString+HorspoolFeng.h"

#include "platform/Logging.h"
#include "platform/QFReport.h"
#include "text/HorspoolFeng.h"
#include "text/ReplacedText.h"
#include "text/ns_iterators.h"

using namespace Qt::StringLiterals;

namespace {

template <bool recursively>
void replaceIn(QString &text, const QVariantMap &substrings)
{
    try {
        ReplacedText<recursively> replaced(text);
        Sigil::StringReplaceHF(replaced, 0, CXXEnumerationIterator::beginEnumerator(substrings),
                               CXXEnumerationIterator::endEnumerator(substrings), recursively);
        text = replaced.take();
    } catch (...) { // values may add up to more than there is
        logFailure(qfTextLog(), u"memory"_s, u"There is not enough memory to replace substrings"_s);
    }
}

} // namespace

void Sigil::HorspoolFeng::logEndlessReplacement()
{
    logFailure(qfTextLog(), u"replacement"_s, u"A recursive replacement that does not end was stopped"_s);
}

void HorspoolPang::replaceSubstrings(QString &text, const QVariantMap &substrings)
{
    replaceIn<false>(text, substrings);
}

void HorspoolPang::replaceSubstrings(QString &text, const QVariantMap &substrings, bool recursively)
{
    recursively ? replaceIn<true>(text, substrings) : replaceIn<false>(text, substrings);
}
