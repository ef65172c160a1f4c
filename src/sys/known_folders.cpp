#include "sys/known_folders.h"

#include <windows.h>
// Defines the folder ids here rather than pulling in a GUID library.
#include <initguid.h>
#include <knownfolders.h>
#include <shlobj.h>

#include "common/path_rules.h"
#include "common/temp_folder.h"

namespace oru {
namespace {

constexpr const KNOWNFOLDERID* kProtectedFolderIds[] = {
    &FOLDERID_Profile,         &FOLDERID_LocalAppData,       &FOLDERID_RoamingAppData, &FOLDERID_Desktop,
    &FOLDERID_Documents,       &FOLDERID_Downloads,          &FOLDERID_Windows,        &FOLDERID_ProgramFiles,
    &FOLDERID_ProgramFilesX86, &FOLDERID_ProgramFilesCommon, &FOLDERID_UserProfiles,
};

}  // namespace

std::vector<std::wstring> ProtectedFolders() {
  std::vector<std::wstring> folders;
  for (const KNOWNFOLDERID* id : kProtectedFolderIds) {
    PWSTR path = nullptr;
    if (SUCCEEDED(::SHGetKnownFolderPath(*id, KF_FLAG_DONT_VERIFY, nullptr, &path)) && path != nullptr) {
      folders.push_back(NormalizePath(path));
    }
    ::CoTaskMemFree(path);
  }
  const std::wstring temp = SystemTempFolder();
  if (!temp.empty()) folders.push_back(NormalizePath(temp));
  return folders;
}

}  // namespace oru
