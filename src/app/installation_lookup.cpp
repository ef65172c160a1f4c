#include "app/installation_lookup.h"

#include "app/browser_removal.h"
#include "common/links.h"
#include "common/path_rules.h"
#include "common/product_keys.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "sys/known_folders.h"
#include "sys/path_forms.h"
#include "sys/registry.h"

namespace oru {
namespace {

// The record's own text first; then the same rules on where the install path
// really is, held against where the protected folders really are, so that
// neither a short name nor a linked parent folder can dress up a folder of
// the user's; then no link from the installation directory down to
// setup.exe, which would run or delete what it points to.
std::wstring Refusal(const InstallationRecord& record) {
  std::vector<std::wstring> protectedFolders = ProtectedFolders();
  std::wstring refusal = InstallationRecordRefusal(record, protectedFolders);
  if (!refusal.empty()) return refusal;
  const std::wstring real = RealPathForm(record.install_path);
  if (real.empty()) return L"where the path really leads cannot be told";
  for (size_t i = 0, count = protectedFolders.size(); i < count; ++i) {
    const std::wstring realFolder = RealPathForm(protectedFolders[i]);
    if (!realFolder.empty()) protectedFolders.push_back(realFolder);
  }
  refusal = InstallationRecordRefusal({real, record.pv}, protectedFolders);
  if (!refusal.empty()) return refusal;
  const std::wstring link = FindLinkFrom(record.install_path, SetupPath(record));
  if (!link.empty()) return L"a link lies on the way to setup.exe: " + link;
  return {};
}

}  // namespace

std::wstring InstallationRecordRefusal(const InstallationRecord& record,
                                       const std::vector<std::wstring>& protectedFolders) {
  const std::wstring_view pathRefusal = AbsoluteLocalPathRefusal(record.install_path);
  if (!pathRefusal.empty()) return std::wstring(pathRefusal);
  if (!IsPlainFolderName(record.pv)) return L"pv is not one plain folder name";
  for (const std::wstring& folder : protectedFolders) {
    if (IsSameOrInside(folder, record.install_path))
      return L"the path is or holds a folder of the user or the system: " + folder;
  }
  return {};
}

InstallationRecord ReadInstallationRecord() {
  InstallationRecord record;
  record.install_path = NormalizePath(ReadRegistryString(HKEY_CURRENT_USER, kProductKey, kInstallPathValue));
  record.pv = ReadRegistryString(HKEY_CURRENT_USER, kProductKey, kProductVersionValue);
  // A record with a value missing is already treated as missing.
  if (record.install_path.empty() || record.pv.empty()) return record;
  const std::wstring refusal = Refusal(record);
  if (refusal.empty()) return record;
  LogWarning(JoinWide({L"Installation record refused, treated as missing: OruInstallPath \"", record.install_path,
                       L"\", pv \"", record.pv, L"\": ", refusal}));
  return {};
}

}  // namespace oru
