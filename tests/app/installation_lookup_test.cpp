#include "app/installation_lookup.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <knownfolders.h>
#include <shlobj.h>

#include <filesystem>
#include <vector>

#include "common/product_keys.h"
#include "common/strings.h"
#include "support/directory_link.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_paths.h"

namespace oru::test {
namespace {

std::wstring KnownFolder(REFKNOWNFOLDERID id) {
  PWSTR path = nullptr;
  std::wstring result;
  if (SUCCEEDED(::SHGetKnownFolderPath(id, 0, nullptr, &path))) result = path;
  ::CoTaskMemFree(path);
  return result;
}

void SetRecord(const std::wstring& path, const std::wstring& pv) {
  for (const auto& [name, value] : {std::pair{kInstallPathValue, path}, std::pair{kProductVersionValue, pv}}) {
    ::RegSetKeyValueW(HKEY_CURRENT_USER, kProductKey, name, REG_SZ, value.c_str(),
                      static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  }
}

// Each rule alone refuses, the record read as the entry reads it: it comes
// back empty after one warning naming both values. One row per rule: every
// spelling a rule refuses is PathRules'; what a refused record would have led
// to is shown end to end, one row per kind of hazard.
TEST(InstallationRecord, EachRefusalRuleRefusesOnItsOwn) {
  const std::wstring local = LocalAppData(), app = local + L"\\Oru.stravo\\Application", pv = L"1.4.2.7";
  const std::wstring profile = KnownFolder(FOLDERID_Profile);
  std::vector<std::pair<std::wstring, std::wstring>> rows = {
      {L"Oru.stravo\\Application", pv},
      {app + L"\\..\\Application", pv},
      {L"\\\\?\\" + app, pv},
      {L"\\\\localhost\\C$" + app.substr(2), pv},
      {L"C:\\", pv},
      {app, L".."},
      {app, L"..\\..\\Other Vendor\\App"},
      {app, L"a:b"},
  };
  for (const std::wstring& folder :
       {profile, std::filesystem::path(profile).parent_path().wstring(), profile + L"\\AppData", local,
        KnownFolder(FOLDERID_RoamingAppData), TempFolder(), KnownFolder(FOLDERID_Desktop),
        KnownFolder(FOLDERID_Documents), KnownFolder(FOLDERID_Downloads), KnownFolder(FOLDERID_Windows),
        KnownFolder(FOLDERID_ProgramFiles), KnownFolder(FOLDERID_ProgramFilesX86),
        KnownFolder(FOLDERID_ProgramFilesCommon)}) {
    rows.push_back({folder, pv});
  }
  // Below a link to the folder of every profile, and the link on the way
  // to setup.exe: only where the path really leads gives either away.
  DirectoryLink usersLink(local + L"\\Oru Users Link", std::filesystem::path(profile).parent_path().wstring());
  const TempDir installation, elsewhere;
  DirectoryLink versionLink(installation.Child(pv), elsewhere.path());
  if (usersLink.Made() && versionLink.Made()) {
    rows.push_back({local + L"\\Oru Users Link\\" + std::filesystem::path(profile).filename().wstring(), pv});
    rows.push_back({installation.path(), pv});
  }
  for (const auto& [path, version] : rows) {
    SCOPED_TRACE(WideToUtf8(L"OruInstallPath " + path + L", pv " + version));
    SetRecord(path, version);
    LogCapture log;
    const InstallationRecord record = ReadInstallationRecord();
    EXPECT_EQ(record.install_path + record.pv, L"");
    EXPECT_TRUE(log.HasFragment(L"Installation record refused, treated as missing: OruInstallPath \""));
  }
  SetRecord(app + L"/", pv);
  const InstallationRecord accepted = ReadInstallationRecord();
  EXPECT_EQ(accepted.install_path + L"|" + accepted.pv, app + L"|" + pv);
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kProductKey);
}

}  // namespace
}  // namespace oru::test
