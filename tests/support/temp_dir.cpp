#include "support/temp_dir.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>

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

void RemoveTree(const std::wstring& path) {
  std::error_code ec;
  if (!fs::exists(fs::path(path), ec)) return;
  for (auto it = fs::recursive_directory_iterator(fs::path(path), ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    ::SetFileAttributesW(it->path().wstring().c_str(), FILE_ATTRIBUTE_NORMAL);
  }
  fs::remove_all(fs::path(path), ec);
}

}  // namespace oru::test
