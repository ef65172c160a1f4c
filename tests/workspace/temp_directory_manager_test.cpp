#include "workspace/temp_directory_manager.h"

#include <gtest/gtest.h>
#include <shlobj.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/strings.h"
#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"
#include "workspace/workspace_texts.h"

namespace oru {
namespace {

using namespace workspace_text;
using test::Exists;
using test::LogCapture;
using test::TempDir;

constexpr std::uint64_t kRequired = 0x9600000;  // what the uninstaller asks for
constexpr std::uint64_t kThreshold = kRequired + 50 * 1024 * 1024;
constexpr std::uint64_t kPlenty = 1ULL << 40;

std::wstring OwnId() { return std::to_wstring(::GetCurrentProcessId()); }

std::wstring SystemTemp() {
  wchar_t temp[MAX_PATH] = {};
  const DWORD length = ::GetTempPathW(MAX_PATH, temp);
  return std::wstring(temp, length - 1);  // without its trailing backslash
}

std::wstring LocalAppData() {
  wchar_t path[MAX_PATH] = {};
  ::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path);
  return path;
}

std::wstring Place1() { return SystemTemp() + L"\\OruSetup_" + OwnId(); }
std::wstring Place2() { return LocalAppData() + L"\\OruSetup\\Temp_" + OwnId(); }
std::wstring Place3() { return test::BinFile(L".OruSetupTemp"); }

// The system drive (places 1 and 2) reports `systemDrive` bytes free; the
// drive of the test programs (place 3) has plenty.
TempDirectoryManager::FreeSpaceQuery SystemDriveHas(std::uint64_t systemDrive) {
  const std::wstring systemRoot = SystemTemp().substr(0, 3);
  return [=](const std::wstring& root, std::uint64_t& available) {
    available = EqualsIgnoreCase(root, systemRoot) ? systemDrive : kPlenty;
    return true;
  };
}

// Writes a file at a full path, creating its folders.
bool WriteFileAt(const std::wstring& path, const std::string& content = "x") {
  std::error_code ec;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ec);
  std::ofstream out(std::filesystem::path(path), std::ios::binary);
  out << content;
  return out.good();
}

bool IsHidden(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
}

// Leaves none of the places behind, whatever the test did to them.
class WorkspaceTest : public ::testing::Test {
 protected:
  void SetUp() override { RemovePlaces(); }
  void TearDown() override { RemovePlaces(); }
  static void RemovePlaces() {
    for (const auto& place : {Place1(), Place2(), Place3()}) {
      ::SetFileAttributesW(place.c_str(), FILE_ATTRIBUTE_NORMAL);
      ::DeleteFileW(place.c_str());
      test::RemoveTree(place);
    }
  }
  LogCapture log;
};

TEST(WorkspaceDiskSpace, ExactlyTheThresholdPassesAndOneByteLessFails) {
  LogCapture log;
  TempDirectoryManager enough([](const std::wstring&, std::uint64_t& available) {
    available = kThreshold;
    return true;
  });
  EXPECT_TRUE(enough.CheckDiskSpace(L"C:\\work", kRequired));
  EXPECT_TRUE(log.Has(L"  磁盘空间检查通过: 200 MB"));

  TempDirectoryManager short_by_one([](const std::wstring&, std::uint64_t& available) {
    available = kThreshold - 1;
    return true;
  });
  EXPECT_FALSE(short_by_one.CheckDiskSpace(L"C:\\work", kRequired));
  EXPECT_TRUE(log.Has(L"  可用空间: 199 MB"));
  EXPECT_TRUE(log.Has(std::wstring(kNeededSpace) + L"200 MB"));
}

TEST(WorkspaceDiskSpace, AsksForTheDriveRootOrForAPathWithoutDriveWhole) {
  std::wstring asked;
  TempDirectoryManager manager([&](const std::wstring& root, std::uint64_t& available) {
    asked = root;
    available = kPlenty;
    return true;
  });
  EXPECT_TRUE(manager.CheckDiskSpace(L"D:\\deep\\folder", 0));
  EXPECT_EQ(asked, L"D:\\");
  EXPECT_TRUE(manager.CheckDiskSpace(L"\\\\server\\share\\folder", 0));
  EXPECT_EQ(asked, L"\\\\server\\share\\folder");
}

