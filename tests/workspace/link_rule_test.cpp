// A link inside a workspace may point anywhere, the user's documents
// included: deleting or sizing a workspace must never go through it.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "support/directory_link.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "workspace/temp_directory_manager.h"
#include "workspace/workspace_texts.h"

namespace oru {
namespace {

using test::DirectoryLink;
using test::Exists;
using test::TempDir;

// Links to the user's documents, one inside a workspace and one named like
// another run's workspace, must leave the documents whole.
TEST(WorkspaceLinks, DeletingSizingOrCleaningUpNeverGoesThroughALink) {
  TempDir documents;
  const std::wstring keep = documents.WriteFile(L"keep.txt", std::string(1000, 'k'));
  TempDir dir;
  const std::wstring tree = dir.MakeDir(L"workspace");
  dir.WriteFile(L"workspace\\own.dll", std::string(10, 'o'));
  DirectoryLink inside(tree + L"\\link", documents.path());
  wchar_t temp[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, temp);
  const std::wstring staleName = std::wstring(temp) + L"OruSetup_4000000009";
  DirectoryLink stale(staleName, documents.path());
  if (!inside.Made() || !stale.Made()) GTEST_SKIP() << "directory links can only be made under Wine here";
  test::LogCapture log;

  TempDirectoryManager manager;
  EXPECT_EQ(manager.GetDirectorySize(tree), 10u);
  manager.CleanupStaleDirectories();
  EXPECT_TRUE(Exists(keep));
  // A link passed in itself is neither sized nor walked.
  EXPECT_EQ(manager.GetDirectorySize(staleName), 0u);
  manager.DeleteDirectoryRecursive(staleName);
  EXPECT_TRUE(Exists(keep));
  manager.DeleteDirectoryRecursive(tree);
  // Wine's RemoveDirectoryW acts on the link's target rather than on the link
  // (it refuses, the target being full), so whether the link itself went is
  // not asserted here; on Windows it goes.
  EXPECT_TRUE(Exists(keep));
  EXPECT_FALSE(Exists(tree + L"\\own.dll"));
  EXPECT_TRUE(log.Has(workspace_text::kDeleteLinkOnly + tree + L"\\link"));
}

}  // namespace
}  // namespace oru
