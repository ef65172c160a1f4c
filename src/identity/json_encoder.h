#pragma once

// The JSON text of the extra parameters handed to the device-identifier
// library. Its rules are the library's expectations, not general JSON:
// keys go out exactly as they stand, values are escaped.

#include <string>

#include "common/event_params.h"

namespace oru {

// "{}" for an empty map; otherwise {"key":"value",...} in map order. In
// values the quote, backslash, \b, \f, \n, \r and \t take their short escapes,
// every other byte from 1 to 31 becomes \u00xx (lower-case hex), and bytes of
// 128 and above (UTF-8) pass unchanged.
[[nodiscard]] std::string EncodeJsonObject(const EventParams& params);

}  // namespace oru
