// Stands in for the browser component's setup.exe, which tests cannot have.
// Copy it to <install>\<pv>\Installer\setup.exe. It is configured through
// environment variables, which it inherits from the uninstaller:
//
//   ORU_SETUP_STUB_TRACE         a file to which it appends its own command
//                                line (GetCommandLineW) as one UTF-8 line
//                                ending in "\n"; nothing written when unset.
//                                A copy with a file trace_path.txt beside it
//                                appends to the file named there (UTF-8)
//                                instead: another vendor's setup.exe, whose
//                                every run a test must notice
//   ORU_SETUP_STUB_EXIT_CODE     its exit code, unsigned decimal (default 19,
//                                a successful uninstall)
//   ORU_SETUP_STUB_REGISTRATION  what it does to the product's uninstall
//                                registration, the HKCU key
//                                SOFTWARE\Microsoft\Windows\CurrentVersion
//                                \Uninstall\Oru.stravo:
//                                  remove  delete the whole key (default)
//                                  value   delete only its UninstallString
//                                  empty   set UninstallString to ""
//                                  keep    leave it alone
//   ORU_SETUP_STUB_REMOVE_FILES  "1": remove the product's files as the real
//                                uninstaller does - everything in the
//                                installation directory except the
//                                "uninstall" folder and this running
//                                program itself, which stays behind as
//                                <pv>\Installer\setup.exe
//   ORU_SETUP_STUB_DELAY_MS      milliseconds to sleep before it does any of
//                                the above (default 0)
//
// Test code only; never shipped.

#include <windows.h>

#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "common/unique_handle.h"

namespace {

constexpr wchar_t kRegistrationKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Oru.stravo";
constexpr wchar_t kUninstallStringValue[] = L"UninstallString";

std::wstring Setting(const wchar_t* name, const wchar_t* fallback) {
  wchar_t value[1024] = {};
  const DWORD length = ::GetEnvironmentVariableW(name, value, 1024);
  if (length == 0 || length >= 1024) return fallback;
  return value;
}

void AppendTrace(const std::wstring& tracePath) {
  const wchar_t* commandLine = ::GetCommandLineW();
  const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, commandLine, -1, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(bytes > 0 ? bytes : 1), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, commandLine, -1, utf8.data(), bytes, nullptr, nullptr);
  utf8.resize(utf8.size() - 1);  // the terminator
  utf8 += '\n';
  const oru::UniqueFile file(::CreateFileW(tracePath.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  if (file) ::WriteFile(file.get(), utf8.data(), static_cast<DWORD>(utf8.size()), &written, nullptr);
}

// What trace_path.txt beside this program names (UTF-8), or empty.
std::wstring TraceRedirection() {
  wchar_t self[MAX_PATH] = {};
  ::GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::ifstream in(std::filesystem::path(self).parent_path() / L"trace_path.txt", std::ios::binary);
  const std::string utf8((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).wstring();
}

void ChangeRegistration(const std::wstring& mode) {
  if (mode == L"remove") {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kRegistrationKey);
    return;
  }
  oru::UniqueRegKey key;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, kRegistrationKey, 0, KEY_SET_VALUE, key.put()) != ERROR_SUCCESS) return;
  if (mode == L"value") {
    ::RegDeleteValueW(key.get(), kUninstallStringValue);
  } else if (mode == L"empty") {
    const wchar_t empty[] = L"";
    ::RegSetValueExW(key.get(), kUninstallStringValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(empty), sizeof(empty));
  }
}

// Removes every entry of `dir` except those named `keep` and `alsoKeep`.
void RemoveAllBut(const std::filesystem::path& dir, const std::wstring& keep, const std::wstring& alsoKeep = {}) {
  std::error_code ec;
  std::vector<std::filesystem::path> doomed;
  for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) {
    const std::wstring name = entry.path().filename().wstring();
    if (name != keep && name != alsoKeep) doomed.push_back(entry.path());
  }
  for (const auto& path : doomed) std::filesystem::remove_all(path, ec);
}

void RemoveProductFiles() {
  wchar_t self[MAX_PATH] = {};
  ::GetModuleFileNameW(nullptr, self, MAX_PATH);
  const std::filesystem::path installer = std::filesystem::path(self).parent_path();
  const std::filesystem::path version = installer.parent_path();
  RemoveAllBut(installer, std::filesystem::path(self).filename().wstring());
  RemoveAllBut(version, installer.filename().wstring());
  RemoveAllBut(version.parent_path(), version.filename().wstring(), L"uninstall");
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  ::Sleep(static_cast<DWORD>(std::wcstoul(Setting(L"ORU_SETUP_STUB_DELAY_MS", L"0").c_str(), nullptr, 10)));
  const std::wstring redirected = TraceRedirection();
  const std::wstring tracePath = redirected.empty() ? Setting(L"ORU_SETUP_STUB_TRACE", L"") : redirected;
  if (!tracePath.empty()) AppendTrace(tracePath);
  ChangeRegistration(Setting(L"ORU_SETUP_STUB_REGISTRATION", L"remove"));
  if (Setting(L"ORU_SETUP_STUB_REMOVE_FILES", L"") == L"1") RemoveProductFiles();
  return static_cast<int>(std::wcstoul(Setting(L"ORU_SETUP_STUB_EXIT_CODE", L"19").c_str(), nullptr, 10));
}
