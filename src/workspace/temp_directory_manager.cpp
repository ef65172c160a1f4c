#include "workspace/temp_directory_manager.h"

#include <shlobj.h>
#include <shlwapi.h>
#include <windows.h>

#include <string_view>

#include "common/links.h"
#include "common/strings.h"
#include "common/temp_folder.h"
#include "log/setup_logger.h"
#include "workspace/workspace_support.h"
#include "workspace/workspace_texts.h"

namespace oru {
namespace {

using namespace workspace_text;
using namespace workspace_support;

// The workspace's names in places 1 and 2 (the known folder, the process id);
// the working folder takes the same name with kWorkingFolderSuffix after it.
constexpr wchar_t kPlace1Format[] = L"%ls\\OruSetup_%u";
constexpr wchar_t kPlace2Format[] = L"%ls\\OruSetup\\Temp_%u";

bool FormatWorkingFolder(wchar_t (&out)[kPathCapacity], const wchar_t* placeFormat, const wchar_t* folder) {
  return FormatPath(out, placeFormat, folder, ProcessId()) &&
         FormatPath(out, L"%ls%ls", std::wstring(out).c_str(), kWorkingFolderSuffix);
}

bool QuerySystemFreeSpace(const std::wstring& root, std::uint64_t& availableToCaller) {
  ULARGE_INTEGER available{};
  ULARGE_INTEGER total{};
  ULARGE_INTEGER totalFree{};
  if (!::GetDiskFreeSpaceExW(root.c_str(), &available, &total, &totalFree)) return false;
  availableToCaller = available.QuadPart;
  return true;
}

}  // namespace

TempDirectoryManager::TempDirectoryManager() : TempDirectoryManager(QuerySystemFreeSpace) {}

TempDirectoryManager::TempDirectoryManager(FreeSpaceQuery query) : freeSpace(std::move(query)) {
  if (!freeSpace) freeSpace = QuerySystemFreeSpace;
  const DWORD length = ::GetModuleFileNameW(nullptr, exeDir, kPathCapacity);
  if (length == 0 || length >= kPathCapacity) {
    // A truncated module path is not a directory of ours: leave place 3 unusable.
    exeDir[0] = L'\0';
  } else {
    ::PathRemoveFileSpecW(exeDir);
  }
}

TempDirectoryManager::~TempDirectoryManager() { CleanupOnExit(); }

std::wstring TempDirectoryManager::GetTempDirectory() const { return tempDir; }

std::wstring TempDirectoryManager::GetTavrinDirectory() const { return tavrinDir; }

bool TempDirectoryManager::Initialize(std::uint64_t required, bool cleanupStale) {
  if (initialized) {
    LogWarning(L"TempDirectoryManager already initialized");
    return true;
  }
  requiredBytes = required;
  LogInfo(kSeparator);
  LogInfo(L"临时目录管理器初始化");
  LogInfo(JoinWide({L"需要空�? ", Mebibytes(requiredBytes), kMegabytes}));
  LogInfo(kSeparator);

  if (cleanupStale) CleanupStaleDirectories();

  if (TryCreateInSystemTemp()) {
    strategy = 0;
    initialized = true;
    LogInfo(kCreated + std::wstring(tempDir));
    LogInfo(L"使用策略: 系统临时目录");
  } else if (TryCreateInLocalAppData()) {
    strategy = 1;
    initialized = true;
    LogInfo(kCreated + std::wstring(tempDir));
    LogInfo(L"使用策略: LocalAppData目录");
  } else if (TryCreateBesideExecutable()) {
    strategy = 2;
    initialized = true;
    LogWarning(L"使用备用方案: EXE同目");
    LogInfo(L"临时目录: " + std::wstring(tempDir));
  }
  if (initialized) {
    CreateWorkingDirectory();
    return true;
  }
  LogError(L"无法创建临时目录，所有策略都失败");
  return false;
}

// Places 1 and 3 share these checks; place 2 keeps an existing directory and
// so creates it differently.
bool TempDirectoryManager::PrepareHiddenWorkspace() {
  if (!CheckDiskSpace(tempDir, requiredBytes)) {
    LogInfo(kDiskSpaceLow);
    return false;
  }
  if (!CreateHiddenDirectory(tempDir)) {
    LogInfo(kDirectoryCreateFailed);
    return false;
  }
  if (!TestWriteAccess(tempDir)) {
    LogInfo(kWriteTestFailedShort);
    return false;
  }
  return true;
}

bool TempDirectoryManager::TryCreateInSystemTemp() {
  const std::wstring temp = SystemTempFolder();
  if (temp.empty()) {
    LogInfo(kTempPathFailed);
    return false;
  }
  // A linked temporary folder would put the workspace, and what the sweep
  // deletes, wherever it points.
  if (IsReparsePoint(temp)) {
    LogInfo(kLinkOnTheWay + temp);
    return false;
  }
  if (!FormatPath(tempDir, kPlace1Format, temp.c_str(), ProcessId())) {
    LogInfo(kTempPathFailed);
    return false;
  }
  LogInfo(L"尝试策略1: 系统临时目录");
  LogInfo(kPathLabel + std::wstring(tempDir));

  if (!PrepareHiddenWorkspace()) return false;
  LogInfo(L"  开始创�?Tavrin 子目�?..");
  if (!FormatPath(tavrinDir, L"%ls\\tavrin", tempDir)) {
    LogWarning(kTavrinFailed);
    return false;
  }
  LogInfo(L"  Tavrin 子目录路�? " + std::wstring(tavrinDir));
  if (!CreateHiddenDirectory(tavrinDir)) {
    // The workspace itself stays; a later run's stale cleanup removes it.
    LogWarning(kTavrinFailed);
    return false;
  }
  LogInfo(kTavrinCreated);
  LogInfo(L"  策略1成功");
  return true;
}

bool TempDirectoryManager::TryCreateInLocalAppData() {
  wchar_t localAppData[MAX_PATH] = {};
  if (FAILED(::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, localAppData)) ||
      !FormatPath(tempDir, kPlace2Format, localAppData, ProcessId())) {
    LogInfo(L"SHGetFolderPath(CSIDL_LOCAL_APPDATA) 失败");
    return false;
  }
  LogInfo(L"尝试策略2: LocalAppData目录");
  LogInfo(kPathLabel + std::wstring(tempDir));

