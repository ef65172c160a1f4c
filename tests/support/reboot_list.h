#pragma once

// The system's list of deletions pending until reboot. A standard user's
// refusal to add to it (Wine lets everybody) is injected at the import table.

#include <string>

namespace oru::test {

// PendingFileRenameOperations as stored (REG_MULTI_SZ, "\??\C:\..." entries).
// Wine carries out and clears it on any wineboot: read it back at once.
[[nodiscard]] std::wstring PendingRenames();

}  // namespace oru::test
