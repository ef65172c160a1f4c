#include "workspace/workspace_support.h"

#include <windows.h>

#include <cstdarg>

#include "common/format.h"
#include "common/strings.h"

namespace oru::workspace_support {

bool FormatPath(wchar_t (&out)[kPathCapacity], const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const int written = FormatWideV(out, kPathCapacity, format, args);
  va_end(args);
  if (written < 0) {
    out[0] = L'\0';
    return false;
  }
  return true;
}

unsigned ProcessId() { return static_cast<unsigned>(::GetCurrentProcessId()); }

std::wstring Mebibytes(std::uint64_t bytes) { return ToWideDecimal(bytes >> 20); }

bool IsDirectory(std::uint32_t attributes) {
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace oru::workspace_support
