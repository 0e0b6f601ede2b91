#include "text/SigilCString.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

Sigil::CString::CString(std::string_view bytes)
{
    resize(bytes.size());
    std::copy(bytes.begin(), bytes.end(), _bytes);
}

Sigil::CString::CString(const CString &other) : CString(std::string_view(other.c_str(), other._length)) {}

Sigil::CString::CString(CString &&other) noexcept
    : _bytes(std::exchange(other._bytes, nullptr)), _length(std::exchange(other._length, 0))
{
}

Sigil::CString &Sigil::CString::operator=(CString other) noexcept
{
    std::swap(_bytes, other._bytes);
    std::swap(_length, other._length);
    return *this;
}

Sigil::CString::~CString()
{
    std::free(_bytes);
}

void Sigil::CString::replace(std::size_t position, std::size_t length, const CString &replacement)
{
    if (&replacement == this)
        return replace(position, length, CString(replacement));
    position = std::min(position, _length);
    length = std::min(length, _length - position);
    const std::size_t width = replacement._length;
    const std::size_t tail = _length - position - length;
    if (width > length)
        resize(_length + (width - length));
    if (tail > 0)
        std::memmove(_bytes + position + width, _bytes + position + length, tail);
    if (width > 0)
        std::memcpy(_bytes + position, replacement._bytes, width);
    if (width < length)
        resize(_length - (length - width));
}

/// Keeps what fits, and sets the NUL.
void Sigil::CString::resize(std::size_t length)
{
    auto *block = static_cast<char *>(std::realloc(_bytes, length + 1));
    if (block == nullptr)
        throw std::bad_alloc();
    _bytes = block;
    _length = length;
    _bytes[length] = '\0';
}
