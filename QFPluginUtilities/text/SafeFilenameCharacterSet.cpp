#include "text/SafeFilenameCharacterSet.h"

#include <array>

namespace {

constexpr std::array<bool, 128> makeSafeUnits()
{
    std::array<bool, 128> safe{};
    for (qsizetype i = 0; i < safeFilenameCharacterSet.size(); ++i)
        safe[safeFilenameCharacterSet.utf16()[i]] = true;
    return safe;
}

constexpr std::array<bool, 128> safeUnits = makeSafeUnits();

} // namespace

bool isSafeInFilenames(char16_t unit)
{
    return unit < safeUnits.size() && safeUnits[unit];
}
