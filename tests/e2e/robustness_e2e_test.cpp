// Hostile but possible inputs through the real executable: odd registry
// values, install paths full of characters that break naive quoting, and
// random command lines. None may crash or hang the uninstaller; the exit
// code stays 0 and the log says what happened.

#include <gtest/gtest.h>

#include "staged_install.h"

#include "common/product_keys.h"
#include "common/strings.h"

namespace oru::test {
namespace {

void SetRaw(const wchar_t* name, DWORD type, const void* data, DWORD size) {
  ::RegSetKeyValueW(HKEY_CURRENT_USER, kProductKey, name, type, data, size);
}

TEST(Robustness, RegistryValuesOfEveryTypeAndLengthEndInAnExplainedResult) {
  const DWORD dword = 7;
  const unsigned char binary[] = {0xde, 0xad, 0xbe, 0xef};
  const wchar_t multi[] = L"C:\\a\0C:\\b\0";
  struct Case {
    const char* name;
    DWORD type;
    std::wstring text;  // for string-like cases
    const void* raw;
    DWORD rawSize;
    const char* expected;
  };
  const wchar_t empty[] = L"";
  // Bytes read as text make some version name: one that is no plain folder
  // name counts as missing, any other just names no setup.exe.
  const Case cases[] = {
      {"dword", REG_DWORD, L"", &dword, sizeof(dword), "Could not find required installation information"},
      {"binary", REG_BINARY, L"", binary, sizeof(binary), "setup.exe does not exist: "},
      {"multi", REG_MULTI_SZ, L"", multi, sizeof(multi), "Could not find required installation information"},
      {"empty", REG_SZ, L"", empty, sizeof(empty), "Could not find required installation information"},
      {"259 characters", REG_SZ, std::wstring(259, L'v'), nullptr, 0, "setup.exe does not exist: "},
      {"260 characters", REG_SZ, std::wstring(260, L'v'), nullptr, 0, "Registry value is too long: pv"},
      {"261 characters", REG_SZ, std::wstring(261, L'v'), nullptr, 0, "Registry value is too long: pv"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    StagedInstall install;
    ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kProductKey, L"pv");
    if (c.raw != nullptr) {
      SetRaw(L"pv", c.type, c.raw, c.rawSize);
    } else if (!c.text.empty()) {
      SetRaw(L"pv", c.type, c.text.c_str(), static_cast<DWORD>((c.text.size() + 1) * sizeof(wchar_t)));
    }
    const RunResult run = install.Run(L"--silent-oru");
    EXPECT_EQ(run.exitCode, 0u);
    const std::string log = install.FinalLog();
    EXPECT_TRUE(Has(log, "Exiting uninstaller, temp directory will be cleaned up...")) << log;
    EXPECT_TRUE(Has(log, c.expected)) << log;
    EXPECT_TRUE(install.SentinelsIntact());
  }
}

TEST(Robustness, InstallPathsWithShellMetacharactersReachSetupIntact) {
  wchar_t localAppData[MAX_PATH] = {};
  ::GetEnvironmentVariableW(L"LOCALAPPDATA", localAppData, MAX_PATH);
  const std::wstring names[] = {L"Oru stravo App", L"Oru's App", L"Oru 100% App",  L"Oru & Co",
                                L"Oru ^ caret",    L"奥如助手",  L"Oru \U0001F600"};
  for (const auto& name : names) {
    SCOPED_TRACE(WideToUtf8(name));
    StageOptions options;
    options.installPath = std::wstring(localAppData) + L"\\Oru.stravo\\" + name;
    StagedInstall install(options);
    const RunResult run = install.Run(
        L"--silent-oru", {{L"ORU_SETUP_STUB_EXIT_CODE", L"19"}, {L"ORU_SETUP_STUB_REGISTRATION", L"remove"}});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_TRUE(Has(install.SetupTrace(),
                    WideToUtf8(L"--log-file=\"" + options.installPath + L"\\uninstall\\chrome_uninstall.log\"")))
        << install.SetupTrace();
    EXPECT_TRUE(Has(install.FinalLog(), "卸载成功！"));
    EXPECT_TRUE(install.SentinelsIntact());
  }
}

}  // namespace
}  // namespace oru::test
