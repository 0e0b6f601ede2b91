#include "export/QFColours.h"

#include "platform/Formatting.h"
#include "platform/NSUserDefaults.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

int byteOf(float component)
{
    const float scaled = component * 255.0F;
    return std::isnan(scaled) ? 0 : static_cast<int>(std::clamp(scaled, 0.0F, 255.0F));
}

} // namespace

QString QFColourUtilities::webColourString(const NSColor &color)
{
    const QString code =
        formatted(u"#%02x%02x%02x", {byteOf(color.red), byteOf(color.green), byteOf(color.blue)});
    return NSUserDefaults::standardUserDefaults().boolForKey(u"uppercaseColorCodes"_s) ? code.toUpper()
                                                                                       : code;
}

QString QFColourUtilities::tableColourString(const NSColor &color)
{
    return formatted(u"%02X%02X%02X", {byteOf(color.red), byteOf(color.green), byteOf(color.blue)});
}
