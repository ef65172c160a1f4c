#include "sys/dll_loader.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru {
namespace {

// A library is taken by its full path only: a relative name is refused though
// the current directory holds the library, so that no search picks a copy.
TEST(DllLoader, TakesALibraryByItsFullPathOnly) {
  const test::TempDir dir;
  const std::wstring library = dir.Child(L"tavrin_sdk.dll");
  ASSERT_TRUE(::CopyFileW(test::BinFile(L"tavrin_sdk.dll").c_str(), library.c_str(), FALSE));
  ASSERT_TRUE(::SetCurrentDirectoryW(dir.path().c_str()));
  const test::LogCapture log;
  for (const std::wstring relative : {L"tavrin_sdk.dll", L".\\tavrin_sdk.dll", L"C:tavrin_sdk.dll"}) {
    EXPECT_EQ(DllLoader(relative).module(), nullptr);
    EXPECT_TRUE(log.HasFragment(L"[WARNING] Refused to load a DLL not named by an absolute local path: " + relative));
  }
  EXPECT_NE(DllLoader(library).module(), nullptr);
  ::SetCurrentDirectoryW(test::BinDir().c_str());  // so that the folder can go
}

}  // namespace
}  // namespace oru
