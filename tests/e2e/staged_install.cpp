#include "staged_install.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include <gtest/gtest.h>

#include "common/path_rules.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "common/unique_handle.h"
#include "remove/self_delete_script.h"
#include "support/test_paths.h"
#include "sys/system_directory.h"

namespace oru::test {
namespace fs = std::filesystem;
namespace {

constexpr wchar_t kUnrelatedKey[] = L"SOFTWARE\\Kelvane\\other.product";
constexpr char kSentinelText[] = "not the product's: must survive\n";

void Copy(const std::wstring& from, const std::wstring& to) {
  WriteFileAt(to, "");  // its folders, whatever their names
  ::CopyFileW(from.c_str(), ExtendedLengthPath(to).c_str(), FALSE);
}

// scripts/test stages the signed release executable through this variable.
std::wstring UninstallerToStage(bool injected) {
  if (injected) return BinFile(L"oru_uninstall_injected.exe");
  wchar_t path[MAX_PATH * 4] = {};
  const DWORD length = ::GetEnvironmentVariableW(L"ORU_E2E_UNINSTALLER", path, MAX_PATH * 4);
  return length > 0 && length < MAX_PATH * 4 ? std::wstring(path, length) : BinFile(L"oru_uninstall.exe");
}

void DeleteProductKeys() {
  for (auto key : {kProductKey, kUninstallRegistrationKey, kProductClassesKey, kMakerProductKey, kUnrelatedKey}) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, key);
  }
}

}  // namespace

Env SetupExits(unsigned code, const wchar_t* registration) {
  return {{L"ORU_SETUP_STUB_EXIT_CODE", std::to_wstring(code)}, {L"ORU_SETUP_STUB_REGISTRATION", registration}};
}

void ExpectOrderlyRun(const StagedInstall& install, DWORD exitCode) {
  EXPECT_EQ(exitCode, 0u);
  const std::string log = install.FinalLog();
  EXPECT_EQ(log.rfind("\xEF\xBB\xBF=== ORU Setup Log ===\n", 0), 0u)
      << "no log at " << WideToUtf8(install.FinalLogPath());
  EXPECT_TRUE(Has(log, "Exiting uninstaller, temp directory will be cleaned up...\n"));
  EXPECT_TRUE(install.SentinelsIntact());
  EXPECT_EQ(install.ForeignTrace(), "") << "another vendor's setup.exe was started";
  for (const std::wstring& left : install.OwnFoldersLeft()) EXPECT_FALSE(left.ends_with(L"_cwd")) << WideToUtf8(left);
}

void ExpectHas(std::string_view text, const std::vector<std::wstring>& fragments) {
  for (const std::wstring& fragment : fragments) EXPECT_TRUE(Has(text, WideToUtf8(fragment))) << WideToUtf8(fragment);
}

bool KeyExists(const std::wstring& subKey) {
  UniqueRegKey key;
  return ::RegOpenKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, KEY_READ, key.put()) == ERROR_SUCCESS;
}

std::wstring ReadValue(const std::wstring& subKey, const std::wstring& name) {
  wchar_t buffer[2048] = {};
  DWORD size = sizeof(buffer) - sizeof(wchar_t);
  const LSTATUS status = ::RegGetValueW(HKEY_CURRENT_USER, subKey.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND,
                                        nullptr, buffer, &size);
  return status == ERROR_SUCCESS ? buffer : L"";
}

