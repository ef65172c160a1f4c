#pragma once

// The product's registry locations, all under HKEY_CURRENT_USER, and the
// names the uninstaller looks for on disk and in the process list.

namespace oru {

inline constexpr wchar_t kProductKey[] = L"SOFTWARE\\Oru.stravo";
inline constexpr wchar_t kInstallPathValue[] = L"OruInstallPath";
inline constexpr wchar_t kProductVersionValue[] = L"pv";

inline constexpr wchar_t kUninstallRegistrationKey[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Oru.stravo";
inline constexpr wchar_t kUninstallStringValue[] = L"UninstallString";

inline constexpr wchar_t kUninstallFolderName[] = L"uninstall";
inline constexpr wchar_t kApplicationImageName[] = L"oru.stravo.exe";
inline constexpr wchar_t kSetupImageName[] = L"setup.exe";

}  // namespace oru
