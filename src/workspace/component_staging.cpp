#include "workspace/component_staging.h"

#include <windows.h>

#include <array>
#include <string_view>

#include "common/entry_removal.h"
#include "common/strings.h"
#include "log/setup_logger.h"

namespace oru {
namespace {

// In the order they are copied. The list follows the installation layout;
// change it here and nowhere else.
constexpr std::array<std::wstring_view, 5> kStagedFiles{
    L"tavrin_sdk.dll",        // telemetry library
    L"dorvid.dll",            // device identity
    L"crellix_logger.dll",    // crash logging, used by the telemetry library
    L"vantor.dll",            // configuration, used by the telemetry library
    L"client_extension.dll",  // extension, used by the telemetry library
};

// Any two files are enough to try the telemetry library: which two is not
// checked, deliberately; a missing library fails later, in the loader.
constexpr unsigned kMinimumCopied = 2;
constexpr int kCopyAttempts = 3;
constexpr DWORD kRetryWaitStepMs = 100;  // 100 ms before the 2nd attempt, 200 ms before the 3rd

bool CopyFileWithRetry(const std::wstring& source, const std::wstring& destination) {
  for (int attempt = 1; attempt <= kCopyAttempts; ++attempt) {
    if (attempt > 1) {
      LogInfo(JoinWide({L"    重试复制文件 (第 ", ToWideDecimal(attempt), L" 次)..."}));
      ::Sleep(kRetryWaitStepMs * static_cast<DWORD>(attempt - 1));
    }
    // A copy left read-only by an earlier attempt would refuse to be overwritten.
    if (EntryExists(destination)) (void)RemoveFileEntry(destination);
    DWORD error = ERROR_SUCCESS;
    if (::CopyFileW(source.c_str(), destination.c_str(), FALSE)) {
      const DWORD attributes = ::GetFileAttributesW(destination.c_str());
      error = ::GetLastError();
      if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return true;
    } else {
      error = ::GetLastError();
    }
    LogInfo(L"    CopyFile 失败，错误码: " + ToWideDecimal(error));
  }
  return false;
}

}  // namespace

bool CopyTavrinFiles(const TempDirectoryManager& workspace, const std::wstring& sourceDirectory) {
  const std::wstring tavrinDir = workspace.GetTavrinDirectory();
  LogInfo(L"开始从源目录复制 Tavrin 文件...");
  LogInfo(L"源目录: " + sourceDirectory);
  LogInfo(L"目标目录: " + tavrinDir);
  if (!workspace.IsInitialized()) {
    LogError(L"TempDirectoryManager 未初始化");
    return false;
  }
  const DWORD sourceAttributes = ::GetFileAttributesW(sourceDirectory.c_str());
  if (sourceAttributes == INVALID_FILE_ATTRIBUTES || (sourceAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    LogError(L"源 Tavrin 目录不存在: " + sourceDirectory);
    return false;
  }

  unsigned copied = 0;
  unsigned failed = 0;
  for (const std::wstring_view name : kStagedFiles) {
    const std::wstring source = JoinWide({sourceDirectory, L"\\", name});
    const std::wstring destination = JoinWide({tavrinDir, L"\\", name});
    // A missing file is neither a success nor a failure.
    if (::GetFileAttributesW(source.c_str()) == INVALID_FILE_ATTRIBUTES) {
      LogWarning(L"源文件不存在，跳过: " + source);
      continue;
    }
    LogInfo(JoinWide({L"复制文件: ", source, L" -> ", destination}));
    if (CopyFileWithRetry(source, destination)) {
      LogInfo(L"  ✓ 复制成功");
      ++copied;
    } else {
      LogError(L"  ✗ 复制失败");
      ++failed;
    }
  }
  LogInfo(
      JoinWide({L"Tavrin 文件复制完成: 成功 ", ToWideDecimal(copied), L" 个，失败 ", ToWideDecimal(failed), L" 个"}));
  if (copied >= kMinimumCopied) return true;
  LogError(L"关键文件复制失败，无法使用 Tavrin SDK");
  return false;
}

}  // namespace oru
