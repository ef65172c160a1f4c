#pragma once

// Version facts for telemetry: string fields of a file's version resource,
// the running Windows version, and the uninstaller's own product version.

#include <cstdint>
#include <string>
#include <vector>

namespace oru {

class VersionInfoReader {
 public:
  explicit VersionInfoReader(std::wstring path);

  // Reads the file's version resource; false (and a warning) when the file
  // has none or cannot be read.
  [[nodiscard]] bool Load();

  // A string field under the resource's first translation only; empty when
  // not loaded or not found.
  [[nodiscard]] std::wstring GetField(const std::wstring& name) const;
  [[nodiscard]] std::wstring GetProductVersion() const { return GetField(L"ProductVersion"); }

 private:
  std::wstring path_;
  std::vector<unsigned char> buffer_;
  bool loaded_ = false;
};

// 0 major, 1 minor, 2 build number, through RtlGetVersion (which, unlike
// GetVersionEx, is not subject to manifest-based version lies). -1 for any
// other part and for every failure.
[[nodiscard]] std::int32_t GetOsVersionPart(int part);

// "ProductVersion" of the running executable as UTF-8, or "unknown".
[[nodiscard]] std::string GetOwnProductVersion();

}  // namespace oru
