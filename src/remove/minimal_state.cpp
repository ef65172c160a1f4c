#include "remove/minimal_state.h"

#include "common/product_keys.h"
#include "common/strings.h"

namespace oru {
namespace {

constexpr std::wstring_view kUninstallFolder = kUninstallFolderName;
constexpr std::wstring_view kInstallerFolder = kInstallerFolderName;
constexpr std::wstring_view kSetupExe = kSetupImageName;
constexpr std::wstring_view kTerminatingSuffix = L", terminating check early";

LevelVerdict Fail(LevelVerdict verdict, std::wstring reason) {
  verdict.met = false;
  verdict.lines.push_back(std::move(reason));
  return verdict;
}

std::wstring LinkFound(std::wstring_view where, std::wstring_view name) {
  return JoinWide({L"Found link in ", where, kTerminatingSuffix, L": ", name});
}

}  // namespace

LevelVerdict JudgeInstallationLevel(const std::vector<ListedEntry>& entries) {
  LevelVerdict verdict;
  unsigned folders = 0;
  bool uninstallFound = false;
  for (const ListedEntry& entry : entries) {
    if (entry.link) return Fail(std::move(verdict), LinkFound(L"root directory", entry.name));
    if (!entry.directory) {
      return Fail(std::move(verdict), L"Found file in root directory, terminating check early: " + entry.name);
    }
    if (++folders > 2) return Fail(std::move(verdict), L"Found more than 2 folders, terminating check early");
    if (entry.name == kUninstallFolder) {
      uninstallFound = true;
      verdict.lines.push_back(L"Found uninstall folder: " + entry.name);
    } else {
      verdict.other = entry.name;
      verdict.lines.push_back(L"Found other folder: " + entry.name);
    }
  }
  verdict.lines.push_back(L"Total folders found: " + ToWideDecimal(folders));
  verdict.lines.push_back(L"Total files found: 0 (any files would have caused early termination)");
  // The plural is fixed text, even for one folder.
  if (folders != 2) {
    return Fail(std::move(verdict),
                JoinWide({L"Expected exactly 2 folders, but found ", ToWideDecimal(folders), L" folders"}));
  }
  if (!uninstallFound) return Fail(std::move(verdict), L"Uninstall folder not found");
  if (verdict.other.empty()) return Fail(std::move(verdict), L"No other folder found besides uninstall folder");
  verdict.met = true;
  return verdict;
}

LevelVerdict JudgeVersionLevel(const std::wstring& other, const std::vector<ListedEntry>& entries) {
  LevelVerdict verdict;
  unsigned items = 0;
  bool installerFound = false;
  for (const ListedEntry& entry : entries) {
    if (entry.link) return Fail(std::move(verdict), LinkFound(other, entry.name));
    if (++items > 1)
      return Fail(std::move(verdict), JoinWide({L"Found more than 1 item in ", other, kTerminatingSuffix}));
    if (!entry.directory) return Fail(std::move(verdict), JoinWide({L"Found file in ", other, L": ", entry.name}));
    if (entry.name != kInstallerFolder) {
      return Fail(std::move(verdict), JoinWide({L"Found unexpected folder in ", other, L": ", entry.name}));
    }
    installerFound = true;
    verdict.lines.push_back(L"Found Installer folder in " + other);
  }
  if (items != 1) {
    return Fail(std::move(verdict),
                JoinWide({L"Expected exactly 1 item in ", other, L", but found ", ToWideDecimal(items), L" items"}));
  }
  if (!installerFound) return Fail(std::move(verdict), L"Installer folder not found in " + other);
  verdict.met = true;
  return verdict;
}

LevelVerdict JudgeInstallerLevel(const std::vector<ListedEntry>& entries) {
  LevelVerdict verdict;
  unsigned items = 0;
  bool setupFound = false;
  for (const ListedEntry& entry : entries) {
    if (entry.link) return Fail(std::move(verdict), LinkFound(L"Installer folder", entry.name));
    if (++items > 1) {
      return Fail(std::move(verdict), L"Found more than 1 item in Installer folder, terminating check early");
    }
    if (entry.directory) return Fail(std::move(verdict), L"Found unexpected folder in Installer folder: " + entry.name);
    if (entry.name != kSetupExe) {
      return Fail(std::move(verdict), L"Found unexpected file in Installer folder: " + entry.name);
    }
    setupFound = true;
    verdict.lines.push_back(L"Found setup.exe in Installer folder");
  }
  if (items != 1) {
    return Fail(std::move(verdict), JoinWide({L"Expected exactly 1 item in Installer folder, but found ",
                                              ToWideDecimal(items), L" items"}));
  }
  if (!setupFound) return Fail(std::move(verdict), L"setup.exe not found in Installer folder");
  verdict.met = true;
  return verdict;
}

}  // namespace oru
