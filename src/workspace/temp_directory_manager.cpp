#include "workspace/temp_directory_manager.h"

#include <shlobj.h>
#include <shlwapi.h>
#include <windows.h>

#include <cstdarg>
#include <cwchar>
#include <string_view>

#include "common/format.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"
#include "workspace/workspace_texts.h"

namespace oru {
namespace {

using namespace workspace_text;

constexpr std::uint64_t kDiskSpaceMargin = 52428800;         // 50 MiB on top of what was asked
constexpr char kWriteTestContent[] = "OruSetup Write Test";  // written with its NUL: 20 bytes

unsigned ProcessId() { return static_cast<unsigned>(::GetCurrentProcessId()); }

std::wstring Mebibytes(std::uint64_t bytes) { return ToWideDecimal(bytes >> 20); }

// Formats into a MAX_PATH buffer. False when the result would not fit: a
// truncated path names a different file, which must never be touched.
bool FormatPath(wchar_t (&out)[MAX_PATH], const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const int written = FormatWideV(out, MAX_PATH, format, args);
  va_end(args);
  if (written < 0) {
    out[0] = L'\0';
    return false;
  }
  return true;
}

bool IsDirectory(DWORD attributes) {
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsLink(DWORD attributes) {
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool IsDotEntry(const wchar_t* name) { return std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0; }

bool QuerySystemFreeSpace(const std::wstring& root, std::uint64_t& availableToCaller) {
  ULARGE_INTEGER available{};
  ULARGE_INTEGER total{};
  ULARGE_INTEGER totalFree{};
  if (!::GetDiskFreeSpaceExW(root.c_str(), &available, &total, &totalFree)) return false;
  availableToCaller = available.QuadPart;
  return true;
}

// Removes a directory link without entering it. On Windows RemoveDirectoryW
// removes the link and leaves its target alone.
bool RemoveLink(const std::wstring& path) {
  LogInfo(kDeleteLinkOnly + path);
  if (::RemoveDirectoryW(path.c_str())) return true;
  const DWORD error = ::GetLastError();
  LogInfo(kRemoveFailed + ToWideDecimal(error));
  return false;
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
    LogWarning(kAlreadyInitialized);
    return true;
  }
  requiredBytes = required;
  LogInfo(kSeparator);
  LogInfo(kManagerTitle);
  LogInfo(JoinWide({kRequiredSpace, Mebibytes(requiredBytes), kMegabytes}));
  LogInfo(kSeparator);

  if (cleanupStale) CleanupStaleDirectories();

  if (TryCreateInSystemTemp()) {
    strategy = 0;
    initialized = true;
    LogInfo(kCreated + std::wstring(tempDir));
    LogInfo(kStrategySystemTemp);
    return true;
  }
  if (TryCreateInLocalAppData()) {
    strategy = 1;
    initialized = true;
    LogInfo(kCreated + std::wstring(tempDir));
    LogInfo(kStrategyLocalAppData);
    return true;
  }
  if (TryCreateBesideExecutable()) {
    strategy = 2;
    initialized = true;
    LogWarning(kStrategyFallback);
    LogInfo(kFallbackDirectory + std::wstring(tempDir));
    return true;
  }
  LogError(kAllStrategiesFailed);
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
  wchar_t temp[MAX_PATH] = {};
  const DWORD length = ::GetTempPathW(MAX_PATH, temp);
  if (length == 0 || length >= MAX_PATH) {
    LogInfo(kTempPathFailed);
    return false;
  }
  if (temp[length - 1] == L'\\') temp[length - 1] = L'\0';
  if (!FormatPath(tempDir, L"%ls\\OruSetup_%u", temp, ProcessId())) {
    LogInfo(kTempPathFailed);
    return false;
  }
  LogInfo(kTryPlace1);
  LogInfo(kPathLabel + std::wstring(tempDir));

  if (!PrepareHiddenWorkspace()) return false;
  LogInfo(kCreatingTavrin);
  if (!FormatPath(tavrinDir, L"%ls\\tavrin", tempDir)) {
    LogWarning(kTavrinFailed);
    return false;
  }
  LogInfo(kTavrinPath + std::wstring(tavrinDir));
  if (!CreateHiddenDirectory(tavrinDir)) {
    // The workspace itself stays; a later run's stale cleanup removes it.
    LogWarning(kTavrinFailed);
    return false;
  }
  LogInfo(kTavrinCreated);
  LogInfo(kPlace1Succeeded);
  return true;
}

bool TempDirectoryManager::TryCreateInLocalAppData() {
  wchar_t localAppData[MAX_PATH] = {};
  if (FAILED(::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, localAppData)) ||
      !FormatPath(tempDir, L"%ls\\OruSetup\\Temp_%u", localAppData, ProcessId())) {
    LogInfo(kLocalAppDataFailed);
    return false;
  }
  LogInfo(kTryPlace2);
  LogInfo(kPathLabel + std::wstring(tempDir));

  if (!CheckDiskSpace(tempDir, requiredBytes)) {
    LogInfo(kDiskSpaceLow);
    return false;
  }
  // Unlike the other places, an existing directory here is kept as it is.
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
    DeleteDirectoryRecursive(tempDir);
    return false;
  }
  LogInfo(kPlace2Succeeded);
  return true;
}

bool TempDirectoryManager::TryCreateBesideExecutable() {
  // No process id here: the same name every run, found again by its fixed name.
  const bool named = exeDir[0] != L'\0' && FormatPath(tempDir, L"%ls\\.OruSetupTemp", exeDir);
  LogInfo(kTryPlace3);
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
  LogInfo(kPlace3Succeeded);
  return true;
}

bool TempDirectoryManager::CheckDiskSpace(const std::wstring& path, std::uint64_t required) {
  const std::wstring root = path.size() >= 3 && path[1] == L':' ? path.substr(0, 3) : path;
  std::uint64_t available = 0;
  if (!freeSpace(root, available)) {
    const DWORD error = ::GetLastError();
    LogInfo(kFreeSpaceQueryFailed + ToWideDecimal(error));
    return false;
  }
  const std::uint64_t needed = required + kDiskSpaceMargin;
  if (available >= needed) {
    LogInfo(JoinWide({kDiskSpacePassed, Mebibytes(available), kMegabytes}));
    return true;
  }
  LogInfo(JoinWide({kAvailableSpace, Mebibytes(available), kMegabytes}));
  LogInfo(JoinWide({kNeededSpace, Mebibytes(needed), kMegabytes}));
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
  ::DeleteFileW(probe);
  if (!wrote) {
    LogInfo(kWriteTestFailed + ToWideDecimal(error));
    return false;
  }
  LogInfo(kWriteTestPassed);
  return true;
}

bool TempDirectoryManager::CreateHiddenDirectory(const std::wstring& path) {
  LogInfo(kHiddenStart + path);
  if (IsDirectory(::GetFileAttributesW(path.c_str()))) {
    LogInfo(kHiddenExistsDeleting + path);
    LogInfo(DeleteDirectoryRecursive(path) ? kHiddenDeletedExisting : kHiddenDeleteExistingFailed);
  }
  LogInfo(kHiddenCallingCreate);
  if (::CreateDirectoryW(path.c_str(), nullptr)) {
    LogInfo(kHiddenCreateSucceeded);
  } else {
    const DWORD error = ::GetLastError();
    if (error != ERROR_ALREADY_EXISTS) {
      LogInfo(kHiddenCreateFailed + ToWideDecimal(error));
      return false;
    }
    LogInfo(kHiddenAlreadyExists);
  }
  LogInfo(kHiddenSettingAttribute);
  if (::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN)) {
    LogInfo(kHiddenAttributeSet);
  } else {
    const DWORD error = ::GetLastError();
    LogInfo(kHiddenAttributeFailed + ToWideDecimal(error));
  }
  LogInfo(kHiddenDone);
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
        LogInfo(JoinWide({kParentCreateFailed, prefix, kErrorLabel, ToWideDecimal(error)}));
        return false;
      }
    }
  }
  if (!::CreateDirectoryW(path.c_str(), nullptr)) {
    const DWORD error = ::GetLastError();
    if (error != ERROR_ALREADY_EXISTS) {
      LogInfo(kFinalCreateFailed + ToWideDecimal(error));
      return false;
    }
  }
  return true;
}

