#include "telemetry/tavrin_records.h"

#include <cstring>

namespace oru::tavrin {
namespace {

constexpr char kConfigVersion[] = "1.0";

}  // namespace

ParamRecord MakeParamRecord(std::string_view key, std::string_view value) noexcept {
  ParamRecord record;
  CopyBounded(record.key, key);
  CopyBounded(record.value, value);
  return record;
}

std::vector<ParamRecord> PackEventRecords(const std::string& eventName, const EventParams& params) {
  std::vector<ParamRecord> records;
  records.reserve(params.size() + 1);
  records.push_back(MakeParamRecord(kActionKey, eventName));
  for (const auto& [key, value] : params) records.push_back(MakeParamRecord(key, value));
  return records;
}

ConfigRecord MakeConfigRecord(std::string_view osVersion, std::string_view appVersion,
                              std::string_view dataDirectoryUtf8) noexcept {
  ConfigRecord config;
  std::memset(&config, 0, sizeof(config));
  CopyBounded(config.app_key, kAppKey);
  config.field_256 = 1;
  CopyBounded(config.os_version, osVersion);
  CopyBounded(config.app_version, appVersion);
  CopyBounded(config.config_version, kConfigVersion);
  config.field_644 = 0;
  CopyBounded(config.data_directory, dataDirectoryUtf8);
  config.field_1160 = 1;
  config.field_1164 = 1000;
  return config;
}

}  // namespace oru::tavrin
