#include "support/log_capture.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "common/strings.h"
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

}  // namespace oru::test
