// A link inside a workspace may point anywhere, the user's documents
// included: deleting or sizing a workspace must never go through it.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <string>

#include "common/strings.h"
#include "common/unique_handle.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "workspace/temp_directory_manager.h"
#include "workspace/workspace_texts.h"

namespace oru {
namespace {

using test::Exists;
using test::TempDir;

// Under Wine a Linux symbolic link to a directory shows as a directory
// reparse point, as a junction does on Windows. The wine kernel32 names the
// Linux path; Linux programs start through CreateProcessW like any other.
std::wstring UnixPath(const std::wstring& path) {
  using ToUnix = char*(CDECL*)(const wchar_t*);
  const auto toUnix = GetProcAs<ToUnix>(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
  if (toUnix == nullptr) return {};
  char* name = toUnix(path.c_str());
  if (name == nullptr) return {};
  std::wstring wide = Utf8ToWide(name);
  ::HeapFree(::GetProcessHeap(), 0, name);
  return wide;
}

// Starts a Linux program. Wine hands back no process handle to wait on, so
// callers poll for the program's effect instead.
bool StartUnix(const std::wstring& program, const std::wstring& arguments) {
  std::wstring image = L"Z:" + program;
  std::replace(image.begin(), image.end(), L'/', L'\\');
  std::wstring commandLine = program + L" " + arguments;
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION info{};
  if (!::CreateProcessW(image.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &info)) {
    return false;
  }
  UniqueHandle process(info.hProcess);
  UniqueHandle thread(info.hThread);
  return true;
}

bool IsLinkNow(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Polls for up to five seconds.
template <typename Condition>
bool Eventually(Condition condition) {
  for (int i = 0; i < 100; ++i) {
    if (condition()) return true;
    ::Sleep(50);
  }
  return condition();
}

// A directory link made from the Linux side; removed again on destruction
// without touching its target.
class DirectoryLink {
 public:
  DirectoryLink(const std::wstring& link, const std::wstring& target) : link_(link) {
    const size_t slash = link.rfind(L'\\');
    const std::wstring parent = UnixPath(link.substr(0, slash));
    const std::wstring unixTarget = UnixPath(target);
    if (parent.empty() || unixTarget.empty()) return;
    unixLink_ = parent + L"/" + link.substr(slash + 1);
    if (StartUnix(L"/bin/ln", L"-s \"" + unixTarget + L"\" \"" + unixLink_ + L"\"")) {
      made_ = Eventually([&] { return IsLinkNow(link_); });
    }
  }
  ~DirectoryLink() {
    if (unixLink_.empty() || !StartUnix(L"/bin/rm", L"-f \"" + unixLink_ + L"\"")) return;
    Eventually([&] { return ::GetFileAttributesW(link_.c_str()) == INVALID_FILE_ATTRIBUTES; });
  }
  [[nodiscard]] bool Made() const { return made_; }

 private:
  std::wstring link_;
  std::wstring unixLink_;
  bool made_ = false;
};

#define REQUIRE_LINK(link) \
  if (!(link).Made()) GTEST_SKIP() << "directory links can only be made under Wine here"

// The target must outlive everything, so it lives in a folder of its own.
struct LinkedTarget {
  LinkedTarget() {
    path = dir.MakeDir(L"documents");
    keep = dir.WriteFile(L"documents\\keep.txt", std::string(1000, 'k'));
  }
  TempDir dir;
  std::wstring path;
  std::wstring keep;
};

TEST(WorkspaceLinks, DeletingAWorkspaceRemovesALinkButNotWhatItPointsTo) {
  LinkedTarget target;
  TempDir dir;
  const std::wstring tree = dir.MakeDir(L"workspace");
  dir.WriteFile(L"workspace\\own.dll");
  DirectoryLink link(tree + L"\\link", target.path);
  REQUIRE_LINK(link);
  test::LogCapture log;

  TempDirectoryManager manager;
  manager.DeleteDirectoryRecursive(tree);
  // Wine's RemoveDirectoryW acts on the link's target rather than on the link
  // (it refuses, the target being full), so whether the link itself went is
  // not asserted here; on Windows it goes.
  EXPECT_TRUE(Exists(target.keep));
  EXPECT_FALSE(Exists(tree + L"\\own.dll"));
  EXPECT_TRUE(log.Has(workspace_text::kDeleteLinkOnly + tree + L"\\link"));

  manager.DeleteDirectoryRecursive(tree + L"\\link");
  EXPECT_TRUE(Exists(target.keep));
}

TEST(WorkspaceLinks, TheSizeOfAWorkspaceDoesNotCountWhatALinkPointsTo) {
  LinkedTarget target;
  TempDir dir;
  const std::wstring tree = dir.MakeDir(L"workspace");
  dir.WriteFile(L"workspace\\own.dll", std::string(10, 'o'));
  DirectoryLink link(tree + L"\\link", target.path);
  REQUIRE_LINK(link);

  TempDirectoryManager manager;
  EXPECT_EQ(manager.GetDirectorySize(tree), 10u);
  EXPECT_EQ(manager.GetDirectorySize(tree + L"\\link"), 0u);
}

TEST(WorkspaceLinks, TheStaleCleanupNeverFollowsALinkNamedLikeAWorkspace) {
  LinkedTarget target;
  wchar_t temp[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, temp);
  DirectoryLink link(std::wstring(temp) + L"OruSetup_4000000009", target.path);
  REQUIRE_LINK(link);

  TempDirectoryManager manager;
  manager.CleanupStaleDirectories();
  EXPECT_TRUE(Exists(target.keep));
}

}  // namespace
}  // namespace oru
