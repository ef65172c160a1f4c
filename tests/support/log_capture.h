#pragma once

// Reads back what the code under test wrote to the real log file. The first
// capture in a test process opens the log in a private file; each capture
// sees only the lines written after it was made.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace oru::test {

class LogCapture {
 public:
  LogCapture();

  // Messages logged since construction, without their timestamps.
  [[nodiscard]] std::vector<std::wstring> Lines() const;
  [[nodiscard]] bool Has(std::wstring_view line) const { return Count(line) > 0; }
  [[nodiscard]] bool HasFragment(std::wstring_view fragment) const;
  [[nodiscard]] size_t Count(std::wstring_view line) const;

 private:
  std::wstring path_;
  size_t start_ = 0;
};

// A row of a component's failure table: `function` fails with `error` at its
// `occurrence`-th call whose path argument holds `path` (0: at every such
// call), for real, through inject/fault_injector.h.
struct Fault {
  const wchar_t* function;
  unsigned long error;
  unsigned occurrence = 0;
  std::wstring path = {};
};

// The lines logged while `action` ran with every one of `faults` in place.
std::vector<std::wstring> LinesUnder(const std::vector<Fault>& faults, const std::function<void()>& action);

// Success when each of `expected` is a whole line of `lines`, in this order.
::testing::AssertionResult LinesInOrder(const std::vector<std::wstring>& lines,
                                        const std::vector<std::wstring>& expected);

// The raw bytes of a file; empty when it cannot be read.
[[nodiscard]] std::string ReadFileBytes(const std::wstring& path);

}  // namespace oru::test
