// Stands in for the browser component's setup.exe, which tests cannot have.
// Copied to <install>\<pv>\Installer\setup.exe, it takes its orders from the
// environment it inherits from the uninstaller:
//   ORU_SETUP_STUB_TRACE         append its command line (UTF-8, one line) to this file; a copy with
//                                trace_path.txt beside it appends to the file named there instead:
//                                another vendor's setup.exe, whose every run a test must notice
//   ORU_SETUP_STUB_EXIT_CODE     its exit code (default 19, a success)
//   ORU_SETUP_STUB_REGISTRATION  the product's registration (HKCU ...\Uninstall\Oru.stravo): "remove"
//                                the key (default), "empty" its UninstallString, or "keep" it
//   ORU_SETUP_STUB_REMOVE_FILES  "1": remove the product's files as the real one does, all but the
//                                "uninstall" folder; it first moves itself out into %TEMP%, as the
//                                real one does, so that only "uninstall" is left
//   ORU_SETUP_STUB_KEEP_SELF     "1": with REMOVE_FILES, stay where it is instead
//                                (<pv>\Installer\setup.exe is then left)
//   ORU_SETUP_STUB_DELAY_MS      milliseconds to sleep first (default 0)
// Test code only; never shipped.

#include <windows.h>

#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "trace/trace_writer.h"

namespace {

namespace fs = std::filesystem;
using oru::doubles::Setting;

constexpr wchar_t kRegistrationKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Oru.stravo";

unsigned long Number(const wchar_t* name, const wchar_t* fallback) {
  const std::wstring value = Setting(name);
  return std::wcstoul(value.empty() ? fallback : value.c_str(), nullptr, 10);
}

fs::path Self() {
  wchar_t self[MAX_PATH] = {};
  ::GetModuleFileNameW(nullptr, self, MAX_PATH);
  return self;
}

// What trace_path.txt beside this program names (UTF-8), or empty.
std::wstring TraceRedirection() {
  std::ifstream in(Self().parent_path() / L"trace_path.txt", std::ios::binary);
  const std::string utf8((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return fs::path(std::u8string(utf8.begin(), utf8.end())).wstring();
}

void ChangeRegistration(const std::wstring& mode) {
  if (mode == L"remove" || mode.empty()) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kRegistrationKey);
  } else if (mode == L"empty") {
    const wchar_t empty[] = L"";
    ::RegSetKeyValueW(HKEY_CURRENT_USER, kRegistrationKey, L"UninstallString", REG_SZ, empty, sizeof(empty));
  }
}

// Removes every entry of `dir` except those named `keep` and `alsoKeep`.
void RemoveAllBut(const fs::path& dir, const fs::path& keep, const fs::path& alsoKeep = {}) {
  std::error_code ec;
  std::vector<fs::path> doomed;
  for (const auto& entry : fs::directory_iterator(dir, ec)) {
    if (entry.path().filename() != keep && entry.path().filename() != alsoKeep) doomed.push_back(entry.path());
  }
  for (const auto& path : doomed) fs::remove_all(path, ec);
}

// A running program can be renamed though not deleted: out of the way into
// the temporary folder, where it is left for the system's clean-up.
bool MoveSelfToTemp() {
  wchar_t temp[MAX_PATH] = {};
  wchar_t aside[MAX_PATH] = {};
  return ::GetTempPathW(MAX_PATH, temp) != 0 && ::GetTempFileNameW(temp, L"stp", 0, aside) != 0 &&
         ::MoveFileExW(Self().c_str(), aside, MOVEFILE_REPLACE_EXISTING);
}

void RemoveProductFiles(bool keepSelf) {
  const fs::path installer = Self().parent_path(), version = installer.parent_path();
  if (!keepSelf && MoveSelfToTemp()) {
    RemoveAllBut(version.parent_path(), L"uninstall");
    return;
  }
  RemoveAllBut(installer, Self().filename());
  RemoveAllBut(version, installer.filename());
  RemoveAllBut(version.parent_path(), version.filename(), L"uninstall");
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  ::Sleep(Number(L"ORU_SETUP_STUB_DELAY_MS", L"0"));
  const std::wstring redirected = TraceRedirection();
  oru::doubles::TraceWriter(redirected.empty() ? Setting(L"ORU_SETUP_STUB_TRACE") : redirected)
      .Line(oru::doubles::Utf8(::GetCommandLineW()));
  ChangeRegistration(Setting(L"ORU_SETUP_STUB_REGISTRATION"));
  if (Setting(L"ORU_SETUP_STUB_REMOVE_FILES") == L"1") RemoveProductFiles(Setting(L"ORU_SETUP_STUB_KEEP_SELF") == L"1");
  return static_cast<int>(Number(L"ORU_SETUP_STUB_EXIT_CODE", L"19"));
}