  if (!CheckDiskSpace(tempDir, requiredBytes)) {
    LogInfo(kDiskSpaceLow);
    return false;
  }
  // Unlike the other places, an existing directory here is kept as it is -
  // but never through a link, which would put the workspace wherever it
  // points: none from the known folder down to the workspace itself.
  const std::wstring link = FindLinkFrom(localAppData, tempDir);
  if (!link.empty()) {
    LogInfo(kLinkOnTheWay + link);
    return false;
  }
  if (!CreateDirectoryTree(tempDir)) {
    LogInfo(kDirectoryCreateFailed);
    return false;
  }
  ::SetFileAttributesW(tempDir, FILE_ATTRIBUTE_HIDDEN);
  if (!TestWriteAccess(tempDir)) {
    LogInfo(kWriteTestFailedShort);
    return false;
  }
  if (!FormatPath(tavrinDir, L"%ls\\tavrin", tempDir) || !CreateHiddenDirectory(tavrinDir)) {
    LogWarning(kTavrinFailed);
    // Its own lines tell whether it went; the next place is tried either way.
    (void)DeleteDirectoryRecursive(tempDir);
    return false;
  }
  LogInfo(L"  策略2成功");
  return true;
}

bool TempDirectoryManager::TryCreateBesideExecutable() {
  // No process id here: the same name every run, found again by its fixed name.
  const bool named = exeDir[0] != L'\0' && FormatPath(tempDir, L"%ls\\.OruSetupTemp", exeDir);
  LogInfo(L"尝试策略3: EXE同目录（兜底)");
  LogInfo(kPathLabel + std::wstring(tempDir));
  if (!named) {
    LogInfo(kDirectoryCreateFailed);
    return false;
  }

  if (!PrepareHiddenWorkspace()) return false;
  if (!FormatPath(tavrinDir, L"%ls\\tavrin", tempDir) || !CreateHiddenDirectory(tavrinDir)) {
    LogWarning(kTavrinFailed);
    return false;
  }
  LogInfo(kTavrinCreated);
  LogInfo(L"  策略3成功");
  return true;
}

// Never beside the executable, which may lie inside the installation: the
// self-deleting script stands in this folder while it removes that tree.
// An empty folder needs no free space, only a place no link leads through.
void TempDirectoryManager::CreateWorkingDirectory() {
  const std::wstring temp = SystemTempFolder();
  if (!temp.empty() && !IsReparsePoint(temp) && FormatWorkingFolder(workDir, kPlace1Format, temp.c_str()) &&
      CreateHiddenDirectory(workDir)) {
    return;
  }
  wchar_t localAppData[MAX_PATH] = {};
  if (SUCCEEDED(::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, localAppData)) &&
      FormatWorkingFolder(workDir, kPlace2Format, localAppData) && FindLinkFrom(localAppData, workDir).empty() &&
      CreateDirectoryTree(std::wstring(FolderPart(workDir))) && CreateHiddenDirectory(workDir)) {
    return;
  }
  workDir[0] = L'\0';
  LogWarning(L"No empty working folder for child processes; none will be started");
}

void TempDirectoryManager::LeaveWorkingDirectoryToScript() { workDirLeftToScript = true; }

void TempDirectoryManager::Cleanup() {
  if (!initialized) return;
  if (workDirLeftToScript) {
    // The script stands in it, and removes it once it has left it.
    LogInfo(L"Working folder left to the self-deleting script: " + std::wstring(workDir));
  } else if (workDir[0] != L'\0' && !DeleteDirectoryRecursive(workDir)) {
    LogInfo(L"Working folder still in use, left for a later run: " + std::wstring(workDir));
  }
  LogInfo(L"开始清理临时目�?..");
  if (DeleteDirectoryRecursive(tempDir)) {
    LogInfo(L"临时目录清理成功: " + std::wstring(tempDir));
  } else {
    // Left for the stale cleanup of a later run; nothing is scheduled.
    LogWarning(kCleanupFailed + std::wstring(tempDir));
  }
}

void TempDirectoryManager::CleanupOnExit() {
  if (autoCleanup && initialized) Cleanup();
}

}  // namespace oru