TEST(WorkspaceDiskSpace, TheSystemFigureIsReadAndAnUnknownVolumeFails) {
  LogCapture log;
  TempDirectoryManager manager;
  EXPECT_TRUE(manager.CheckDiskSpace(SystemTemp(), 0));
  EXPECT_TRUE(log.HasFragment(kDiskSpacePassed));
  EXPECT_FALSE(manager.CheckDiskSpace(L"\\\\nowhere\\missing\\folder", 0));
  EXPECT_TRUE(log.HasFragment(kFreeSpaceQueryFailed));
}

TEST_F(WorkspaceTest, ExactlyTheThresholdIsEnoughForTheSystemTemporaryFolder) {
  TempDirectoryManager manager(SystemDriveHas(kThreshold));
  ASSERT_TRUE(manager.Initialize(kRequired, false));
  EXPECT_EQ(manager.GetStrategy(), 0u);
  EXPECT_EQ(manager.GetTempDirectory(), Place1());
  EXPECT_EQ(manager.GetTavrinDirectory(), Place1() + L"\\tavrin");
  EXPECT_TRUE(IsHidden(Place1()));
  EXPECT_TRUE(IsHidden(Place1() + L"\\tavrin"));
  EXPECT_TRUE(log.Has(L"使用策略: 系统临时目录"));
}

TEST_F(WorkspaceTest, TooLittleSpaceOnTheSystemDriveFallsBackBesideTheExecutable) {
  {
    TempDirectoryManager manager(SystemDriveHas(kThreshold - 1));
    ASSERT_TRUE(manager.Initialize(kRequired, false));
    EXPECT_EQ(manager.GetStrategy(), 2u);
    EXPECT_EQ(manager.GetTempDirectory(), Place3());
    EXPECT_TRUE(Exists(Place3() + L"\\tavrin"));
    EXPECT_FALSE(Exists(Place1()));
    EXPECT_FALSE(Exists(Place2()));
    EXPECT_EQ(log.Count(kDiskSpaceLow), 2u);
    EXPECT_TRUE(log.Has(std::wstring(L"[WARNING] ") + kStrategyFallback));
    EXPECT_TRUE(log.Has(kFallbackDirectory + Place3()));
  }
  // Destroying the manager removes the workspace.
  EXPECT_FALSE(Exists(Place3()));
  EXPECT_TRUE(log.Has(kCleanupSucceeded + Place3()));
}

TEST_F(WorkspaceTest, NoPlaceWorkingFailsAndLeavesNothingToStage) {
  TempDirectoryManager manager([](const std::wstring&, std::uint64_t&) {
    ::SetLastError(ERROR_NOT_READY);
    return false;
  });
  EXPECT_FALSE(manager.Initialize(kRequired, false));
  EXPECT_EQ(log.Count(L"GetDiskFreeSpaceEx() 失败，错误码: 21"), 3u);
  EXPECT_TRUE(log.Has(L"[ERROR] 无法创建临时目录，所有策略都失败"));
  EXPECT_FALSE(manager.CopyTavrinFiles(test::BinDir()));
  EXPECT_TRUE(log.Has(L"[ERROR] TempDirectoryManager 未初始化"));
}

TEST_F(WorkspaceTest, AWorkspaceStillInUseAtExitIsLeftForALaterRun) {
  TempDirectoryManager manager(SystemDriveHas(kPlenty));
  ASSERT_TRUE(manager.Initialize(kRequired, false));
  const std::wstring loaded = manager.GetTavrinDirectory() + L"\\tavrin_sdk.dll";
  ASSERT_TRUE(WriteFileAt(loaded));
  auto holder = test::ChildProcess::HoldFile(loaded);
  ASSERT_TRUE(holder.Running());

  manager.Cleanup();
  EXPECT_TRUE(Exists(loaded));
  EXPECT_TRUE(log.Has(L"[WARNING] " + (kCleanupFailed + Place1())));
  holder.Kill();
}

