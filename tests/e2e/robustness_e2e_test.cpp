// Hostile but possible inputs through the real executable: odd registry
// values and install paths full of characters that break naive quoting.
// None may crash or hang the uninstaller; the exit code stays 0 and the log
// says what happened.

#include <gtest/gtest.h>

#include "staged_install.h"

#include "common/product_keys.h"
#include "common/strings.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

// The bytes of a string value with its terminator.
std::string Sz(const std::wstring& text) {
  return {reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t)};
}

TEST(Robustness, RegistryValuesOfEveryTypeAndLengthEndInAnExplainedResult) {
  constexpr char kMissing[] = "Could not find required installation information";
  constexpr char kNoSetup[] = "setup.exe does not exist: ";
  constexpr char kTooLong[] = "Registry value is too long: pv";
  // Bytes read as text make some version name: one that is no plain folder
  // name counts as missing, any other just names no setup.exe.
  const struct {
    const char* name;
    DWORD type;
    std::string bytes;
    const char* expected;
  } cases[] = {
      {"dword", REG_DWORD, std::string("\x07\0\0\0", 4), kMissing},
      {"binary", REG_BINARY, "\xde\xad\xbe\xef", kNoSetup},
      {"multi", REG_MULTI_SZ, Sz(L"C:\\a") + Sz(L"C:\\b") + std::string(2, '\0'), kMissing},
      {"empty", REG_SZ, Sz(L""), kMissing},
      {"259 characters", REG_SZ, Sz(std::wstring(259, L'v')), kNoSetup},
      {"260 characters", REG_SZ, Sz(std::wstring(260, L'v')), kTooLong},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    StagedInstall install;
    ::RegSetKeyValueW(HKEY_CURRENT_USER, kProductKey, L"pv", c.type, c.bytes.data(),
                      static_cast<DWORD>(c.bytes.size()));
    EXPECT_EQ(install.Run(L"--silent-oru"), 0u);
    const std::string log = install.FinalLog();
    EXPECT_TRUE(Has(log, "Exiting uninstaller, temp directory will be cleaned up...")) << log;
    EXPECT_TRUE(Has(log, c.expected)) << log;
    EXPECT_TRUE(install.SentinelsIntact());
  }
}

TEST(Robustness, InstallPathsWithShellMetacharactersReachSetupIntact) {
  const std::wstring names[] = {L"Oru stravo App", L"Oru's App", L"Oru 100% App",  L"Oru & Co",
                                L"Oru ^ caret",    L"奥如助手",  L"Oru \U0001F600"};
  for (const auto& name : names) {
    SCOPED_TRACE(WideToUtf8(name));
    StageOptions options;
    options.installPath = LocalAppData() + L"\\Oru.stravo\\" + name;
    StagedInstall install(options);
    EXPECT_EQ(install.Run(L"--silent-oru"), 0u);  // setup.exe succeeds and removes the registration
    EXPECT_TRUE(Has(install.SetupTrace(),
                    WideToUtf8(L"--log-file=\"" + options.installPath + L"\\uninstall\\chrome_uninstall.log\"")))
        << install.SetupTrace();
    EXPECT_TRUE(Has(install.FinalLog(), "卸载成功！"));
    EXPECT_TRUE(install.SentinelsIntact());
  }
}

}  // namespace
}  // namespace oru::test
