#include "library_doubles.h"

#include <windows.h>

#include <sstream>

#include "support/log_capture.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

constexpr size_t kRecordSize = 4352;
constexpr size_t kValueOffset = 256;

std::string FromHex(const std::string& hex) {
  std::string bytes;
  bytes.reserve(hex.size() / 2);
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

std::string UpToNul(const std::string& bytes, size_t offset, size_t size) {
  const std::string field = bytes.substr(offset, size);
  return field.substr(0, field.find('\0'));
}

std::wstring Stage(const std::wstring& directory, const std::wstring& stub, const std::wstring& name,
                   const wchar_t* traceVariable, const std::wstring& traceName) {
  ::CopyFileW(BinFile(stub).c_str(), (directory + L"\\" + name).c_str(), FALSE);
  const std::wstring trace = directory + L"\\" + traceName;
  SetEnvironment(traceVariable, trace);
  return trace;
}

}  // namespace

void SetEnvironment(const wchar_t* name, const std::wstring& value) { ::SetEnvironmentVariableW(name, value.c_str()); }

std::wstring StageTavrin(const std::wstring& directory, const std::wstring& stub) {
  return Stage(directory, stub, L"tavrin_sdk.dll", L"ORU_TAVRIN_TRACE", L"tavrin_trace.txt");
}

std::wstring StageDorvid(const std::wstring& directory, const std::wstring& stub) {
  return Stage(directory, stub, L"dorvid.dll", L"ORU_DORVID_TRACE", L"dorvid_trace.txt");
}

std::string TraceCall::Arg(const std::string& key) const {
  std::istringstream words(line);
  std::string word;
  while (words >> word) {
    if (word.rfind(key + "=", 0) == 0) return word.substr(key.size() + 1);
  }
  return {};
}

std::string TraceCall::Block(const std::string& label) const {
  for (const auto& [name, bytes] : blocks) {
    if (name == label) return bytes;
  }
  return {};
}

std::vector<TraceRecord> TraceCall::Records() const {
  std::vector<TraceRecord> records;
  for (const auto& [label, bytes] : blocks) {
    if (label.rfind("record", 0) != 0 || bytes.size() != kRecordSize) continue;
    records.push_back(
        {UpToNul(bytes, 0, kValueOffset), UpToNul(bytes, kValueOffset, kRecordSize - kValueOffset), bytes});
  }
  return records;
}

std::vector<std::string> TraceCall::Pairs() const {
  std::vector<std::string> pairs;
  for (const TraceRecord& record : Records()) pairs.push_back(record.key + "=" + record.value);
  return pairs;
}

std::vector<TraceCall> ReadTrace(const std::wstring& path) {
  std::istringstream in(ReadFileBytes(path));
  std::vector<TraceCall> calls;
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("call ", 0) == 0) {
      std::istringstream words(line.substr(5));
      TraceCall call;
      words >> call.name;
      call.line = line;
      calls.push_back(call);
    } else if (line.rfind("bytes ", 0) == 0 && !calls.empty()) {
      std::istringstream words(line.substr(6));
      std::string label;
      std::string hex;
      words >> label >> hex;
      calls.back().blocks.emplace_back(label, FromHex(hex));
    }
  }
  return calls;
}

std::vector<std::string> CallNames(const std::vector<TraceCall>& calls) {
  std::vector<std::string> names;
  for (const TraceCall& call : calls) names.push_back(call.name);
  return names;
}

std::vector<TraceCall> CallsNamed(const std::vector<TraceCall>& calls, const std::string& name) {
  std::vector<TraceCall> named;
  for (const TraceCall& call : calls) {
    if (call.name == name) named.push_back(call);
  }
  return named;
}

}  // namespace oru::test
