#include "app/browser_removal.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "log/setup_logger.h"
#include "remove/install_dir_cleanup.h"
#include "sys/child_process.h"

namespace oru {
namespace {

constexpr wchar_t kSetupBusyLine[] = L"setup.exe 被其他进程占用";

// What one exit code means. Unused lines and the text of an absent message
// box are null.
struct ExitCodeMeaning {
  std::uint32_t code;
  const wchar_t* firstLine;
  const wchar_t* secondLine;
  const wchar_t* boxText;
  const wchar_t* boxCaption;
  UINT boxFlags;
  bool cleanupInstallDir;
};

// Only 20 asks for the final cleanup; a successful uninstall (19) does not,
// since setup.exe has then removed the files itself.
constexpr std::array<ExitCodeMeaning, 13> kExitCodeMeanings{{
    {10, L"Operating system API call failed", nullptr, nullptr, nullptr, 0, false},
    {14, L"Insufficient user permissions", nullptr, nullptr, nullptr, 0, false},
    {15, L"Chrome is not installed!", nullptr, nullptr, nullptr, 0, false},
    {16, L"Chrome is running!", nullptr, nullptr, nullptr, 0, false},
    {17, L"User has confirmed the uninstallation of Chrome!", nullptr, nullptr, nullptr, 0, false},
    {18, L"User has confirmed uninstalling Chrome and deleting the configuration file!", nullptr, nullptr, nullptr, 0,
     false},
    {19, L"Chrome uninstall success!", nullptr, nullptr, nullptr, 0, false},
    {kBrowserUninstallFailed, L"chrome 卸载失败", nullptr, nullptr, nullptr, 0, true},
    {21, L"User cancels Chrome uninstallation!", nullptr, nullptr, nullptr, 0, false},
    {22, L"I don't know what happened (it shouldn't have happened)", nullptr, nullptr, nullptr, 0, false},
    {29, L"Uninstallation requires a restart", nullptr, nullptr, nullptr, 0, false},
    // The busy line is written twice on purpose.
    {kSetupAlreadyRunning, kSetupBusyLine, kSetupBusyLine, kBusyNoticeText, kBusyNoticeCaption,
     MB_OK | MB_ICONINFORMATION, false},
    {kSetupMissing, L"没有找到 setup.exe 文件", L"setup.exe 文件缺失", L"setup 文件缺失", L"错误", MB_OK | MB_ICONERROR,
     false},
}};

constexpr ExitCodeMeaning kOtherExitCode{0, L"Others exit code!!!", nullptr, nullptr, nullptr, 0, false};

const ExitCodeMeaning& MeaningOf(std::uint32_t exitCode) {
  const auto found = std::find_if(kExitCodeMeanings.begin(), kExitCodeMeanings.end(),
                                  [exitCode](const ExitCodeMeaning& meaning) { return meaning.code == exitCode; });
  return found != kExitCodeMeanings.end() ? *found : kOtherExitCode;
}

// The quoted program path, a blank, then the arguments.
std::wstring ComposeCommandLine(const std::wstring& setupPath, const std::wstring& arguments) {
  return JoinWide({L"\"", setupPath, L"\" ", arguments});
}

}  // namespace

std::wstring SetupPath(const InstallationRecord& installation) {
  return JoinWide(
      {installation.install_path, L"\\", installation.pv, L"\\", kInstallerFolderName, L"\\", kSetupImageName});
}

std::wstring BrowserLogPath(const InstallationRecord& installation) {
  return JoinWide({installation.install_path, L"\\", kUninstallFolderName, L"\\chrome_uninstall.log"});
}

std::wstring ComposeUninstallArguments(const UninstallContext& context, const std::wstring& browserLogPath) {
  std::wstring arguments = L"--uninstall";
  if (context.silent_chrome) arguments += L" --force-uninstall";
  arguments += L" --verbose-logging --enable-logging";
  arguments += JoinWide({L" --log-file=\"", browserLogPath, L"\""});
  if (!context.keep_user_data) arguments += L" --delete-profile";
  return arguments;
}

std::uint32_t RunBrowserUninstaller(const std::wstring& setupPath, const std::wstring& arguments) {
  const std::wstring commandLine = ComposeCommandLine(setupPath, arguments);
  LogInfo(L"cmdLine: " + commandLine);

  std::uint32_t error = 0;
  UniqueHandle process = StartChildProcess(commandLine, false, error);
  if (!process) {
    LogInfo(L"Failed to create uninstall process, error code: " + ToWideDecimal(error));
    return kBrowserUninstallFailed;
  }

  LogInfo(L"Uninstall process started, waiting for it to finish...");
  ::WaitForSingleObject(process.get(), INFINITE);
  // Should the code be unreadable, it is treated like a crashed child's.
  DWORD exitCode = 0xFFFFFFFF;
  if (!::GetExitCodeProcess(process.get(), &exitCode)) {
    const DWORD readError = ::GetLastError();
    LogError(L"Failed to read the uninstall process's exit code, error: " + ToWideDecimal(readError));
  }
  process.reset();
  LogInfo(L"Uninstall process finished, exit code: " + ToWideDecimal(exitCode));
  return exitCode;
}

void InterpretExitCode(const UninstallContext& context, std::uint32_t exitCode) {
  LogInfo(L"setup.exe exitCode: " + ToWideDecimal(exitCode));
  const ExitCodeMeaning& meaning = MeaningOf(exitCode);
  LogInfo(meaning.firstLine);
  if (meaning.secondLine != nullptr) LogInfo(meaning.secondLine);
  if (meaning.boxText != nullptr && !context.silent_oru) {
    // No owner window, and the answer changes nothing.
    ::MessageBoxW(nullptr, meaning.boxText, meaning.boxCaption, meaning.boxFlags);
  }
  if (meaning.cleanupInstallDir) CleanupInstallationDirectory(context);
}

}  // namespace oru