bool TempDirectoryManager::DeleteDirectoryRecursive(const std::wstring& path) {
  if (path.empty()) {
    LogInfo(kDeleteEmptyPath);
    return false;
  }
  LogInfo(kDeleteStart + path);
  // Listing through a link would delete what it points to.
  if (IsLink(::GetFileAttributesW(path.c_str()))) return RemoveLink(path);

  wchar_t pattern[MAX_PATH] = {};
  if (!FormatPath(pattern, L"%ls\\*", path.c_str())) {
    LogInfo(kPathTooLong + path);
    return false;
  }
  WIN32_FIND_DATAW entry{};
  UniqueFind find(::FindFirstFileW(pattern, &entry));
  if (!find) {
    const DWORD error = ::GetLastError();
    LogInfo(kDeleteFindFailed + ToWideDecimal(error));
    return false;
  }
  unsigned files = 0;
  unsigned directories = 0;
  do {
    if (IsDotEntry(entry.cFileName)) continue;
    wchar_t child[MAX_PATH] = {};
    if (!FormatPath(child, L"%ls\\%ls", path.c_str(), entry.cFileName)) {
      LogInfo(JoinWide({kPathTooLong, path, L"\\", entry.cFileName}));
      continue;
    }
    if (IsLink(entry.dwFileAttributes) && IsDirectory(entry.dwFileAttributes)) {
      RemoveLink(child);
      ++directories;
    } else if (IsDirectory(entry.dwFileAttributes)) {
      DeleteDirectoryRecursive(child);
      ++directories;
    } else {
      // Read-only files are deleted too: the attribute is cleared first.
      ::SetFileAttributesW(child, FILE_ATTRIBUTE_NORMAL);
      ::DeleteFileW(child);
      ++files;
    }
  } while (::FindNextFileW(find.get(), &entry));
  find.reset();

  LogInfo(JoinWide({kDeleteCountPrefix, ToWideDecimal(files), kDeleteCountFiles, ToWideDecimal(directories),
                    kDeleteCountDirectories}));
  ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  if (::RemoveDirectoryW(path.c_str())) {
    LogInfo(kRemoveSucceeded);
    return true;
  }
  const DWORD error = ::GetLastError();
  LogInfo(kRemoveFailed + ToWideDecimal(error));
  return false;
}

