#pragma once

#include "platform/QFExport.h"

#include <QtCore/qglobal.h>

// The platform's numbers of character sets: one numbering of its string services, one of its string class.

using CFStringEncoding = quint32;
using NSStringEncoding = quint64;

inline constexpr CFStringEncoding kCFStringEncodingMacRoman = 0;
inline constexpr CFStringEncoding kCFStringEncodingUTF16 = 0x0100;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin1 = 0x0201;
inline constexpr CFStringEncoding kCFStringEncodingWindowsLatin1 = 0x0500;
inline constexpr CFStringEncoding kCFStringEncodingASCII = 0x0600;
inline constexpr CFStringEncoding kCFStringEncodingShiftJIS = 0x0A01;
inline constexpr CFStringEncoding kCFStringEncodingBig5 = 0x0A03;
inline constexpr CFStringEncoding kCFStringEncodingNextStepLatin = 0x0B01;
inline constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;
inline constexpr CFStringEncoding kCFStringEncodingInvalidId = 0xFFFFFFFF;

inline constexpr NSStringEncoding NSASCIIStringEncoding = 1;
inline constexpr NSStringEncoding NSNEXTSTEPStringEncoding = 2;
inline constexpr NSStringEncoding NSUTF8StringEncoding = 4;
inline constexpr NSStringEncoding NSISOLatin1StringEncoding = 5;
inline constexpr NSStringEncoding NSShiftJISStringEncoding = 8;
inline constexpr NSStringEncoding NSUnicodeStringEncoding = 10;
inline constexpr NSStringEncoding NSWindowsCP1252StringEncoding = 12;
inline constexpr NSStringEncoding NSMacOSRomanStringEncoding = 30;
/// Set in a number of the string class whose other bits are a number of the string services.
inline constexpr NSStringEncoding NSStringEncodingServicesBit = 0x80000000;

/// The same set in the other numbering; `kCFStringEncodingInvalidId` for a number that is not known.
[[nodiscard]] QF_EXPORT CFStringEncoding CFStringConvertNSStringEncodingToEncoding(NSStringEncoding encoding);
