#pragma once

// A unique folder under %TEMP% for one test, removed with everything in it
// (read-only files included) when the test ends.

#include <string>

namespace oru::test {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  [[nodiscard]] const std::wstring& path() const { return path_; }
  // path() + "\" + relative.
  [[nodiscard]] std::wstring Child(const std::wstring& relative) const;
  // Creates the folder relative (and its parents) and returns its full path.
  std::wstring MakeDir(const std::wstring& relative) const;
  // Writes a file (creating its folders) and returns its full path.
  std::wstring WriteFile(const std::wstring& relative, const std::string& content = "x") const;

 private:
  std::wstring path_;
};

// Writes a file at a full path, creating its folders; false when it failed.
bool WriteFileAt(const std::wstring& path, const std::string& content = "x");

// True when the path names an existing file or folder.
[[nodiscard]] bool Exists(const std::wstring& path);

// Removes a tree, read-only files included; a link in it (or the path itself
// being one) is left alone, never walked.
void RemoveTree(const std::wstring& path);

}  // namespace oru::test