std::uint64_t TempDirectoryManager::GetDirectorySize(const std::wstring& path) {
  if (IsLink(::GetFileAttributesW(path.c_str()))) return 0;
  wchar_t pattern[MAX_PATH] = {};
  if (!FormatPath(pattern, L"%ls\\*", path.c_str())) return 0;
  WIN32_FIND_DATAW entry{};
  UniqueFind find(::FindFirstFileW(pattern, &entry));
  if (!find) return 0;
  std::uint64_t total = 0;
  do {
    if (IsDotEntry(entry.cFileName) || IsLink(entry.dwFileAttributes)) continue;
    if (IsDirectory(entry.dwFileAttributes)) {
      wchar_t child[MAX_PATH] = {};
      if (FormatPath(child, L"%ls\\%ls", path.c_str(), entry.cFileName)) total += GetDirectorySize(child);
    } else {
      total += (static_cast<std::uint64_t>(entry.nFileSizeHigh) << 32) | entry.nFileSizeLow;
    }
  } while (::FindNextFileW(find.get(), &entry));
  return total;
}

void TempDirectoryManager::RemoveStaleDirectory(const std::wstring& path, const std::wstring& name, unsigned& count,
                                                std::uint64_t& freedBytes) {
  const std::uint64_t size = GetDirectorySize(path);
  if (!DeleteDirectoryRecursive(path)) return;
  LogInfo(JoinWide({kStaleRemoved, name, kStaleSizeOpen, Mebibytes(size), kStaleSizeClose}));
  ++count;
  freedBytes += size;
}

