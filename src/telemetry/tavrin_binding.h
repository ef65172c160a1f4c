#pragma once

// The boundary to the closed telemetry library tavrin_sdk.dll: loading it
// from the sdk directory, its five exports, and the calls made through them
// in their fixed order (load and bind, configure, common parameters, any
// number of reports, shutdown). Every entry point is null-checked before use,
// so nothing here is ever called into a library that is not there.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/event_params.h"
#include "sys/dll_loader.h"
#include "telemetry/tavrin_records.h"

namespace oru::tavrin {

// What was last given to TV_SetCommonParams; the reporter keeps it and shows
// it in the log with every event.
inline constexpr std::size_t kCommonParamCapacity = 20;
using CommonParamTable = std::array<ParamRecord, kCommonParamCapacity>;

// Loads sdkDirectory\tavrin_sdk.dll and binds all five exports. Null,
// logged, when the file does not load or any export is missing; the library
// is then freed and no entry point stays bound, so CanReport() is false.
[[nodiscard]] std::unique_ptr<DllLoader> LoadAndBind(const std::wstring& sdkDirectory);

// Creates sdkDirectory\tavrin if needed (an existing one is used as it is)
// and starts the library with the configuration record. False, logged, only
// when that folder cannot be created; the library is then not started.
[[nodiscard]] bool Configure(const std::wstring& sdkDirectory, const std::string& osVersion,
                             const std::string& appVersion);

// Writes the map into table (map order; at most the table's capacity),
// hands it to the library and logs the library's own device id. An empty map
// sends nothing.
void SetCommonParams(const EventParams& params, CommonParamTable& table, std::uint32_t& count);

// True when TV_Report is bound.
[[nodiscard]] bool CanReport() noexcept;

// Sends the records as one key event; the library's result is not used.
void Report(const std::vector<ParamRecord>& records);

// Stops the library, frees it and forgets every entry point.
void Shutdown(std::unique_ptr<DllLoader> library);

}  // namespace oru::tavrin
