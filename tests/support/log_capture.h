#pragma once

// Reads back what the code under test wrote to the real log file. The first
// capture in a test process opens the log in a private file; each capture
// sees only the lines written after it was made.

#include <string>
#include <string_view>
#include <vector>

namespace oru::test {

class LogCapture {
 public:
  LogCapture();

  // Messages logged since construction, without their timestamps.
  [[nodiscard]] std::vector<std::wstring> Lines() const;
  // True when some line equals `line` exactly.
  [[nodiscard]] bool Has(std::wstring_view line) const { return Count(line) > 0; }
  // True when some line contains `fragment`.
  [[nodiscard]] bool HasFragment(std::wstring_view fragment) const;
  // Number of lines equal to `line`.
  [[nodiscard]] size_t Count(std::wstring_view line) const;

 private:
  std::wstring path_;
  size_t start_ = 0;
};

// The raw bytes of a file; empty when it cannot be read.
[[nodiscard]] std::string ReadFileBytes(const std::wstring& path);

}  // namespace oru::test
