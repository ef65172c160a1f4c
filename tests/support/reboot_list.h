#pragma once

// The system's list of deletions pending until reboot. A standard user's
// refusal to add to it (Wine lets everybody) is injected at the import table.

#include <windows.h>

#include <string>

namespace oru::test {

// PendingFileRenameOperations as stored (REG_MULTI_SZ, "\??\C:\..." entries).
// Wine carries out and clears it on any wineboot: read it back at once.
[[nodiscard]] inline std::wstring PendingRenames() {
  std::wstring data(1 << 19, L'\0');
  DWORD bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
  if (::RegGetValueW(HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Control\\Session Manager",
                     L"PendingFileRenameOperations", RRF_RT_REG_MULTI_SZ, nullptr, data.data(),
                     &bytes) != ERROR_SUCCESS)
    return {};
  data.resize(bytes / sizeof(wchar_t));
  return data;
}

}  // namespace oru::test
