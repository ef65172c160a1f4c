#include "support/log_capture.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <sstream>

#include "common/strings.h"
#include "inject/fault_injector.h"
#include "log/setup_logger.h"
#include "support/test_paths.h"

namespace oru::test {

// Length of "YYYY-MM-DD hh:mm:ss.mmm " at the start of every line.
constexpr size_t kTimestampLength = 24;

std::string ReadFileBytes(const std::wstring& path) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

LogCapture::LogCapture() {
  auto& logger = SetupLogger::Instance();
  if (logger.LogPath().empty()) {
    const std::wstring directory = TempFolder() + L"\\oru_test_logs";
    ::CreateDirectoryW(directory.c_str(), nullptr);
    logger.InitLog(directory, L"test_" + std::to_wstring(::GetCurrentProcessId()) + L".log");
  }
  path_ = logger.LogPath();
  start_ = ReadFileBytes(path_).size();
}

std::vector<std::wstring> LogCapture::Lines() const {
  const std::string bytes = ReadFileBytes(path_);
  std::istringstream in(bytes.size() > start_ ? bytes.substr(start_) : std::string());
  std::vector<std::wstring> lines;
  std::string line;
  while (std::getline(in, line)) {
    std::wstring wide = Utf8ToWide(line);
    lines.push_back(wide.size() >= kTimestampLength ? wide.substr(kTimestampLength) : wide);
  }
  return lines;
}

bool LogCapture::HasFragment(std::wstring_view fragment) const {
  const auto lines = Lines();
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::wstring& l) { return l.find(fragment) != std::wstring::npos; });
}

size_t LogCapture::Count(std::wstring_view line) const {
  const auto lines = Lines();
  return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

std::vector<std::wstring> LinesUnder(const std::vector<Fault>& faults, const std::function<void()>& action) {
  const LogCapture log;
  {
    std::list<ScopedFault> active;
    for (const Fault& f : faults) active.emplace_back(f.function, f.error, f.occurrence, f.path);
    action();
  }
  // Read once the faults are gone: reading the log makes calls of its own.
  return log.Lines();
}

::testing::AssertionResult LinesInOrder(const std::vector<std::wstring>& lines,
                                        const std::vector<std::wstring>& expected) {
  auto at = lines.begin();
  for (const std::wstring& line : expected) {
    at = std::find(at, lines.end(), line);
    if (at == lines.end()) {
      auto failure = ::testing::AssertionFailure() << "missing or out of order: " << WideToUtf8(line) << "\nlogged:";
      for (const std::wstring& logged : lines) failure << "\n  " << WideToUtf8(logged);
      return failure;
    }
    ++at;
  }
  return ::testing::AssertionSuccess();
}

}  // namespace oru::test
