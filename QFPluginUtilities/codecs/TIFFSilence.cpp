#include "codecs/TIFFSilence.h"

#include <atomic>
#include <cstdarg>
#include <mutex>

#include <tiffio.h>

namespace {

thread_local int silences = 0;
std::atomic<TIFFErrorHandler> errorHandler;
std::atomic<TIFFErrorHandler> warningHandler;

void passOn(TIFFErrorHandler handler, const char *module, const char *format, va_list arguments)
{
    if (silences == 0 && handler)
        handler(module, format, arguments);
}

void handleError(const char *module, const char *format, va_list arguments)
{
    passOn(errorHandler, module, format, arguments);
}

void handleWarning(const char *module, const char *format, va_list arguments)
{
    passOn(warningHandler, module, format, arguments);
}

} // namespace

TIFFSilence::TIFFSilence()
{
    // Once only: a handler set later may call ours.
    static std::once_flag once;
    std::call_once(once, [] {
        errorHandler = TIFFSetErrorHandler(handleError);
        warningHandler = TIFFSetWarningHandler(handleWarning);
    });
    ++silences;
}

TIFFSilence::~TIFFSilence()
{
    --silences;
}