TEST_F(WorkspaceTest, ASecondInitializeChangesNothing) {
  TempDirectoryManager manager(SystemDriveHas(kPlenty));
  ASSERT_TRUE(manager.Initialize(kRequired, false));
  const std::wstring marker = manager.GetTavrinDirectory() + L"\\staged.dll";
  ASSERT_TRUE(WriteFileAt(marker));
  LogCapture second;

  EXPECT_TRUE(manager.Initialize(0, true));
  EXPECT_EQ(second.Lines(), std::vector<std::wstring>{L"[WARNING] TempDirectoryManager already initialized"});
  EXPECT_EQ(manager.GetTempDirectory(), Place1());
  EXPECT_TRUE(Exists(marker));
}

TEST_F(WorkspaceTest, AnExistingWorkspaceInTheSystemTemporaryFolderIsEmptiedAndRecreated) {
  // A read-only file in a read-only subdirectory: both still go.
  ASSERT_TRUE(WriteFileAt(Place1() + L"\\old\\locked.dll"));
  ::SetFileAttributesW((Place1() + L"\\old\\locked.dll").c_str(), FILE_ATTRIBUTE_READONLY);
  ::SetFileAttributesW((Place1() + L"\\old").c_str(), FILE_ATTRIBUTE_READONLY);

  TempDirectoryManager manager(SystemDriveHas(kPlenty));
  ASSERT_TRUE(manager.Initialize(kRequired, false));
  EXPECT_EQ(manager.GetStrategy(), 0u);
  EXPECT_FALSE(Exists(Place1() + L"\\old"));
  EXPECT_TRUE(Exists(manager.GetTavrinDirectory()));
  EXPECT_TRUE(log.Has(kHiddenExistsDeleting + Place1()));
  EXPECT_TRUE(log.Has(kHiddenDeletedExisting));
}

TEST_F(WorkspaceTest, AnExistingWorkspaceBesideTheExecutableIsEmptiedAndRecreated) {
  ASSERT_TRUE(WriteFileAt(Place3() + L"\\old.dll"));
  TempDirectoryManager manager(SystemDriveHas(0));
  ASSERT_TRUE(manager.Initialize(kRequired, false));
  EXPECT_EQ(manager.GetStrategy(), 2u);
  EXPECT_FALSE(Exists(Place3() + L"\\old.dll"));
  EXPECT_TRUE(Exists(manager.GetTavrinDirectory()));
}

TEST_F(WorkspaceTest, AnUnwritableTemporaryFolderFallsThroughToLocalAppDataWhereAWorkspaceIsKept) {
  // A file where the workspace directory should be: the directory "exists"
  // for CreateDirectoryW, but nothing can be written into it.
  ASSERT_TRUE(WriteFileAt(Place1()));
  ASSERT_TRUE(WriteFileAt(Place2() + L"\\kept.txt"));

  TempDirectoryManager manager(SystemDriveHas(kPlenty));
  ASSERT_TRUE(manager.Initialize(kRequired, false));
  EXPECT_EQ(manager.GetStrategy(), 1u);
  EXPECT_EQ(manager.GetTempDirectory(), Place2());
  EXPECT_TRUE(Exists(Place2() + L"\\kept.txt"));
  EXPECT_TRUE(IsHidden(Place2()));

  const long tried1 = log.IndexOf(L"尝试策略1: 系统临时目录");
  const long writeFailed = log.IndexOf(kWriteTestFailedShort);
  const long tried2 = log.IndexOf(L"尝试策略2: LocalAppData目录");
  ASSERT_GE(tried1, 0);
  EXPECT_GT(writeFailed, tried1);
  EXPECT_GT(tried2, writeFailed);
  EXPECT_TRUE(log.HasFragment(kWriteTestFailed));
  EXPECT_TRUE(log.Has(L"使用策略: LocalAppData目录"));
}

