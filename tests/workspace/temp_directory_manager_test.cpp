#include "workspace/temp_directory_manager.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "common/strings.h"
#include "inject/fault_injector.h"
#include "support/directory_link.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"
#include "workspace/workspace_texts.h"

namespace oru::test {
namespace {

using namespace workspace_text;

constexpr std::uint64_t kRequired = 0x9600000;  // what the uninstaller asks for
constexpr std::uint64_t kThreshold = kRequired + 50 * 1024 * 1024;
constexpr std::uint64_t kPlenty = 1ULL << 40;

std::wstring OwnId() { return std::to_wstring(::GetCurrentProcessId()); }

std::wstring Place1() { return TempFolder() + L"\\OruSetup_" + OwnId(); }
std::wstring Place2() { return LocalAppData() + L"\\OruSetup\\Temp_" + OwnId(); }
std::wstring Place3() { return BinFile(L".OruSetupTemp"); }

// Places 1 and 2, asked first, see `systemDrive` bytes free; place 3 (beside
// the test program, on the test prefix's only drive too) is given plenty.
TempDirectoryManager::FreeSpaceQuery SystemDriveHas(std::uint64_t systemDrive) {
  return [asked = 0, systemDrive](const std::wstring&, std::uint64_t& available) mutable {
    available = ++asked <= 2 ? systemDrive : kPlenty;
    return true;
  };
}

bool IsHidden(const std::wstring& path) { return (::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN) != 0; }

// Leaves none of the places behind, whatever the test did to them.
class WorkspaceTest : public ::testing::Test {
 protected:
  void SetUp() override { RemovePlaces(); }
  void TearDown() override { RemovePlaces(); }
  static void RemovePlaces() {
    for (const auto& place : {Place1(), Place2(), Place3()}) RemoveTree(place);
  }
  LogCapture log;
};

// Exactly the threshold keeps the workspace in %TEMP%, one byte less moves it
// beside the executable; no %TEMP% leads to place 2, whose "tavrin" refused
// leads on to place 3. An earlier run's read-only workspace found there is
// emptied in places 1 and 3 but kept in place 2.
TEST_F(WorkspaceTest, ThePlaceFollowsTheFreeSpaceOfTheSystemDrive) {
  const Fault noTemp{L"GetTempPathW", 0}, noTavrin{L"CreateDirectoryW", 5, 0, Place2() + L"\\tavrin"};
  const auto row = [&](std::uint64_t free, unsigned strategy, const std::wstring& place,
                       const std::vector<Fault>& faults, const std::wstring& line) {
    SCOPED_TRACE(strategy);
    RemovePlaces();
    const std::wstring old = place + L"\\old\\locked.dll";
    ASSERT_TRUE(WriteFileAt(old));
    ::SetFileAttributesW(old.c_str(), FILE_ATTRIBUTE_READONLY);
    ::SetFileAttributesW((place + L"\\old").c_str(), FILE_ATTRIBUTE_READONLY);
    {
      TempDirectoryManager manager(SystemDriveHas(free));
      EXPECT_TRUE(LinesInOrder(LinesUnder(faults, [&] { EXPECT_TRUE(manager.Initialize(kRequired, false)); }), {line}));
      EXPECT_EQ(manager.GetStrategy(), strategy);
      EXPECT_EQ(manager.GetTavrinDirectory(), place + L"\\tavrin");
      EXPECT_TRUE(Exists(place + L"\\tavrin"));
      EXPECT_EQ(Exists(old), strategy == 1);
      EXPECT_EQ(Exists(Place2()), strategy == 1);
      EXPECT_TRUE(strategy != 0 || (IsHidden(place) && IsHidden(place + L"\\tavrin")));
    }
    EXPECT_TRUE(strategy == 1 || !Exists(place)) << "destroying the manager removes the workspace";
  };
  row(kThreshold, 0, Place1(), {}, L"  策略1成功");
  row(kThreshold - 1, 2, Place3(), {}, kDiskSpaceLow);
  row(kPlenty, 1, Place2(), {noTemp}, kTempPathFailed);
  row(kPlenty, 2, Place3(), {noTemp, noTavrin}, L"[WARNING] " + std::wstring(kTavrinFailed));
}

// Other runs' workspaces go, sized, wherever they are; this process's own
// stay. (One named like another run's but a link is an end-to-end row.)
TEST_F(WorkspaceTest, TheStaleCleanupRemovesOtherRunsButNeverThisProcesssOwn) {
  const std::wstring otherTemp = TempFolder() + L"\\OruSetup_4000000001";
  const std::wstring otherLocal = LocalAppData() + L"\\OruSetup\\Temp_4000000002";
  ASSERT_TRUE(WriteFileAt(otherTemp + L"\\tavrin\\tavrin_sdk.dll", std::string(2 * 1024 * 1024, 'x')));
  for (const std::wstring& file : {otherLocal + L"\\tavrin\\dorvid.dll", Place3() + L"\\tavrin\\vantor.dll",
                                   Place1() + L"\\mine.dll", Place2() + L"\\mine.dll"}) {
    ASSERT_TRUE(WriteFileAt(file));
  }
  TempDirectoryManager().CleanupStaleDirectories();
  EXPECT_FALSE(Exists(otherTemp) || Exists(otherLocal) || Exists(Place3()));
  EXPECT_TRUE(Exists(Place1() + L"\\mine.dll") && Exists(Place2() + L"\\mine.dll"));
  EXPECT_TRUE(log.Has(L"  清理: OruSetup_4000000001 (2 MB)"));
}

// A link to the user's documents inside a workspace is neither sized nor
// walked. (The walk is the uninstall's, whose rows take a link handed in.)
TEST(WorkspaceLinks, DeletingOrSizingNeverGoesThroughALink) {
  TempDir documents, dir;
  const std::wstring keep = documents.WriteFile(L"keep.txt", std::string(1000, 'k'));
  const std::wstring tree = dir.Child(L"workspace"), link = tree + L"\\link";
  dir.WriteFile(L"workspace\\own.dll", std::string(10, 'o'));
  DirectoryLink inside(link, documents.path());
  if (!inside.Made()) GTEST_SKIP() << "directory links can only be made under Wine here";
  LogCapture log;
  TempDirectoryManager manager;
  EXPECT_EQ(manager.GetDirectorySize(tree) + manager.GetDirectorySize(link), 10u);
  // Whether the link itself went is not asserted: Wine's RemoveDirectoryW
  // acts on its target, and refuses, the target being full.
  (void)manager.DeleteDirectoryRecursive(tree);
  EXPECT_TRUE(Exists(keep));
  EXPECT_FALSE(Exists(tree + L"\\own.dll"));
  EXPECT_TRUE(log.Has(workspace_text::kDeleteLinkOnly + link));
}

// An earlier workspace that is a link and will not go - Windows denies the
// removal of another user's - is never used through.
TEST(WorkspaceLinks, AnEarlierWorkspaceThatIsALinkAndStaysIsNotUsed) {
  TempDir target, dir;
  DirectoryLink earlier(dir.Child(L"OruSetup_1"), target.path());
  if (!earlier.Made()) GTEST_SKIP() << "directory links can only be made under Wine here";
  const ScopedFault denied{L"RemoveDirectoryW", ERROR_ACCESS_DENIED, 0, L"OruSetup_1"};
  TempDirectoryManager manager;
  EXPECT_FALSE(manager.CreateHiddenDirectory(dir.Child(L"OruSetup_1")));
}

}  // namespace
}  // namespace oru::test
