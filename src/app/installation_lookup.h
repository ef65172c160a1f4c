#pragma once

// Reading the installation record from the registry and deciding whether it
// can be trusted. The values are input like any other: a damaged or hostile
// record could point the uninstaller at the user's own folders, so a record
// that does not describe an installation of ours is dropped before anything
// is run or deleted.

#include <string>
#include <vector>

#include "common/installation_record.h"

namespace oru {

// OruInstallPath (in normal form) and pv from HKCU\SOFTWARE\Oru.stravo. A
// refused record comes back empty, exactly as if the values were missing,
// after one warning line that names both values and the reason.
[[nodiscard]] InstallationRecord ReadInstallationRecord();

// Why the record (install path in normal form) cannot be an installation of
// ours, or empty when it can: the install path must be an absolute local
// path that neither is nor holds one of `protectedFolders`, and pv must be
// one plain folder name. Decides on the text alone.
[[nodiscard]] std::wstring InstallationRecordRefusal(const InstallationRecord& record,
                                                     const std::vector<std::wstring>& protectedFolders);

}  // namespace oru
