#pragma once

// Puts the stand-ins for the closed libraries where the uninstaller looks for
// them, and reads back the traces they write (format:
// tests/doubles/trace/trace_writer.h).

#include <string>
#include <utility>
#include <vector>

namespace oru::test {

inline constexpr wchar_t kDorvidStubA1Fails[] = L"dorvid_a1_fails.dll";
inline constexpr wchar_t kDorvidStubAsync[] = L"dorvid_async.dll";

// Copies the stand-in `stub` into directory as tavrin_sdk.dll (dorvid.dll)
// and points its trace at directory\tavrin_trace.txt (dorvid_trace.txt),
// which is returned.
std::wstring StageTavrin(const std::wstring& directory, const std::wstring& stub = L"tavrin_sdk.dll");
std::wstring StageDorvid(const std::wstring& directory, const std::wstring& stub = L"dorvid.dll");

struct TraceCall {
  std::string name;
  std::string line;                                         // the whole "call ..." line
  std::vector<std::pair<std::string, std::string>> blocks;  // label, raw bytes

  // The value of key=value on the call line; empty when absent.
  [[nodiscard]] std::string Arg(const std::string& key) const;
  // The bytes received under `label`; empty when absent.
  [[nodiscard]] std::string Block(const std::string& label) const;
  // The whole 4352-byte parameter records, in the order received.
  [[nodiscard]] std::vector<std::string> Records() const;
  // Records as "key=value" texts, each field up to its first NUL.
  [[nodiscard]] std::vector<std::string> Pairs() const;
};

// The calls named `name` in the trace, in order; all calls for an empty name.
[[nodiscard]] std::vector<TraceCall> ReadTrace(const std::wstring& path, const std::string& name = {});

}  // namespace oru::test
