#include "text/QFStringEncodings.h"

CFStringEncoding CFStringConvertNSStringEncodingToEncoding(NSStringEncoding encoding)
{
    switch (encoding) {
    case NSASCIIStringEncoding:
        return kCFStringEncodingASCII;
    case NSNEXTSTEPStringEncoding:
        return kCFStringEncodingNextStepLatin;
    case NSUTF8StringEncoding:
        return kCFStringEncodingUTF8;
    case NSISOLatin1StringEncoding:
        return kCFStringEncodingISOLatin1;
    case NSShiftJISStringEncoding:
        return kCFStringEncodingShiftJIS;
    case NSUnicodeStringEncoding:
        return kCFStringEncodingUTF16;
    case NSWindowsCP1252StringEncoding:
        return kCFStringEncodingWindowsLatin1;
    case NSMacOSRomanStringEncoding:
        return kCFStringEncodingMacRoman;
    default:
        if (encoding > 0xFFFFFFFF || (encoding & NSStringEncodingServicesBit) == 0)
            return kCFStringEncodingInvalidId;
        return static_cast<CFStringEncoding>(encoding & ~NSStringEncodingServicesBit);
    }
}
