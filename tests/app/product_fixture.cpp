#include "product_fixture.h"

#include <vector>

#include "common/product_keys.h"
#include "common/strings.h"
#include "support/log_capture.h"
#include "support/test_paths.h"

namespace oru::test {

void DeleteProductKeys() {
  for (const wchar_t* key : {kProductKey, kUninstallRegistrationKey, kProductClassesKey, kMakerProductKey}) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, key);
  }
}

void SetRegistryString(const wchar_t* key, const wchar_t* value, const std::wstring& data) {
  ::RegSetKeyValueW(HKEY_CURRENT_USER, key, value, REG_SZ, data.c_str(),
                    static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t)));
}

void SetRegistryDword(const wchar_t* key, const wchar_t* value, DWORD data) {
  ::RegSetKeyValueW(HKEY_CURRENT_USER, key, value, REG_DWORD, &data, sizeof(data));
}

bool RegistryKeyExists(const wchar_t* key) {
  HKEY handle = nullptr;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, key, 0, KEY_READ, &handle) != ERROR_SUCCESS) return false;
  ::RegCloseKey(handle);
  return true;
}

ScopedEnvironment::ScopedEnvironment(const wchar_t* name, const std::wstring& value) : name_(name) {
  std::vector<wchar_t> buffer(32767);
  if (::GetEnvironmentVariableW(name, buffer.data(), static_cast<DWORD>(buffer.size())) > 0) {
    previous_ = buffer.data();
  }
  ::SetEnvironmentVariableW(name, value.c_str());
}

ScopedEnvironment::~ScopedEnvironment() {
  ::SetEnvironmentVariableW(name_.c_str(), previous_ ? previous_->c_str() : nullptr);
}

InstalledProduct::InstalledProduct()
    : installPath_(dir_.MakeDir(kAwkwardFolderName)),
      tracePath_(dir_.Child(L"setup_trace.txt")),
      trace_(L"ORU_SETUP_STUB_TRACE", tracePath_) {
  DeleteProductKeys();
  SetRegistryString(kProductKey, kInstallPathValue, installPath_);
  SetRegistryString(kProductKey, kProductVersionValue, kVersion);
  SetRegistryString(kUninstallRegistrationKey, kUninstallStringValue, installPath_ + L"\\uninstall\\oru_uninstall.exe");
  SetRegistryString(kProductClassesKey, L"", L"URL:orustravo");
  SetRegistryString(kMakerProductKey, L"channel", L"test");
  dir_.MakeDir(std::wstring(kAwkwardFolderName) + L"\\uninstall");
}

InstalledProduct::~InstalledProduct() { DeleteProductKeys(); }

std::wstring InstalledProduct::setupPath() const { return installPath_ + L"\\" + kVersion + L"\\Installer\\setup.exe"; }

std::wstring InstalledProduct::Trace() const { return Utf8ToWide(ReadFileBytes(tracePath_)); }

void InstalledProduct::InstallSetupStub() const {
  dir_.MakeDir(std::wstring(kAwkwardFolderName) + L"\\" + kVersion + L"\\Installer");
  ::CopyFileW(BinFile(L"setup_stub.exe").c_str(), setupPath().c_str(), FALSE);
}

void InstalledProduct::InstallBrokenSetup() const {
  dir_.WriteFile(std::wstring(kAwkwardFolderName) + L"\\" + kVersion + L"\\Installer\\setup.exe", "not a program");
}

}  // namespace oru::test
