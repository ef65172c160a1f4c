#include "remove/self_delete_decision.h"

#include <vector>

#include "common/directory_entries.h"
#include "common/links.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "remove/remains_removal.h"
#include "remove/self_delete_script.h"
#include "sys/child_process.h"
#include "sys/path_forms.h"

namespace oru {
namespace {

constexpr std::wstring_view kNotStarted = L"Self-deleting script not started, the installation directory stays: ";

void ListRemainingContents(const std::wstring& installPath) {
  std::vector<std::wstring> lines;
  const bool listed = ForEachEntry(installPath, [&](const DirectoryEntry& entry) {
    lines.push_back(JoinWide({L"  ", entry.IsDirectory() ? L"[DIR]" : L"[FILE]", L" ", entry.name}));
    return true;
  });
  if (!listed) return;
  LogInfo(L"安装目录下的剩余内容:");
  for (const std::wstring& line : lines) LogInfo(line);
}

// Why the script must not start for installPath, or empty. Paths are
// compared in their canonical forms, so that a short or differently cased
// record is judged as what it names. Everything the script's command line
// will carry is checked here, before anything is removed: a script that
// cannot start must not leave the installation half gone.
std::wstring SelfDeleteRefusal(const std::wstring& installPath, const std::wstring& ownDirectory,
                               const std::wstring& workspace, const std::wstring& workingFolder) {
  const std::wstring ownFolder = JoinWide({installPath, L"\\", kUninstallFolderName});
  const std::wstring canonicalOwn = CanonicalPathForm(ownDirectory);
  if (canonicalOwn.empty() || !EqualsIgnoreCase(canonicalOwn, CanonicalPathForm(ownFolder))) {
    return L"the uninstaller does not run from " + ownFolder;
  }
  if (workingFolder.empty()) return L"the run has no empty working folder to start it in";
  for (const std::wstring& path : {installPath, workingFolder, workspace}) {
    if (path.find(L'%') != std::wstring::npos)
      return L"a path it would be handed holds %, which it would expand: " + path;
  }
  std::wstring offender = IsReparsePoint(installPath) ? installPath : std::wstring();
  if (!offender.empty() || !IsTreeFreeOfLinks(installPath, offender)) {
    return L"a link, or a folder that cannot be listed, lies in it: " + offender;
  }
  return {};
}

// The canonical forms of what the run still uses when the script is due.
// Empty when one of them has none.
std::vector<std::wstring> CanonicalForms(const std::wstring& ownExecutable,
                                         const std::vector<std::wstring>& stillInUse) {
  std::vector<std::wstring> inUse;
  std::vector<std::wstring> paths = stillInUse;
  paths.push_back(ownExecutable);
  for (const std::wstring& path : paths) {
    if (path.empty()) continue;
    std::wstring canonical = CanonicalPathForm(path);
    if (canonical.empty()) {
      LogWarning(JoinWide({kNotStarted, L"no canonical form for ", path}));
      return {};
    }
    inUse.push_back(std::move(canonical));
  }
  return inUse;
}

}  // namespace

bool StartSelfDeleteIfOnlyUninstallerLeft(const std::wstring& installPath, const std::wstring& ownExecutable,
                                          const std::wstring& workspace) {
  LogInfo(L"检查是否需要自毁卸载，安装路径: " + installPath);
  if (NeedsSelfDeleteUninstall(installPath)) {
    const std::wstring workingFolder = ChildWorkingDirectory();
    const std::wstring refusal =
        SelfDeleteRefusal(installPath, std::wstring(FolderPart(ownExecutable)), workspace, workingFolder);
    if (!refusal.empty()) {
      LogWarning(JoinWide({kNotStarted, refusal}));
      return false;
    }
    const std::wstring canonicalInstall = CanonicalPathForm(installPath);
    if (canonicalInstall.empty()) {
      LogWarning(JoinWide({kNotStarted, L"no canonical form for ", installPath}));
      return false;
    }
    const std::vector<std::wstring> inUse = CanonicalForms(ownExecutable, {workspace, workingFolder});
    if (inUse.empty()) return false;
    LogInfo(L"✅ 需要自毁卸载！开始执行自毁脚本...");
    LogInfo(L"Removing what is left below the installation directory before the script starts: " + canonicalInstall);
    (void)DeleteRemainsExcept(canonicalInstall, inUse);
    if (!CreateAndRunSelfDeleteDirScript(installPath, workspace)) {
      LogWarning(JoinWide({kNotStarted, L"it could not be written or started"}));
      return false;
    }
    LogInfo(L"自毁脚本已启动（延迟2秒后执行）");
    return true;
  }
  LogInfo(L"❌ 不需要自毁卸载！安装目录下还有其他文件或文件夹");
  // Without an install path "\*" would list the current drive's root, which
  // is not the product's: nothing to show then.
  if (!installPath.empty()) ListRemainingContents(installPath);
  return false;
}

}  // namespace oru
