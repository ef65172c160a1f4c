#pragma once

// The call trace written by the stand-ins for the closed libraries and
// programs, read back by tests. One line per call ("call NAME key=value
// ..."), then for each argument that carries memory a line "bytes LABEL HEX"
// with the exact bytes received. The file is opened and closed on every
// write, so a test may read it at any moment.

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "common/unique_handle.h"

namespace oru::doubles {

// An environment variable's value; empty when unset or too long.
inline std::wstring Setting(const wchar_t* name) {
  wchar_t value[1024] = {};
  const DWORD length = ::GetEnvironmentVariableW(name, value, 1024);
  return length < 1024 ? std::wstring(value, length) : std::wstring();
}

inline std::string Utf8(std::wstring_view text) {
  std::string out(text.size() * 3, '\0');
  out.resize(
      static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(),
                                                     static_cast<int>(out.size()), nullptr, nullptr)));
  return out;
}

class TraceWriter {
 public:
  // Writes nothing when path is empty.
  explicit TraceWriter(std::wstring path) : path_(std::move(path)) {}
  // The file named by the variable, read at each call so that a test can set
  // it after the library was loaded.
  static TraceWriter FromEnvironment(const wchar_t* variable) { return TraceWriter(Setting(variable)); }

  // Bytes outside printable ASCII (and blank, quote, backslash) as \xNN, so
  // that a line always stays one line.
  static std::string Escape(std::string_view text) {
    std::string out;
    for (const char ch : text) {
      const auto c = static_cast<unsigned char>(ch);
      if (c > 0x20 && c < 0x7F && c != '"' && c != '\\') {
        out += ch;
      } else {
        out += "\\x" + Hex(&c, 1);
      }
    }
    return out;
  }

  void Line(std::string_view text) { Write(std::string(text) + "\n"); }
  void Bytes(std::string_view label, const void* data, std::size_t size) {
    Line("bytes " + std::string(label) + " " + Hex(data, size));
  }
  // The bytes of a C string without its terminator ("null" when absent).
  void Text(std::string_view label, const char* text) {
    if (text == nullptr) return Line("null " + std::string(label));
    Bytes(label, text, std::string_view(text).size());
  }

 private:
  static std::string Hex(const void* data, std::size_t size) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (std::size_t i = 0; i < size; ++i) {
      const auto byte = static_cast<const unsigned char*>(data)[i];
      hex += {kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
    return hex;
  }

  void Write(const std::string& data) {
    if (path_.empty()) return;
    const UniqueFile file(::CreateFileW(path_.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (file) ::WriteFile(file.get(), data.data(), static_cast<DWORD>(data.size()), &written, nullptr);
  }

  std::wstring path_;
};

}  // namespace oru::doubles