void SetValue(const std::wstring& subKey, const std::wstring& name, const std::wstring& value) {
  ::RegSetKeyValueW(HKEY_CURRENT_USER, subKey.c_str(), name.c_str(), REG_SZ, value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

StagedInstall::StagedInstall(const StageOptions& options) : productRoot_(LocalAppData() + L"\\Oru.stravo") {
  installPath = options.installPath.empty() ? productRoot_ + L"\\Application" : options.installPath;
  pv = options.pv.empty() ? kStagedPv : options.pv;
  versionDir = installPath + L"\\" + pv;
  setupExe = versionDir + L"\\Installer\\setup.exe";
  uninstallDir = installPath + L"\\uninstall";
  exe = uninstallDir + L"\\oru_uninstall.exe";
  currentDir = uninstallDir;
  setupTrace_ = traces_.Child(L"setup_trace.txt");
  tavrinTrace_ = traces_.Child(L"tavrin_trace.txt");
  foreignTrace_ = traces_.Child(L"foreign_setup_trace.txt");

  RemoveTree(installPath);
  DeleteProductKeys();
  // Wine has no timeout.exe, which the self-deleting script waits with.
  const std::wstring timeout = SystemDirectoryFile(L"timeout.exe");
  if (!Exists(timeout)) ::CopyFileW(BinFile(L"timeout_stub.exe").c_str(), timeout.c_str(), TRUE);

  Copy(UninstallerToStage(options.injected), exe);
  if (options.setupExe) Copy(BinFile(L"setup_stub.exe"), setupExe);
  if (!options.leftoversOnly) {
    Copy(BinFile(L"tavrin_sdk.dll"), versionDir + L"\\tavrin_sdk.dll");
    Copy(BinFile(L"dorvid.dll"), versionDir + L"\\dorvid.dll");
    for (const wchar_t* companion : {L"crellix_logger.dll", L"vantor.dll", L"client_extension.dll"}) {
      WriteFileAt(versionDir + L"\\" + companion, "companion library stand-in\n");
    }
    WriteFileAt(versionDir + L"\\resources\\locale\\zh-CN.pak", "browser component file\n");
  }
  const fs::path parent = fs::path(installPath).parent_path();
  for (const auto& sentinel :
       {parent.wstring() + L"\\sentinel_beside.txt", parent.parent_path().wstring() + L"\\sentinel_above.txt",
        TempFolder() + L"\\oru_sentinel.txt", productRoot_ + L"\\User Data\\Default\\Preferences",
        fs::current_path().wstring() + L"\\oru_sentinel_cwd.txt"}) {
    AddSentinel(sentinel);
  }
  PlantForeignProduct(LocalAppData() + L"\\Other Vendor\\App");

  SetValue(kProductKey, L"OruInstallPath", installPath);
  SetValue(kProductKey, L"pv", pv);
  SetValue(kUninstallRegistrationKey, L"UninstallString", L"\"" + exe + L"\"");
  SetValue(kProductClassesKey, L"URL Protocol", L"");
  SetValue(kMakerProductKey, L"channel", L"default");
  SetValue(kUnrelatedKey, L"keep", L"this key is not the product's");
}

StagedInstall::~StagedInstall() {
  links_.clear();
  RemoveTree(installPath);
  DeleteProductKeys();
  for (auto it = planted_.rbegin(); it != planted_.rend(); ++it) RemoveTree(*it);
}

void StagedInstall::Plant(const std::wstring& path) {
  fs::path outermost;
  for (fs::path at(path); at.has_relative_path() && !Exists(at.wstring()); at = at.parent_path()) outermost = at;
  if (!outermost.empty()) planted_.push_back(outermost.wstring());
}

void StagedInstall::AddSentinel(const std::wstring& path) {
  Plant(path);
  WriteFileAt(path, kSentinelText);
  sentinels_[path] = kSentinelText;
}

void StagedInstall::PlantForeignProduct(const std::wstring& dir) {
  AddSentinel(dir + L"\\keep.txt");
  const std::wstring installer = dir + L"\\Installer";
  Plant(installer);
  Copy(BinFile(L"setup_stub.exe"), installer + L"\\setup.exe");
  WriteFileAt(installer + L"\\trace_path.txt", WideToUtf8(foreignTrace_));
  for (const auto& file : {installer + L"\\setup.exe", installer + L"\\trace_path.txt"}) {
    sentinels_[file] = ReadFileBytes(file);
  }
}

bool StagedInstall::Link(const std::wstring& link, const std::wstring& target) {
  links_.push_back(std::make_unique<DirectoryLink>(link, target));
  return links_.back()->Made();
}

DWORD StagedInstall::Run(const std::wstring& args, const Env& env, const std::function<void()>& whileRunning) {
  Env all{{L"ORU_SETUP_STUB_TRACE", setupTrace_}, {L"ORU_TAVRIN_TRACE", tavrinTrace_}};
  for (const auto& [name, value] : env) all[name] = value;
  for (const auto& [name, value] : all) ::SetEnvironmentVariableW(name.c_str(), value.c_str());

  DWORD exitCode = 0xFFFFFFFF;
  std::wstring commandLine = L"\"" + exe + L"\" " + args;
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION info{};
  if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, currentDir.c_str(), &startup,
                       &info)) {
    const UniqueHandle process(info.hProcess), thread(info.hThread);
    if (whileRunning) whileRunning();
    ::WaitForSingleObject(info.hProcess, 90000);
    ::GetExitCodeProcess(info.hProcess, &exitCode);
  }
  for (const auto& entry : all) ::SetEnvironmentVariableW(entry.first.c_str(), nullptr);
  return exitCode;
}

std::wstring StagedInstall::FinalLogPath() const { return ReadValue(kProductKey, L"OruInstallLogPath"); }

std::string StagedInstall::FinalLog() const { return ReadFileBytes(FinalLogPath()); }

bool StagedInstall::SentinelsIntact() const {
  bool intact = ReadValue(kUnrelatedKey, L"keep") == L"this key is not the product's";
  for (const auto& [path, bytes] : sentinels_) {
    if (ReadFileBytes(path) != bytes) {
      std::fprintf(stderr, "sentinel changed or gone: %ls\n", path.c_str());
      intact = false;
    }
  }
  return intact;
}

bool StagedInstall::SelfDeleteStarted(const std::wstring& dir) const {
  if (!Has(FinalLog(), WideToUtf8(L"CreateAndRunSelfDeleteDirScript " + dir + L"\n"))) return false;
  // Under Wine the shell takes a while to get the script going.
  const std::wstring script = SelfDeleteScriptPath(dir);
  for (int i = 0; i < 400 && (Exists(script) || !OwnFoldersLeft().empty()); ++i) ::Sleep(100);
  return true;
}

std::vector<std::wstring> StagedInstall::OwnFoldersLeft() {
  std::vector<std::wstring> left;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(TempFolder(), ec)) {
    if (entry.path().filename().wstring().starts_with(L"OruSetup_")) left.push_back(entry.path().wstring());
  }
  for (const auto& entry : fs::directory_iterator(LocalAppData() + L"\\OruSetup", ec)) {
    left.push_back(entry.path().wstring());
  }
  return left;
}

std::vector<std::wstring> StagedInstall::Remaining(const std::wstring& relative) const {
  std::vector<std::wstring> entries;
  std::error_code ec;
  const fs::path dir = relative.empty() ? fs::path(installPath) : fs::path(installPath + L"\\" + relative);
  for (const auto& entry : fs::directory_iterator(dir, ec)) {
    entries.push_back((entry.is_directory() ? L"[DIR] " : L"[FILE] ") + entry.path().filename().wstring());
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

}  // namespace oru::test
