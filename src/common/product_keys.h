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

// The keys the uninstaller deletes once the product is gone, in this order.
inline constexpr wchar_t kProductClassesKey[] = L"SOFTWARE\\Classes\\orustravo";
inline constexpr wchar_t kMakerProductKey[] = L"SOFTWARE\\Kelvane\\oru.stravo";

inline constexpr wchar_t kUninstallFolderName[] = L"uninstall";
inline constexpr wchar_t kApplicationImageName[] = L"oru.stravo.exe";
inline constexpr wchar_t kSetupImageName[] = L"setup.exe";
// The browser component's installer lies in <install>\<pv>\Installer.
inline constexpr wchar_t kInstallerFolderName[] = L"Installer";

}  // namespace oru
