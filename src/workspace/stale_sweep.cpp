// The sweep of workspaces that earlier runs left behind, whether or not the
// process that made one still runs.

#include <shlobj.h>
#include <windows.h>

#include "common/directory_entries.h"
#include "common/links.h"
#include "common/strings.h"
#include "common/temp_folder.h"
#include "log/setup_logger.h"
#include "workspace/temp_directory_manager.h"
#include "workspace/workspace_support.h"
#include "workspace/workspace_texts.h"

namespace oru {
namespace {

using namespace workspace_text;
using namespace workspace_support;

// Listing patterns match names without regard to case; so does the sweep.
bool StartsWithIgnoreCase(std::wstring_view name, std::wstring_view prefix) {
  return name.size() >= prefix.size() && EqualsIgnoreCase(name.substr(0, prefix.size()), prefix);
}

}  // namespace

void TempDirectoryManager::RemoveStaleDirectory(const std::wstring& path, const std::wstring& name, unsigned& count,
                                                std::uint64_t& freedBytes) {
  const std::uint64_t size = GetDirectorySize(path);
  if (!DeleteDirectoryRecursive(path)) return;
  LogInfo(JoinWide({L"  清理: ", name, L" (", Mebibytes(size), L" MB)"}));
  ++count;
  freedBytes += size;
}

void TempDirectoryManager::CleanupStaleDirectories() {
  LogInfo(L"开始清理旧的残留目�?..");
  unsigned count = 0;
  std::uint64_t freedBytes = 0;

  // Every folder in `parent` named `prefix` + anything, except `prefix` +
  // this process's id. `parent` is listed only when no link lies on the way
  // from `known` down to it.
  const auto sweep = [&](const std::wstring& known, const std::wstring& parent, std::wstring_view prefix) {
    const std::wstring link = FindLinkFrom(known, parent);
    if (!link.empty()) {
      LogInfo(kStaleLinkLeftAlone + link);
      return;
    }
    const std::wstring ownName = JoinWide({prefix, ToWideDecimal(ProcessId())});
    ForEachEntry(parent, [&](const DirectoryEntry& entry) {
      if (!entry.IsDirectory() || !StartsWithIgnoreCase(entry.name, prefix) || entry.name == ownName) return true;
      const std::wstring stale = JoinWide({parent, L"\\", entry.name});
      // Only a real folder can be a workspace of ours; a link named like one
      // points at something else and is left alone.
      if (entry.IsReparsePoint()) {
        LogInfo(kStaleLinkLeftAlone + stale);
      } else {
        RemoveStaleDirectory(stale, std::wstring(entry.name), count, freedBytes);
      }
      return true;
    });
  };

  const std::wstring temp = SystemTempFolder();
  if (!temp.empty()) sweep(temp, temp, L"OruSetup_");

  wchar_t localAppData[MAX_PATH] = {};
  if (SUCCEEDED(::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, localAppData))) {
    sweep(localAppData, JoinWide({localAppData, L"\\OruSetup"}), L"Temp_");
  }

  if (exeDir[0] != L'\0') {
    for (const std::wstring& name :
         {std::wstring(L".OruSetupTemp"), L".OruSetupTemp" + std::wstring(kWorkingFolderSuffix)}) {
      const std::wstring besideExecutable = JoinWide({exeDir, L"\\", name});
      if (IsReparsePoint(besideExecutable)) {
        LogInfo(kStaleLinkLeftAlone + besideExecutable);
      } else if (IsDirectory(::GetFileAttributesW(besideExecutable.c_str()))) {
        RemoveStaleDirectory(besideExecutable, name, count, freedBytes);
      }
    }
  }

  if (count > 0) {
    LogInfo(JoinWide({L"清理完成: ", ToWideDecimal(count), L" 个目 "}));
    LogInfo(JoinWide({L"释放空间: ", Mebibytes(freedBytes), kMegabytes}));
  } else {
    LogInfo(L"未发现旧的残留目录");
  }
}

}  // namespace oru
