#include "library_doubles.h"

#include <windows.h>

#include <sstream>

#include "support/log_capture.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

constexpr size_t kRecordSize = 4352;
constexpr size_t kValueOffset = 256;

std::wstring Stage(const std::wstring& directory, const std::wstring& stub, const std::wstring& name,
                   const wchar_t* traceVariable, const std::wstring& traceName) {
  ::CopyFileW(BinFile(stub).c_str(), (directory + L"\\" + name).c_str(), FALSE);
  ::SetEnvironmentVariableW(traceVariable, (directory + L"\\" + traceName).c_str());
  return directory + L"\\" + traceName;
}

}  // namespace

std::wstring StageTavrin(const std::wstring& directory, const std::wstring& stub) {
  return Stage(directory, stub, L"tavrin_sdk.dll", L"ORU_TAVRIN_TRACE", L"tavrin_trace.txt");
}

std::wstring StageDorvid(const std::wstring& directory, const std::wstring& stub) {
  return Stage(directory, stub, L"dorvid.dll", L"ORU_DORVID_TRACE", L"dorvid_trace.txt");
}

std::string TraceCall::Arg(const std::string& key) const {
  std::istringstream words(line);
  for (std::string word; words >> word;) {
    if (word.starts_with(key + "=")) return word.substr(key.size() + 1);
  }
  return {};
}

std::string TraceCall::Block(const std::string& label) const {
  for (const auto& [blockLabel, bytes] : blocks) {
    if (blockLabel == label) return bytes;
  }
  return {};
}

std::vector<std::string> TraceCall::Records() const {
  std::vector<std::string> records;
  for (const auto& [label, bytes] : blocks) {
    if (label.starts_with("record") && bytes.size() == kRecordSize) records.push_back(bytes);
  }
  return records;
}

std::vector<std::string> TraceCall::Pairs() const {
  std::vector<std::string> pairs;
  for (const std::string& record : Records()) {
    pairs.push_back(record.substr(0, record.find('\0')) + "=" + record.substr(kValueOffset).c_str());
  }
  return pairs;
}

std::vector<TraceCall> ReadTrace(const std::wstring& path, const std::string& name) {
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
