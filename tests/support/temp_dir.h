#pragma once

// A unique folder under %TEMP% for one test, removed with everything in it
// (read-only files included) when the test ends.

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <string>

#include "common/directory_entries.h"
#include "common/entry_removal.h"
#include "common/path_rules.h"
#include "common/unique_handle.h"
#include "support/test_paths.h"

namespace oru::test {

// Writes a file at a full path, creating its folders; false when it failed.
// Through extended paths, so that tests can make what only such paths reach:
// reserved names, trailing dots and blanks, paths past MAX_PATH.
inline bool WriteFileAt(const std::wstring& path, const std::string& content = "x") {
  for (size_t at = path.find(L'\\', 3); at != std::wstring::npos; at = path.find(L'\\', at + 1)) {
    ::CreateDirectoryW(ExtendedLengthPath(path.substr(0, at)).c_str(), nullptr);
  }
  const UniqueFile file(::CreateFileW(ExtendedLengthPath(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  return file && ::WriteFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr) &&
         written == content.size();
}

[[nodiscard]] inline bool Exists(const std::wstring& path) { return EntryExists(path); }

// Removes a tree, read-only files included. std::filesystem (mingw's) does
// not see Wine's links as links and walks through them into their targets:
// this walk leaves every link alone, the path itself included.
inline void RemoveTree(const std::wstring& path) {
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

class TempDir {
 public:
  TempDir() : path_(UniquePath()) { std::filesystem::create_directories(std::filesystem::path(path_)); }
  ~TempDir() { RemoveTree(path_); }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  [[nodiscard]] const std::wstring& path() const { return path_; }
  [[nodiscard]] std::wstring Child(const std::wstring& relative) const { return path_ + L"\\" + relative; }
  // Creates the folder relative (and its parents) and returns its full path.
  std::wstring MakeDir(const std::wstring& relative) const {
    std::filesystem::create_directories(std::filesystem::path(Child(relative)));
    return Child(relative);
  }
  // Writes a file (creating its folders) and returns its full path.
  std::wstring WriteFile(const std::wstring& relative, const std::string& content = "x") const {
    WriteFileAt(Child(relative), content);
    return Child(relative);
  }

 private:
  static std::wstring UniquePath() {
    static std::atomic<unsigned> counter{0};
    return TempFolder() + L"\\oru_test_" + std::to_wstring(::GetCurrentProcessId()) + L"_" +
           std::to_wstring(counter++) + L"_" + std::to_wstring(::GetTickCount());
  }

  std::wstring path_;
};

}  // namespace oru::test
