#pragma once

// A directory link, as a hostile or damaged installation may hold one. Wine
// cannot make links itself, so the Linux side makes a symbolic link, which
// Wine shows as FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT, as a
// junction shows on Windows. Deleting through it deletes the target's
// contents: point it only at folders the test owns.

#include <string>

namespace oru::test {

class DirectoryLink {
 public:
  // Makes `link` (its parent must exist) point at `target`, replacing a link
  // left there before. Made() tells whether it showed up in time.
  DirectoryLink(const std::wstring& link, const std::wstring& target);
  // Removes the link, never its target, and waits until it is gone.
  ~DirectoryLink();
  DirectoryLink(const DirectoryLink&) = delete;
  DirectoryLink& operator=(const DirectoryLink&) = delete;

  [[nodiscard]] bool Made() const { return made_; }

 private:
  std::wstring link_, unix_;
  bool made_ = false;
};

}  // namespace oru::test
