#pragma once

// The records that cross the boundary to the telemetry library, byte for
// byte: fixed arrays of NUL-terminated UTF-8 text, zero wherever unused.
// Packing is pure, so tests can look at every byte without the library.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/event_names.h"
#include "common/event_params.h"

namespace oru::tavrin {

// One event or common parameter.
struct ParamRecord {
  char key[256];
  char value[4096];
};
static_assert(sizeof(ParamRecord) == 4352);
static_assert(offsetof(ParamRecord, key) == 0);
static_assert(offsetof(ParamRecord, value) == 256);

// Given to TV_InitSDK once. The integer fields mean something to the library
// only; they are written with the values it expects.
struct ConfigRecord {
  char app_key[256];
  std::int32_t field_256;
  char os_version[128];
  char app_version[128];
  char config_version[128];
  std::int32_t field_644;
  char data_directory[512];
  std::int32_t field_1160;
  std::int32_t field_1164;
};
static_assert(sizeof(ConfigRecord) == 1168);
static_assert(offsetof(ConfigRecord, app_key) == 0);
static_assert(offsetof(ConfigRecord, field_256) == 256);
static_assert(offsetof(ConfigRecord, os_version) == 260);
static_assert(offsetof(ConfigRecord, app_version) == 388);
static_assert(offsetof(ConfigRecord, config_version) == 516);
static_assert(offsetof(ConfigRecord, field_644) == 644);
static_assert(offsetof(ConfigRecord, data_directory) == 648);
static_assert(offsetof(ConfigRecord, field_1160) == 1160);
static_assert(offsetof(ConfigRecord, field_1164) == 1164);

// The product's telemetry application key; the device-identifier library is
// given the same one.
inline constexpr char kAppKey[] = "0KXN531PLDQ8VRTA";

// Copies at most size - 1 bytes of text into field and zero-fills the rest.
// A cut may fall inside a UTF-8 sequence; the library takes bytes, not text.
template <std::size_t N>
void CopyBounded(char (&field)[N], std::string_view text) noexcept {
  const std::size_t length = text.size() < N - 1 ? text.size() : N - 1;
  std::size_t i = 0;
  for (; i < length; ++i) field[i] = text[i];
  for (; i < N; ++i) field[i] = '\0';
}

// A zeroed record holding key and value, each cut to its field.
[[nodiscard]] ParamRecord MakeParamRecord(std::string_view key, std::string_view value) noexcept;

// The records of one event: "action" = eventName first, then the parameters
// in map order.
[[nodiscard]] std::vector<ParamRecord> PackEventRecords(const std::string& eventName, const EventParams& params);

// The configuration record, zero-filled, with the fixed values and the
// three texts given (each cut to its field).
[[nodiscard]] ConfigRecord MakeConfigRecord(std::string_view osVersion, std::string_view appVersion,
                                            std::string_view dataDirectoryUtf8) noexcept;

}  // namespace oru::tavrin
