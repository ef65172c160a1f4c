#pragma once

// Puts the stand-ins for the closed libraries where the uninstaller looks for
// them, and reads back the traces they write (see
// tests/doubles/trace/trace_writer.h for the format).

#include <string>
#include <utility>
#include <vector>

namespace oru::test {

// Stand-in file names in the bin folder.
inline constexpr wchar_t kTavrinStub[] = L"tavrin_sdk.dll";
inline constexpr wchar_t kTavrinStubNoDeviceId[] = L"tavrin_sdk_no_device_id.dll";
inline constexpr wchar_t kDorvidStub[] = L"dorvid.dll";
inline constexpr wchar_t kDorvidStubA1Fails[] = L"dorvid_a1_fails.dll";
inline constexpr wchar_t kDorvidStubAsync[] = L"dorvid_async.dll";

// Copies the stand-in `stub` into directory as tavrin_sdk.dll and points its
// trace at directory\tavrin_trace.txt, which is returned.
std::wstring StageTavrin(const std::wstring& directory, const std::wstring& stub = kTavrinStub);
// The same for dorvid.dll and directory\dorvid_trace.txt.
std::wstring StageDorvid(const std::wstring& directory, const std::wstring& stub = kDorvidStub);

void SetEnvironment(const wchar_t* name, const std::wstring& value);

// One parameter record as the library received it.
struct TraceRecord {
  std::string key;    // up to the first NUL of the key field
  std::string value;  // up to the first NUL of the value field
  std::string bytes;  // all 4352 bytes
};

struct TraceCall {
  std::string name;
  std::string line;                                         // the whole "call ..." line
  std::vector<std::pair<std::string, std::string>> blocks;  // label, raw bytes

  // The value of key=value on the call line; empty when absent.
  [[nodiscard]] std::string Arg(const std::string& key) const;
  // The bytes received under `label`; empty when absent.
  [[nodiscard]] std::string Block(const std::string& label) const;
  // The parameter records, in the order received.
  [[nodiscard]] std::vector<TraceRecord> Records() const;
  // Records as "key=value" texts, for whole-event comparisons.
  [[nodiscard]] std::vector<std::string> Pairs() const;
};

// Every call in the trace, in order; empty when the file does not exist.
[[nodiscard]] std::vector<TraceCall> ReadTrace(const std::wstring& path);
// Just the names, in order.
[[nodiscard]] std::vector<std::string> CallNames(const std::vector<TraceCall>& calls);
// The calls with the given name.
[[nodiscard]] std::vector<TraceCall> CallsNamed(const std::vector<TraceCall>& calls, const std::string& name);

}  // namespace oru::test
