#include "log/timestamp.h"

#include <windows.h>

#include <cwchar>

#include "common/format.h"

namespace oru {

std::wstring GetTimestamp() {
  SYSTEMTIME now{};
  ::GetLocalTime(&now);
  wchar_t buffer[128] = {};
  FormatWide(buffer, 128, L"%04d-%02d-%02d %02d:%02d:%02d.%03d ", now.wYear, now.wMonth, now.wDay, now.wHour,
             now.wMinute, now.wSecond, now.wMilliseconds);
  return buffer;
}

std::wstring GetTimestampForName() {
  SYSTEMTIME now{};
  ::GetLocalTime(&now);
  wchar_t buffer[32] = {};
  FormatWide(buffer, 32, L"%04u%02u%02u_%02u%02u%02u_%03u", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute,
             now.wSecond, now.wMilliseconds);
  return buffer;
}

}  // namespace oru
