#include "identity/json_encoder.h"

#include <string_view>

namespace oru {
namespace {

// The short escape for c, or 0 when c has none.
char ShortEscape(unsigned char c) {
  switch (c) {
    case '"':
      return '"';
    case '\\':
      return '\\';
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    default:
      return 0;
  }
}

void AppendEscaped(std::string& out, std::string_view value) {
  constexpr char kHex[] = "0123456789abcdef";
  for (const char ch : value) {
    const auto c = static_cast<unsigned char>(ch);
    if (const char escape = ShortEscape(c); escape != 0) {
      out += '\\';
      out += escape;
    } else if (c >= 1 && c <= 31) {
      out += "\\u00";
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
    } else {
      out += ch;
    }
  }
}

}  // namespace

std::string EncodeJsonObject(const EventParams& params) {
  std::string out = "{";
  bool first = true;
  for (const auto& [key, value] : params) {
    if (!first) out += ',';
    first = false;
    out += '"';
    out += key;
    out += "\":\"";
    AppendEscaped(out, value);
    out += '"';
  }
  out += '}';
  return out;
}

}  // namespace oru
