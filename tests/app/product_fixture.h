#pragma once

// The product as its installer leaves it, for the uninstall driver's tests:
// its registry keys under HKCU and an installation folder whose setup.exe
// the stand-in can play. Each test case runs in a process of its own, so the
// stand-in's settings (environment variables its children inherit) need no undoing.

#include <windows.h>

#include <string>

#include "common/product_keys.h"
#include "common/strings.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru::test {

inline void SetRegistryString(const wchar_t* key, const wchar_t* value, const std::wstring& data) {
  ::RegSetKeyValueW(HKEY_CURRENT_USER, key, value, REG_SZ, data.c_str(),
                    static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t)));
}

inline bool RegistryKeyExists(const wchar_t* key) {
  HKEY handle = nullptr;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, key, 0, KEY_READ, &handle) != ERROR_SUCCESS) return false;
  ::RegCloseKey(handle);
  return true;
}

// Installed in a folder whose name breaks naive quoting, with every product
// key in place; all of them are removed again at the end.
class InstalledProduct {
 public:
  static constexpr wchar_t kVersion[] = L"1.0.0.1";
  static constexpr wchar_t kFolder[] = L"Oru's 100% R&D 安装 dir";
  TempDir dir;
  const std::wstring installPath = dir.MakeDir(kFolder);
  const std::wstring setupPath = installPath + L"\\" + kVersion + L"\\Installer\\setup.exe";

  InstalledProduct() {
    DeleteKeys();
    SetRegistryString(kProductKey, kInstallPathValue, installPath);
    SetRegistryString(kProductKey, kProductVersionValue, kVersion);
    SetRegistryString(kUninstallRegistrationKey, kUninstallStringValue,
                      installPath + L"\\uninstall\\oru_uninstall.exe");
    // Subkeys, so that only a whole-tree deletion removes these two.
    SetRegistryString((std::wstring(kProductClassesKey) + L"\\shell\\open").c_str(), L"", L"open");
    SetRegistryString((std::wstring(kMakerProductKey) + L"\\sub").c_str(), L"channel", L"test");
    dir.MakeDir(kFolder + std::wstring(L"\\uninstall"));
    ::SetEnvironmentVariableW(L"ORU_SETUP_STUB_TRACE", dir.Child(L"trace.txt").c_str());
  }
  ~InstalledProduct() { DeleteKeys(); }

  // The stand-in as setup.exe, or a text file there, which cannot be started.
  void InstallSetup(bool runnable = true) const {
    dir.WriteFile(setupPath.substr(dir.path().size() + 1), "not a program");
    if (runnable) ::CopyFileW(BinFile(L"setup_stub.exe").c_str(), setupPath.c_str(), FALSE);
  }
  // The command lines the stand-in received, one per run.
  [[nodiscard]] std::wstring Trace() const { return Utf8ToWide(ReadFileBytes(dir.Child(L"trace.txt"))); }

  static void DeleteKeys() {
    for (const wchar_t* key : {kProductKey, kUninstallRegistrationKey, kProductClassesKey, kMakerProductKey}) {
      ::RegDeleteTreeW(HKEY_CURRENT_USER, key);
    }
  }
};

}  // namespace oru::test
