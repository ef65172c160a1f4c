// A link inside a workspace may point anywhere, the user's documents
// included: deleting or sizing a workspace must never go through it.

#include <gtest/gtest.h>
#include <windows.h>

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
// reparse point, as a junction does on Windows. Wine names the Linux path,
// and starts Linux programs through CreateProcessW, with no handle to wait on.
std::wstring UnixPath(const std::wstring& path) {
  using ToUnix = char*(CDECL*)(const wchar_t*);
  const auto toUnix = GetProcAs<ToUnix>(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
  char* name = toUnix == nullptr ? nullptr : toUnix(path.c_str());
  if (name == nullptr) return {};
  const std::wstring wide = Utf8ToWide(name);
  ::HeapFree(::GetProcessHeap(), 0, name);
  return wide;
}

void RunUnix(const std::wstring& program, const std::wstring& arguments) {
  std::wstring commandLine = L"/bin/" + program + L" " + arguments;
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION info{};
  if (::CreateProcessW((L"Z:\\bin\\" + program).c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                       nullptr, &startup, &info)) {
    UniqueHandle process(info.hProcess), thread(info.hThread);
  }
}

// A directory link made from the Linux side (polled for up to five seconds),
// removed again without touching its target.
class DirectoryLink {
 public:
  DirectoryLink(const std::wstring& link, const std::wstring& target) {
    const size_t slash = link.rfind(L'\\');
    const std::wstring parent = UnixPath(link.substr(0, slash)), unixTarget = UnixPath(target);
    if (parent.empty() || unixTarget.empty()) return;
    unix_ = parent + L"/" + link.substr(slash + 1);
    RunUnix(L"ln", L"-s \"" + unixTarget + L"\" \"" + unix_ + L"\"");
    for (int i = 0; i < 100 && !made_; ++i, ::Sleep(50)) {
      const DWORD attributes = ::GetFileAttributesW(link.c_str());
      made_ = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    }
  }
  ~DirectoryLink() {
    if (!unix_.empty()) RunUnix(L"rm", L"-f \"" + unix_ + L"\"");
  }
  [[nodiscard]] bool Made() const { return made_; }

 private:
  std::wstring unix_;
  bool made_ = false;
};

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
  DirectoryLink stale(std::wstring(temp) + L"OruSetup_4000000009", documents.path());
  if (!inside.Made() || !stale.Made()) GTEST_SKIP() << "directory links can only be made under Wine here";
  test::LogCapture log;

  TempDirectoryManager manager;
  EXPECT_EQ(manager.GetDirectorySize(tree), 10u);
  manager.CleanupStaleDirectories();
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
