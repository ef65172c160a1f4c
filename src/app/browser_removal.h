#pragma once

// Removal of the product through its browser component's own uninstaller,
// <install>\<pv>\Installer\setup.exe: composing its command line, running it
// to the end, and acting on its exit code.

#include <cstdint>
#include <string>

#include "app/uninstall_context.h"
#include "common/installation_record.h"

namespace oru {

// The browser uninstaller's own code for a failed uninstall; also what a
// launch failure is reported as, so that it leads to the final cleanup.
inline constexpr std::uint32_t kBrowserUninstallFailed = 20;
// The uninstaller's own codes, passed instead of running anything.
inline constexpr std::uint32_t kSetupAlreadyRunning = 60;
inline constexpr std::uint32_t kSetupMissing = 333;

// The notice for code 60, also shown by a second uninstaller started while
// one is at work.
inline constexpr wchar_t kBusyNoticeText[] = L"已有安装器或者卸载器在运行，请稍后再尝试！";
inline constexpr wchar_t kBusyNoticeCaption[] = L"提示";

// <install>\<pv>\Installer\setup.exe.
[[nodiscard]] std::wstring SetupPath(const InstallationRecord& installation);
// <install>\uninstall\chrome_uninstall.log.
[[nodiscard]] std::wstring BrowserLogPath(const InstallationRecord& installation);

// The uninstall switches: silent unless --unsilent-chrome, the profile
// deleted unless --keep-user-data, the log file in double quotes.
[[nodiscard]] std::wstring ComposeUninstallArguments(const UninstallContext& context,
                                                     const std::wstring& browserLogPath);

// Starts setup.exe and waits for it without a time limit. Returns its exit
// code, or kBrowserUninstallFailed (logged with the error) when it cannot
// be started.
[[nodiscard]] std::uint32_t RunBrowserUninstaller(const std::wstring& setupPath, const std::wstring& arguments);

// Logs what the exit code means. Codes 60 and 333 also show a message box
// unless context.silent_oru is set; code 20 runs the final cleanup of the
// installation directory.
void InterpretExitCode(const UninstallContext& context, std::uint32_t exitCode);

}  // namespace oru
