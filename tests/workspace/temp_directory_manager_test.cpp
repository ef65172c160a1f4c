#include "workspace/temp_directory_manager.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "common/strings.h"
#include "inject/fault_injector.h"
#include "support/child_process.h"
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

// Exactly the threshold keeps the workspace in the system temporary folder;
// one byte less moves it beside the executable; no temporary folder leads to
// place 2, and a place 2 whose "tavrin" cannot be made, removed again, to
// place 3. An earlier run's workspace found there, a read-only file in a
// read-only folder, is emptied in places 1 and 3 but kept in place 2.
TEST_F(WorkspaceTest, ThePlaceFollowsTheFreeSpaceOfTheSystemDrive) {
  const Fault noTemp{L"GetTempPathW", 0};
  const struct {
    std::uint64_t free;
    unsigned strategy;
    std::wstring place;
    std::vector<Fault> faults;
    std::wstring line;
  } cases[] = {{kThreshold, 0, Place1(), {}, L"  策略1成功"},
               {kThreshold - 1, 2, Place3(), {}, kDiskSpaceLow},
               {kPlenty, 1, Place2(), {noTemp}, kTempPathFailed},
               {kPlenty,
                2,
                Place3(),
                {noTemp, {L"CreateDirectoryW", 5, 0, Place2() + L"\\tavrin"}},
                L"[WARNING] " + std::wstring(kTavrinFailed)}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.strategy);
    RemovePlaces();
    const std::wstring old = c.place + L"\\old\\locked.dll";
    ASSERT_TRUE(WriteFileAt(old));
    ::SetFileAttributesW(old.c_str(), FILE_ATTRIBUTE_READONLY);
    ::SetFileAttributesW((c.place + L"\\old").c_str(), FILE_ATTRIBUTE_READONLY);
    {
      TempDirectoryManager manager(SystemDriveHas(c.free));
      EXPECT_TRUE(
          LinesInOrder(LinesUnder(c.faults, [&] { EXPECT_TRUE(manager.Initialize(kRequired, false)); }), {c.line}));
      EXPECT_EQ(manager.GetStrategy(), c.strategy);
      EXPECT_EQ(manager.GetTavrinDirectory(), c.place + L"\\tavrin");
      EXPECT_TRUE(Exists(c.place + L"\\tavrin"));
      EXPECT_EQ(Exists(old), c.strategy == 1);
      EXPECT_EQ(Exists(Place2()), c.strategy == 1);
      EXPECT_TRUE(c.strategy != 0 || (IsHidden(c.place) && IsHidden(c.place + L"\\tavrin")));
    }
    EXPECT_TRUE(c.strategy == 1 || !Exists(c.place)) << "destroying the manager removes the workspace";
  }
}

TEST_F(WorkspaceTest, ASecondInitializeChangesNothingAndAWorkspaceInUseIsLeftAtExit) {
  TempDirectoryManager manager(SystemDriveHas(kPlenty));
  ASSERT_TRUE(manager.Initialize(kRequired, false));
  const std::wstring loaded = manager.GetTavrinDirectory() + L"\\tavrin_sdk.dll";
  ASSERT_TRUE(WriteFileAt(loaded));

  EXPECT_TRUE(manager.Initialize(0, true));
  EXPECT_EQ(manager.GetTempDirectory(), Place1());
  EXPECT_TRUE(Exists(loaded));
  EXPECT_TRUE(log.Has(L"[WARNING] TempDirectoryManager already initialized"));

  auto holder = ChildProcess::HoldFile(loaded);
  ASSERT_TRUE(holder.Running());
  manager.Cleanup();
  EXPECT_TRUE(Exists(loaded));
  EXPECT_TRUE(log.Has(L"[WARNING] " + (kCleanupFailed + Place1())));
}

TEST_F(WorkspaceTest, TheStaleCleanupRemovesOtherRunsButNeverThisProcesssOwn) {
  const std::wstring otherTemp = TempFolder() + L"\\OruSetup_4000000001";
  const std::wstring otherLocal = LocalAppData() + L"\\OruSetup\\Temp_4000000002";
  ASSERT_TRUE(WriteFileAt(otherTemp + L"\\tavrin\\tavrin_sdk.dll", std::string(2 * 1024 * 1024, 'x')));
  ASSERT_TRUE(WriteFileAt(otherLocal + L"\\tavrin\\dorvid.dll"));
  ASSERT_TRUE(WriteFileAt(Place3() + L"\\tavrin\\vantor.dll"));
  ASSERT_TRUE(WriteFileAt(Place1() + L"\\mine.dll"));
  ASSERT_TRUE(WriteFileAt(Place2() + L"\\mine.dll"));

  TempDirectoryManager manager;
  manager.CleanupStaleDirectories();

  EXPECT_FALSE(Exists(otherTemp));
  EXPECT_FALSE(Exists(otherLocal));
  EXPECT_FALSE(Exists(Place3()));
  EXPECT_TRUE(Exists(Place1() + L"\\mine.dll"));
  EXPECT_TRUE(Exists(Place2() + L"\\mine.dll"));
  EXPECT_TRUE(log.Has(L"  清理: OruSetup_4000000001 (2 MB)"));
}

// A link to the user's documents inside a workspace must leave the documents
// whole. (One named like another run's workspace is an end-to-end row.)
TEST(WorkspaceLinks, DeletingOrSizingNeverGoesThroughALink) {
  TempDir documents;
  const std::wstring keep = documents.WriteFile(L"keep.txt", std::string(1000, 'k'));
  TempDir dir;
  const std::wstring tree = dir.MakeDir(L"workspace");
  dir.WriteFile(L"workspace\\own.dll", std::string(10, 'o'));
  DirectoryLink inside(tree + L"\\link", documents.path());
  if (!inside.Made()) GTEST_SKIP() << "directory links can only be made under Wine here";
  LogCapture log;

  TempDirectoryManager manager;
  EXPECT_EQ(manager.GetDirectorySize(tree), 10u);
  // A link passed in itself is neither sized nor walked.
  EXPECT_EQ(manager.GetDirectorySize(tree + L"\\link"), 0u);
  (void)manager.DeleteDirectoryRecursive(tree + L"\\link");
  EXPECT_TRUE(Exists(keep));
  (void)manager.DeleteDirectoryRecursive(tree);
  // Wine's RemoveDirectoryW acts on the link's target rather than on the link
  // (it refuses, the target being full), so whether the link itself went is
  // not asserted here; on Windows it goes.
  EXPECT_TRUE(Exists(keep));
  EXPECT_FALSE(Exists(tree + L"\\own.dll"));
  EXPECT_TRUE(log.Has(workspace_text::kDeleteLinkOnly + tree + L"\\link"));
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
