// The workspace manager's own file-system steps: free space, a probe write,
// hidden folders, and removing and sizing a folder tree, neither ever going
// through a link.

#include <windows.h>

#include "common/directory_entries.h"
#include "common/entry_removal.h"
#include "common/links.h"
#include "common/strings.h"
#include "common/tree_removal.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"
#include "workspace/temp_directory_manager.h"
#include "workspace/workspace_support.h"
#include "workspace/workspace_texts.h"

namespace oru {
namespace {

using namespace workspace_text;
using namespace workspace_support;

constexpr std::uint64_t kDiskSpaceMargin = 52428800;         // 50 MiB on top of what was asked
constexpr char kWriteTestContent[] = "OruSetup Write Test";  // written with its NUL: 20 bytes

// The workspace's policy for the walk: its own log lines, nothing retried,
// nothing scheduled - what stays is left to a later run's sweep.
class WorkspaceTreeRemoval final : public TreeRemoval {
 protected:
  void FolderEntered(const std::wstring& folder) override {
    LogInfo(L"      [DeleteDirectoryRecursive] 删除: " + folder);
  }

  // Read-only files are deleted too: the attribute is lifted from the file
  // alone. What stays shows when the folder itself will not go.
  bool RemoveFile(const std::wstring& file) override { return RemoveFileEntry(file); }

  void LinkRemoved(const std::wstring& link, std::uint32_t error) override {
    LogInfo(kDeleteLinkOnly + link);
    if (error != ERROR_SUCCESS) LogInfo(kRemoveFailed + ToWideDecimal(error));
  }

  void ListingFailed(const std::wstring&, std::uint32_t error) override {
    LogInfo(L"      FindFirstFile 失败，错误码: " + ToWideDecimal(error));
  }

  void EntriesTried(const std::wstring&, unsigned files, unsigned folders) override {
    LogInfo(JoinWide({L"      删除", ToWideDecimal(files), L" 个文 ", ToWideDecimal(folders), L" 个子目录"}));
  }

  void FolderRemoved(const std::wstring&) override { LogInfo(L"      RemoveDirectory 成功"); }

