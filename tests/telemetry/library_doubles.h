#pragma once

// Puts the stand-ins for the closed libraries where the uninstaller looks for
// them, and reads back the traces they write (format:
// tests/doubles/trace/trace_writer.h).

#include <windows.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/log_capture.h"
#include "support/test_paths.h"

namespace oru::test {

// Copies the stand-in `library` into directory and points the trace that
// `variable` names at a file there, which is returned.
inline std::wstring Stage(const std::wstring& directory, const std::wstring& library, const wchar_t* variable) {
  ::CopyFileW(BinFile(library).c_str(), (directory + L"\\" + library).c_str(), FALSE);
  ::SetEnvironmentVariableW(variable, (directory + L"\\" + library + L".trace").c_str());
  return directory + L"\\" + library + L".trace";
}
inline std::wstring StageTavrin(const std::wstring& dir) { return Stage(dir, L"tavrin_sdk.dll", L"ORU_TAVRIN_TRACE"); }
inline std::wstring StageDorvid(const std::wstring& dir) { return Stage(dir, L"dorvid.dll", L"ORU_DORVID_TRACE"); }

struct TraceCall {
  std::string name;
  std::string line;                                         // the whole "call ..." line
  std::vector<std::pair<std::string, std::string>> blocks;  // label, raw bytes

  // The bytes received under `label`; empty when absent.
  [[nodiscard]] std::string Block(const std::string& label) const {
    for (const auto& [blockLabel, bytes] : blocks) {
      if (blockLabel == label) return bytes;
    }
    return {};
  }
  // The whole 4352-byte parameter records, in the order received.
  [[nodiscard]] std::vector<std::string> Records() const {
    std::vector<std::string> records;
    for (const auto& [label, bytes] : blocks) {
      if (label.starts_with("record") && bytes.size() == 4352) records.push_back(bytes);
    }
    return records;
  }
  // Records as "key=value" texts, each field (the value's from byte 256) up to its first NUL.
  [[nodiscard]] std::vector<std::string> Pairs() const {
    std::vector<std::string> pairs;
    for (const std::string& record : Records())
      pairs.push_back(record.substr(0, record.find('\0')) + "=" + &record[256]);
    return pairs;
  }
};

// The calls named `name` in the trace, in order; all calls for an empty name.
inline std::vector<TraceCall> ReadTrace(const std::wstring& path, const std::string& name = {}) {
  std::istringstream in(ReadFileBytes(path));
  std::vector<TraceCall> calls;
  bool wanted = false;
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string kind, label, hex;
    words >> kind >> label >> hex;
    if (kind == "call") {
      wanted = name.empty() || label == name;
      if (wanted) calls.push_back({label, line, {}});
    } else if (kind == "bytes" && wanted && !calls.empty()) {
      std::string bytes;
      for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
      calls.back().blocks.emplace_back(label, bytes);
    }
  }
  return calls;
}

}  // namespace oru::test
