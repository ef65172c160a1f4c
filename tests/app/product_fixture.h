#pragma once

// What the uninstall driver's tests share: the product's registry keys as
// its installer leaves them, an installation folder whose setup.exe is the
// stand-in, and environment settings for that stand-in.

#include <windows.h>

#include <optional>
#include <string>

#include "support/temp_dir.h"

namespace oru::test {

// A folder name that breaks naive quoting: a blank, an apostrophe, a percent
// sign, an ampersand and Chinese characters.
inline constexpr wchar_t kAwkwardFolderName[] = L"Oru's 100% R&D 安装 dir";

// Removes every product key under HKCU (the product key, its uninstall
// registration, its class registration and its key under the maker's
// branch), so that a test starts and ends without them.
void DeleteProductKeys();

void SetRegistryString(const wchar_t* key, const wchar_t* value, const std::wstring& data);
void SetRegistryDword(const wchar_t* key, const wchar_t* value, DWORD data);
[[nodiscard]] bool RegistryKeyExists(const wchar_t* key);

// Sets an environment variable, which child processes inherit, until the
// end of the scope.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const wchar_t* name, const std::wstring& value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::wstring name_;
  std::optional<std::wstring> previous_;
};

// An installed product in a folder named kAwkwardFolderName, registered with its
// version, its uninstall registration and the two keys the uninstaller
// deletes. All product keys are removed again at the end.
class InstalledProduct {
 public:
  static constexpr wchar_t kVersion[] = L"1.0.0.1";

  InstalledProduct();
  ~InstalledProduct();
  InstalledProduct(const InstalledProduct&) = delete;
  InstalledProduct& operator=(const InstalledProduct&) = delete;

  [[nodiscard]] const std::wstring& installPath() const { return installPath_; }
  // <install>\<pv>\Installer\setup.exe.
  [[nodiscard]] std::wstring setupPath() const;
  // Where the stand-in records its command lines (ORU_SETUP_STUB_TRACE).
  [[nodiscard]] const std::wstring& tracePath() const { return tracePath_; }
  // The command lines the stand-in received, one per run.
  [[nodiscard]] std::wstring Trace() const;

  // Copies the stand-in in as setup.exe.
  void InstallSetupStub() const;
  // Writes a text file as setup.exe, which cannot be started.
  void InstallBrokenSetup() const;

 private:
  TempDir dir_;
  std::wstring installPath_;
  std::wstring tracePath_;
  ScopedEnvironment trace_;
};

}  // namespace oru::test