TEST_F(WorkspaceTest, TheStaleCleanupRemovesOtherRunsButNeverThisProcesssOwn) {
  const std::wstring otherTemp = SystemTemp() + L"\\OruSetup_4000000001";
  const std::wstring otherLocal = LocalAppData() + L"\\OruSetup\\Temp_4000000002";
  const std::wstring notADirectory = SystemTemp() + L"\\OruSetup_4000000003";
  ASSERT_TRUE(WriteFileAt(otherTemp + L"\\tavrin\\tavrin_sdk.dll", std::string(2 * 1024 * 1024, 'x')));
  ASSERT_TRUE(WriteFileAt(otherLocal + L"\\tavrin\\dorvid.dll"));
  ASSERT_TRUE(WriteFileAt(Place3() + L"\\tavrin\\vantor.dll"));
  ASSERT_TRUE(WriteFileAt(Place1() + L"\\mine.dll"));
  ASSERT_TRUE(WriteFileAt(Place2() + L"\\mine.dll"));
  ASSERT_TRUE(WriteFileAt(notADirectory));

  TempDirectoryManager manager;
  manager.CleanupStaleDirectories();

  EXPECT_FALSE(Exists(otherTemp));
  EXPECT_FALSE(Exists(otherLocal));
  EXPECT_FALSE(Exists(Place3()));
  EXPECT_TRUE(Exists(Place1() + L"\\mine.dll"));
  EXPECT_TRUE(Exists(Place2() + L"\\mine.dll"));
  EXPECT_TRUE(Exists(notADirectory));
  EXPECT_TRUE(log.Has(L"  清理: OruSetup_4000000001 (2 MB)"));
  EXPECT_TRUE(log.Has(L"  清理: Temp_4000000002 (0 MB)"));
  EXPECT_TRUE(log.Has(L"  清理: .OruSetupTemp (0 MB)"));
  EXPECT_TRUE(log.HasFragment(kStaleDone));
  ::DeleteFileW(notADirectory.c_str());

  LogCapture again;
  manager.CleanupStaleDirectories();
  EXPECT_TRUE(again.Has(L"未发现旧的残留目录"));
}

TEST(WorkspaceDeletion, ReadOnlyFilesAndFoldersAreDeletedAndCounted) {
  LogCapture log;
  TempDir dir;
  const std::wstring root = dir.MakeDir(L"workspace");
  const std::wstring file = dir.WriteFile(L"workspace\\tavrin\\tavrin_sdk.dll");
  dir.WriteFile(L"workspace\\top.log");
  ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
  ::SetFileAttributesW((root + L"\\tavrin").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);

  TempDirectoryManager manager;
  EXPECT_TRUE(manager.DeleteDirectoryRecursive(root));
  EXPECT_FALSE(Exists(root));
  EXPECT_TRUE(log.Has(L"      删除1 个文 1 个子目录"));
  EXPECT_TRUE(log.Has(L"      删除1 个文 0 个子目录"));

  EXPECT_FALSE(manager.DeleteDirectoryRecursive(root));
  EXPECT_TRUE(log.Has(L"      FindFirstFile 失败，错误码: 3") || log.Has(L"      FindFirstFile 失败，错误码: 2"));
  EXPECT_FALSE(manager.DeleteDirectoryRecursive(L""));
  EXPECT_TRUE(log.Has(kDeleteEmptyPath));
}

TEST(WorkspaceDeletion, DirectoryTreesAreCreatedWithTheirParentsAndSized) {
  TempDir dir;
  TempDirectoryManager manager;
  const std::wstring deep = dir.Child(L"a\\b\\c");
  EXPECT_TRUE(manager.CreateDirectoryTree(deep));
  EXPECT_TRUE(Exists(deep));
  EXPECT_TRUE(manager.CreateDirectoryTree(deep));  // an existing one is fine

  dir.WriteFile(L"a\\one.bin", std::string(1000, 'x'));
  dir.WriteFile(L"a\\b\\c\\two.bin", std::string(24, 'x'));
  EXPECT_EQ(manager.GetDirectorySize(dir.Child(L"a")), 1024u);
  EXPECT_EQ(manager.GetDirectorySize(dir.Child(L"missing")), 0u);

  LogCapture log;
  dir.WriteFile(L"blocker");
  EXPECT_FALSE(manager.CreateDirectoryTree(dir.Child(L"blocker\\sub")));
  EXPECT_TRUE(log.HasFragment(L"创建最终目录失败"));
}

}  // namespace
}  // namespace oru
