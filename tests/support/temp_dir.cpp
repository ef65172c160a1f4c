#include "support/temp_dir.h"

#include <windows.h>

#include <atomic>
#include <filesystem>

#include "common/directory_entries.h"
#include "common/entry_removal.h"
#include "common/path_rules.h"
#include "common/unique_handle.h"
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

// Through extended paths, so that tests can make what only such paths
// reach: reserved names, trailing dots and blanks, paths past MAX_PATH.
bool WriteFileAt(const std::wstring& path, const std::string& content) {
  for (size_t at = path.find(L'\\', 3); at != std::wstring::npos; at = path.find(L'\\', at + 1)) {
    ::CreateDirectoryW(ExtendedLengthPath(path.substr(0, at)).c_str(), nullptr);
  }
  const UniqueFile file(::CreateFileW(ExtendedLengthPath(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  return file && ::WriteFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr) &&
         written == content.size();
}

bool Exists(const std::wstring& path) { return EntryExists(path); }

// std::filesystem (mingw's) does not see Wine's links as links and walks
// through them into their targets: this walk leaves every link alone.
void RemoveTree(const std::wstring& path) {
  const std::wstring extended = ExtendedLengthPath(path);
  const DWORD attributes = ::GetFileAttributesW(extended.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return;
  ::SetFileAttributesW(extended.c_str(), FILE_ATTRIBUTE_NORMAL);
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    ::DeleteFileW(extended.c_str());
    return;
  }
  ForEachEntry(path, [&](const DirectoryEntry& entry) {
    RemoveTree(path + L"\\" + std::wstring(entry.name));
    return true;
  });
  ::RemoveDirectoryW(extended.c_str());
}

}  // namespace oru::test
