#include "support/temp_dir.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "common/unique_handle.h"

namespace oru::test {
namespace fs = std::filesystem;

TempDir::TempDir() {
  static std::atomic<unsigned> counter{0};
  wchar_t temp[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, temp);
  path_ = std::wstring(temp) + L"oru_test_" + std::to_wstring(::GetCurrentProcessId()) + L"_" +
          std::to_wstring(counter++) + L"_" + std::to_wstring(::GetTickCount());
  fs::create_directories(fs::path(path_));
}

TempDir::~TempDir() { RemoveTree(path_); }

std::wstring TempDir::Child(const std::wstring& relative) const { return path_ + L"\\" + relative; }

std::wstring TempDir::MakeDir(const std::wstring& relative) const {
  const std::wstring full = Child(relative);
  fs::create_directories(fs::path(full));
  return full;
}

std::wstring TempDir::WriteFile(const std::wstring& relative, const std::string& content) const {
  const std::wstring full = Child(relative);
  fs::create_directories(fs::path(full).parent_path());
  std::ofstream(fs::path(full), std::ios::binary) << content;
  return full;
}

bool Exists(const std::wstring& path) { return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// std::filesystem (mingw's) does not see Wine's links as links and walks
// through them into their targets: this walk leaves every link alone.
void RemoveTree(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return;
  ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    ::DeleteFileW(path.c_str());
    return;
  }
  WIN32_FIND_DATAW entry{};
  if (UniqueFind find(::FindFirstFileW((path + L"\\*").c_str(), &entry)); find) {
    do {
      const std::wstring_view name = entry.cFileName;
      if (name != L"." && name != L"..") RemoveTree(path + L"\\" + entry.cFileName);
    } while (::FindNextFileW(find.get(), &entry));
  }
  ::RemoveDirectoryW(path.c_str());
}

}  // namespace oru::test
