#pragma once

// The judgement behind the installation directory's final clean-up, apart
// from any listing: given what one level of the installation holds, is it
// the minimal state left after the browser component's uninstaller failed,
// and which lines tell why. Names are compared exactly, case included.

#include <string>
#include <vector>

namespace oru {

// One entry of a level as listed, in the file system's order.
struct ListedEntry {
  std::wstring name;
  bool directory = false;
  // A junction or symbolic link: never part of the minimal state, since it
  // points somewhere else whatever its name.
  bool link = false;
};

// What one level concluded: the verdict and the lines that say why, in the
// order they are to be logged. A failing verdict ends with its reason.
struct LevelVerdict {
  bool met = false;
  std::vector<std::wstring> lines;
  // The installation level only: the version folder's name.
  std::wstring other;
};

// The installation directory: exactly the folder "uninstall" and one other.
[[nodiscard]] LevelVerdict JudgeInstallationLevel(const std::vector<ListedEntry>& entries);
// The version folder `other`: exactly one entry, the folder "Installer".
[[nodiscard]] LevelVerdict JudgeVersionLevel(const std::wstring& other, const std::vector<ListedEntry>& entries);
// The Installer folder: exactly one entry, the file "setup.exe".
[[nodiscard]] LevelVerdict JudgeInstallerLevel(const std::vector<ListedEntry>& entries);

}  // namespace oru