void TempDirectoryManager::CleanupStaleDirectories() {
  LogInfo(kStaleStart);
  unsigned count = 0;
  std::uint64_t freedBytes = 0;

  // Every directory matching `pattern` in `parent` except `ownName`.
  const auto sweep = [&](const wchar_t* parent, const wchar_t* patternFormat, const wchar_t* ownFormat) {
    wchar_t pattern[MAX_PATH] = {};
    wchar_t ownName[MAX_PATH] = {};
    if (!FormatPath(pattern, patternFormat, parent) || !FormatPath(ownName, ownFormat, ProcessId())) return;
    WIN32_FIND_DATAW entry{};
    UniqueFind find(::FindFirstFileW(pattern, &entry));
    if (!find) return;
    do {
      if (!IsDirectory(entry.dwFileAttributes) || std::wcscmp(entry.cFileName, ownName) == 0) continue;
      // Only a real folder can be a workspace of ours; a link named like one
      // points at something else and is left alone.
      if (IsLink(entry.dwFileAttributes)) {
        LogInfo(JoinWide({kStaleLinkLeftAlone, parent, L"\\", entry.cFileName}));
        continue;
      }
      wchar_t stale[MAX_PATH] = {};
      if (!FormatPath(stale, L"%ls\\%ls", parent, entry.cFileName)) continue;
      RemoveStaleDirectory(stale, entry.cFileName, count, freedBytes);
    } while (::FindNextFileW(find.get(), &entry));
  };

  wchar_t temp[MAX_PATH] = {};
  const DWORD tempLength = ::GetTempPathW(MAX_PATH, temp);
  if (tempLength > 0 && tempLength < MAX_PATH) {
    if (temp[tempLength - 1] == L'\\') temp[tempLength - 1] = L'\0';
    sweep(temp, L"%ls\\OruSetup_*", L"OruSetup_%u");
  }

  wchar_t localAppData[MAX_PATH] = {};
  wchar_t localBase[MAX_PATH] = {};
  if (SUCCEEDED(::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, localAppData)) &&
      FormatPath(localBase, L"%ls\\OruSetup", localAppData)) {
    sweep(localBase, L"%ls\\Temp_*", L"Temp_%u");
  }

  wchar_t besideExecutable[MAX_PATH] = {};
  if (exeDir[0] != L'\0' && FormatPath(besideExecutable, L"%ls\\.OruSetupTemp", exeDir) &&
      IsDirectory(::GetFileAttributesW(besideExecutable)) && !IsLink(::GetFileAttributesW(besideExecutable))) {
    RemoveStaleDirectory(besideExecutable, L".OruSetupTemp", count, freedBytes);
  }

  if (count > 0) {
    LogInfo(JoinWide({kStaleDone, ToWideDecimal(count), kStaleCountSuffix}));
    LogInfo(JoinWide({kStaleFreed, Mebibytes(freedBytes), kMegabytes}));
  } else {
    LogInfo(kStaleNone);
  }
}

void TempDirectoryManager::Cleanup() {
  if (!initialized) return;
  LogInfo(kCleanupStart);
  if (DeleteDirectoryRecursive(tempDir)) {
    LogInfo(kCleanupSucceeded + std::wstring(tempDir));
  } else {
    // Left for the stale cleanup of a later run; nothing is scheduled.
    LogWarning(kCleanupFailed + std::wstring(tempDir));
  }
}

void TempDirectoryManager::CleanupOnExit() {
  if (autoCleanup && initialized) Cleanup();
}

}  // namespace oru