  bool FolderStayed(const std::wstring&, std::uint32_t error) override {
    LogInfo(kRemoveFailed + ToWideDecimal(error));
    return false;
  }
};

}  // namespace

bool TempDirectoryManager::CheckDiskSpace(const std::wstring& path, std::uint64_t required) {
  const std::wstring root = path.size() >= 3 && path[1] == L':' ? path.substr(0, 3) : path;
  std::uint64_t available = 0;
  if (!freeSpace(root, available)) {
    const DWORD error = ::GetLastError();
    LogInfo(L"GetDiskFreeSpaceEx() 失败，错误码: " + ToWideDecimal(error));
    return false;
  }
  const std::uint64_t needed = required + kDiskSpaceMargin;
  if (available >= needed) {
    LogInfo(JoinWide({L"  磁盘空间检查通过: ", Mebibytes(available), kMegabytes}));
    return true;
  }
  LogInfo(JoinWide({L"  可用空间: ", Mebibytes(available), kMegabytes}));
  LogInfo(JoinWide({L"  需要空�? ", Mebibytes(needed), kMegabytes}));
  return false;
}

bool TempDirectoryManager::TestWriteAccess(const std::wstring& directory) {
  wchar_t probe[MAX_PATH] = {};
  if (!FormatPath(probe, L"%ls\\.writetest_%u", directory.c_str(), ProcessId())) {
    LogInfo(kWriteTestFailed + ToWideDecimal(ERROR_FILENAME_EXCED_RANGE));
    return false;
  }
  UniqueFile file(::CreateFileW(probe, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, nullptr));
  if (!file) {
    const DWORD error = ::GetLastError();
    LogInfo(kWriteTestFailed + ToWideDecimal(error));
    return false;
  }
  DWORD written = 0;
  const bool wrote = ::WriteFile(file.get(), kWriteTestContent, sizeof(kWriteTestContent), &written, nullptr) != 0;
  const DWORD error = ::GetLastError();
  file.reset();
  (void)RemoveFileEntry(probe);
  if (!wrote) {
    LogInfo(kWriteTestFailed + ToWideDecimal(error));
    return false;
  }
  LogInfo(L"  写入权限测试通过");
  return true;
}

bool TempDirectoryManager::CreateHiddenDirectory(const std::wstring& path) {
  LogInfo(L"    [CreateHiddenDirectory] 开始创建目�? " + path);
  if (IsDirectory(::GetFileAttributesW(path.c_str()))) {
    LogInfo(L"    目录已存在，尝试删除: " + path);
    LogInfo(DeleteDirectoryRecursive(path) ? L"    删除已存在目录成" : L"    删除已存在目录失");
  }
  // A link that would not go stays a link: using it would put the workspace
  // wherever it points.
  if (IsReparsePoint(path)) {
    LogInfo(kDeleteLinkOnly + path);
    return false;
  }
  LogInfo(L"    调用 CreateDirectory()...");
  if (::CreateDirectoryW(path.c_str(), nullptr)) {
    LogInfo(L"    CreateDirectory() 成功");
  } else {
    const DWORD error = ::GetLastError();
    if (error != ERROR_ALREADY_EXISTS) {
      LogInfo(L"    CreateDirectory() 失败，错误码: " + ToWideDecimal(error));
      return false;
    }
    LogInfo(L"    目录已存在ERROR_ALREADY_EXISTS");
  }
  LogInfo(L"    设置隐藏属�?..");
  if (::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN)) {
    LogInfo(L"    隐藏属性设置成");
  } else {
    const DWORD error = ::GetLastError();
    LogInfo(L"    设置隐藏属性失败，错误�? " + ToWideDecimal(error));
  }
  LogInfo(L"    [CreateHiddenDirectory] 完成");
  return true;
}

bool TempDirectoryManager::CreateDirectoryTree(const std::wstring& path) {
  for (std::size_t i = 0; i < path.size(); ++i) {
    // "C:" is a drive, not a directory to create.
    if (path[i] != L'\\' || i <= 2) continue;
    const std::wstring prefix = path.substr(0, i);
    if (::GetFileAttributesW(prefix.c_str()) != INVALID_FILE_ATTRIBUTES) continue;
    if (!::CreateDirectoryW(prefix.c_str(), nullptr)) {
      const DWORD error = ::GetLastError();
      if (error != ERROR_ALREADY_EXISTS) {
        LogInfo(JoinWide({L"创建父目录失败，路径: ", prefix, L", 错误: ", ToWideDecimal(error)}));
        return false;
      }
    }
  }
  if (!::CreateDirectoryW(path.c_str(), nullptr)) {
    const DWORD error = ::GetLastError();
    if (error != ERROR_ALREADY_EXISTS) {
      LogInfo(L"创建最终目录失败，错误�? " + ToWideDecimal(error));
      return false;
    }
  }
  return true;
}

bool TempDirectoryManager::DeleteDirectoryRecursive(const std::wstring& path) {
  if (path.empty()) {
    LogInfo(L"      [DeleteDirectoryRecursive] 路径为空");
    return false;
  }
  WorkspaceTreeRemoval removal;
  return removal.RemoveTree(path);
}

std::uint64_t TempDirectoryManager::GetDirectorySize(const std::wstring& path) {
  if (IsReparsePoint(path)) return 0;
  std::uint64_t total = 0;
  ForEachEntry(path, [&](const DirectoryEntry& entry) {
    if (entry.IsReparsePoint()) return true;
    total += entry.IsDirectory() ? GetDirectorySize(JoinWide({path, L"\\", entry.name})) : entry.size;
    return true;
  });
  return total;
}

}  // namespace oru
