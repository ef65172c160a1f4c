#pragma once

// String helpers shared by every subsystem: UTF-16 <-> UTF-8 through the
// system code-page functions, decimal formatting, and joining.

#include <charconv>
#include <concepts>
#include <initializer_list>
#include <string>
#include <string_view>

namespace oru {

// Invalid input is converted with the system's replacement rules; an empty
// input, or a conversion the system refuses, yields an empty string.
[[nodiscard]] std::string WideToUtf8(std::wstring_view text);
[[nodiscard]] std::wstring Utf8ToWide(std::string_view text);

// Decimal text of any integer; negative values carry a leading '-'.
// Built on std::to_chars: std::to_wstring would link a whole printf.
template <std::integral T>
[[nodiscard]] std::wstring ToWideDecimal(T value) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
  return std::wstring(digits, end);
}
template <std::integral T>
[[nodiscard]] std::string ToDecimal(T value) {
  return std::to_string(value);
}

// Concatenates the parts with nothing in between.
[[nodiscard]] std::wstring JoinWide(std::initializer_list<std::wstring_view> parts);

// "true" / "false", the boolean texts of event parameters.
[[nodiscard]] inline const char* BoolText(bool value) { return value ? "true" : "false"; }
// What joins a log line to the Win32 error code that follows it.
inline constexpr std::wstring_view kErrorSuffix = L", error: ";

// "1" / "0", the boolean texts of log lines.
[[nodiscard]] inline const wchar_t* DigitText(bool value) { return value ? L"1" : L"0"; }

// The text after the last backslash, or the whole text when it has none.
[[nodiscard]] std::wstring_view FileNamePart(std::wstring_view path);
// The text before the last backslash, or empty when it has none.
[[nodiscard]] std::wstring_view FolderPart(std::wstring_view path);

// Case-insensitive comparison of two names, as the file system compares them.
[[nodiscard]] bool EqualsIgnoreCase(std::wstring_view a, std::wstring_view b);

}  // namespace oru
