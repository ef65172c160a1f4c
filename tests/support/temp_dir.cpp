#include "support/temp_dir.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>

#include "common/directory_entries.h"
#include "support/test_paths.h"

namespace oru::test {
namespace fs = std::filesystem;

namespace {

std::wstring UniqueTempPath() {
  static std::atomic<unsigned> counter{0};
  return TempFolder() + L"\\oru_test_" + std::to_wstring(::GetCurrentProcessId()) + L"_" + std::to_wstring(counter++) +
         L"_" + std::to_wstring(::GetTickCount());
}

}  // namespace

TempDir::TempDir() : path_(UniqueTempPath()) { fs::create_directories(fs::path(path_)); }

TempDir::~TempDir() { RemoveTree(path_); }

std::wstring TempDir::Child(const std::wstring& relative) const { return path_ + L"\\" + relative; }

std::wstring TempDir::MakeDir(const std::wstring& relative) const {
  const std::wstring full = Child(relative);
  fs::create_directories(fs::path(full));
  return full;
}

std::wstring TempDir::WriteFile(const std::wstring& relative, const std::string& content) const {
  WriteFileAt(Child(relative), content);
  return Child(relative);
}

bool WriteFileAt(const std::wstring& path, const std::string& content) {
  std::error_code ec;
  fs::create_directories(fs::path(path).parent_path(), ec);
  std::ofstream out(fs::path(path), std::ios::binary);
  out << content;
  return out.good();
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
  ForEachEntry(path, [&](const DirectoryEntry& entry) {
    RemoveTree(path + L"\\" + std::wstring(entry.name));
    return true;
  });
  ::RemoveDirectoryW(path.c_str());
}

}  // namespace oru::test
