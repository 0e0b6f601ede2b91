#pragma once

#include "platform/QFExport.h"

#include <cstddef>
#include <string_view>

namespace Sigil {

/// Bytes on the heap with a NUL behind them, in a block that is just as large. One thread at a time.
class QF_EXPORT CString
{
public:
    CString() = default;
    explicit CString(std::string_view bytes);
    CString(const CString &other);
    CString(CString &&other) noexcept;
    CString &operator=(CString other) noexcept;
    ~CString();

    [[nodiscard]] std::size_t length() const { return _length; }
    /// With a NUL behind them; never nullptr.
    [[nodiscard]] const char *c_str() const { return _bytes != nullptr ? _bytes : ""; }

    /// Puts the replacement, which may be this string, in the place of a range, cut to what there is of it.
    /// Throws std::bad_alloc, with nothing changed.
    void replace(std::size_t position, std::size_t length, const CString &replacement);

private:
    void resize(std::size_t length);

    char *_bytes = nullptr;
    std::size_t _length = 0;
};

} // namespace Sigil
