#pragma once

// printf-style formatting into a fixed wide buffer through the system C
// runtime's own formatter. The toolchain's portable printf would otherwise
// be linked in (some 17 KB) for a handful of paths and timestamps. In this
// formatter %ls, %u, %d and %x mean what they mean everywhere.

#include <cstdarg>
#include <cstddef>
#include <cwchar>

// The runtime's formatter; the headers declare it only when the portable
// printf is switched off, which the C++ library does not allow.
extern "C" int __cdecl __ms_vsnwprintf(wchar_t*, std::size_t, const wchar_t*, va_list);

namespace oru {

// Writes at most count - 1 characters and always terminates the buffer.
// Returns the length written, or -1 when the text did not fit.
inline int FormatWideV(wchar_t* buffer, std::size_t count, const wchar_t* format, va_list args) {
  if (count == 0) return -1;
  const int written = __ms_vsnwprintf(buffer, count, format, args);
  if (written < 0 || static_cast<std::size_t>(written) >= count) {
    buffer[count - 1] = L'\0';
    return -1;
  }
  return written;
}

inline int FormatWide(wchar_t* buffer, std::size_t count, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const int written = FormatWideV(buffer, count, format, args);
  va_end(args);
  return written;
}

}  // namespace oru
