#include "remove/install_dir_cleanup.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace oru {
namespace {

using test::Exists;
using test::TempDir;

// A layout is a list of relative paths; a trailing backslash makes a folder.
void Build(const TempDir& dir, const std::vector<std::wstring>& layout) {
  for (const auto& entry : layout) {
    if (entry.ends_with(L"\\")) {
      dir.MakeDir(entry.substr(0, entry.size() - 1));
    } else {
      dir.WriteFile(entry);
    }
  }
}

TEST(CleanupInstallationDirectory, RemovesOnlyTheMinimalStateAndKeepsUninstall) {
  TempDir other;
  Build(other, {L"uninstall\\oru_uninstall.exe", L"1.0\\Installer\\setup.exe", L"notes.txt"});
  CleanupInstallationDirectory({other.path(), L"1.0"});
  EXPECT_TRUE(Exists(other.Child(L"1.0\\Installer\\setup.exe")));

  TempDir dir;
  Build(dir, {L"uninstall\\oru_uninstall.exe", L"1.0\\Installer\\setup.exe"});
  const std::wstring version = dir.Child(L"1.0");
  CleanupInstallationDirectory({dir.path(), L"1.0"});
  EXPECT_FALSE(Exists(version));
  EXPECT_TRUE(Exists(dir.Child(L"uninstall\\oru_uninstall.exe")));
}

}  // namespace
}  // namespace oru
