#include "app/registry_cleanup.h"

#include <gtest/gtest.h>

#include "common/product_keys.h"
#include "product_fixture.h"
#include "support/log_capture.h"

namespace oru {
namespace {

using test::LogCapture;
using test::RegistryKeyExists;
using test::SetRegistryString;

class RegistryCleanupTest : public ::testing::Test {
 protected:
  RegistryCleanupTest() {
    test::DeleteProductKeys();
    SetRegistryString(kProductKey, kInstallPathValue, L"C:\\P");
    SetRegistryString(kUninstallRegistrationKey, kUninstallStringValue, L"C:\\P\\uninstall\\oru_uninstall.exe");
  }
  ~RegistryCleanupTest() override { test::DeleteProductKeys(); }

  static void CreateClassesKey() { SetRegistryString(L"SOFTWARE\\Classes\\orustravo\\shell", L"", L"open"); }
  static void CreateMakerKey() { SetRegistryString(L"SOFTWARE\\Kelvane\\oru.stravo\\sub", L"v", L"1"); }

  // Neither the product key nor its uninstall registration is ever touched.
  static void ExpectOtherProductKeysKept() {
    EXPECT_TRUE(RegistryKeyExists(kProductKey));
    EXPECT_TRUE(RegistryKeyExists(kUninstallRegistrationKey));
  }
};

TEST_F(RegistryCleanupTest, DeletesBothTrees) {
  CreateClassesKey();
  CreateMakerKey();
  LogCapture log;

  EXPECT_TRUE(DeleteProductRegistryEntries());

  EXPECT_FALSE(RegistryKeyExists(kProductClassesKey));
  EXPECT_FALSE(RegistryKeyExists(kMakerProductKey));
  EXPECT_TRUE(RegistryKeyExists(L"SOFTWARE\\Kelvane"));
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{
                             L"Deleting Oru registry entries...",
                             L"Successfully deleted registry key: SOFTWARE\\Classes\\orustravo",
                             L"Successfully deleted registry key: SOFTWARE\\Kelvane\\oru.stravo",
                         }));
  ExpectOtherProductKeysKept();
}

TEST_F(RegistryCleanupTest, MissingFirstKeyLeavesTheSecondInPlace) {
  CreateMakerKey();
  LogCapture log;

  EXPECT_FALSE(DeleteProductRegistryEntries());

  EXPECT_TRUE(RegistryKeyExists(kMakerProductKey));
  EXPECT_EQ(log.Lines(), (std::vector<std::wstring>{
                             L"Deleting Oru registry entries...",
                             L"Registry key not found: SOFTWARE\\Classes\\orustravo",
                         }));
  ExpectOtherProductKeysKept();
}

TEST_F(RegistryCleanupTest, MissingSecondKeyIsAFailureAfterTheFirstIsGone) {
  CreateClassesKey();
  LogCapture log;

  EXPECT_FALSE(DeleteProductRegistryEntries());

  EXPECT_FALSE(RegistryKeyExists(kProductClassesKey));
  EXPECT_TRUE(log.Has(L"Registry key not found: SOFTWARE\\Kelvane\\oru.stravo"));
  ExpectOtherProductKeysKept();
}

}  // namespace
}  // namespace oru
