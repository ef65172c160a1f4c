#pragma once

// The call trace written by the stand-ins for the closed libraries, read back
// by tests. One line per call ("call NAME key=value ..."), then for each
// argument that carries memory a line "bytes LABEL HEX" with the exact bytes
// received, and a readable line for people. The file is opened and closed on
// every write, so a test may read it at any moment.

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "common/unique_handle.h"

namespace oru::doubles {

class TraceWriter {
 public:
  // The trace file named by the environment variable, read at each call so
  // that a test can set it after the library was loaded; none when unset.
  explicit TraceWriter(const wchar_t* environmentVariable) {
    wchar_t path[1024] = {};
    const DWORD length = ::GetEnvironmentVariableW(environmentVariable, path, 1024);
    if (length > 0 && length < 1024) path_ = path;
  }

  // Bytes outside printable ASCII (and blank, quote, backslash) as \xNN, so
  // that a line always stays one line.
  static std::string Escape(std::string_view text) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (const char ch : text) {
      const auto c = static_cast<unsigned char>(ch);
      if (c > 0x20 && c < 0x7F && c != '"' && c != '\\') {
        out += ch;
      } else {
        out += "\\x";
        out += kHex[c >> 4];
        out += kHex[c & 0xF];
      }
    }
    return out;
  }

  // The text of a NUL-terminated field of at most `size` bytes.
  static std::string_view FieldText(const char* field, std::size_t size) {
    std::size_t length = 0;
    while (length < size && field[length] != '\0') ++length;
    return {field, length};
  }

  void Line(std::string_view text) { Write(std::string(text) + "\n"); }

  void Bytes(std::string_view label, const void* data, std::size_t size) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string line = "bytes " + std::string(label) + " ";
    line.reserve(line.size() + size * 2 + 1);
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i) {
      line += kHex[bytes[i] >> 4];
      line += kHex[bytes[i] & 0xF];
    }
    Line(line);
  }

  // The bytes of a C string without its terminator ("null" when absent).
  void Text(std::string_view label, const char* text) {
    if (text == nullptr) {
      Line("null " + std::string(label));
      return;
    }
    const std::string_view view(text);
    Bytes(label, view.data(), view.size());
    Line("text " + std::string(label) + " \"" + Escape(view) + "\"");
  }

 private:
  void Write(const std::string& data) {
    if (path_.empty()) return;
    const UniqueFile file(::CreateFileW(path_.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return;
    DWORD written = 0;
    ::WriteFile(file.get(), data.data(), static_cast<DWORD>(data.size()), &written, nullptr);
  }

  std::wstring path_;
};

}  // namespace oru::doubles
