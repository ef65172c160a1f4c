#pragma once

// The system's list of deletions pending until reboot, and a way to make
// adding to it fail as it does for a standard user on Windows (Wine lets
// everybody write it).

#include <string>

#include "common/unique_handle.h"

namespace oru::test {

// PendingFileRenameOperations as stored (REG_MULTI_SZ, "\??\C:\..." entries).
// Wine carries out and clears it on any wineboot: read it back at once.
[[nodiscard]] std::wstring PendingRenames();

// While it lives, writes to the Session Manager key are denied to everyone,
// so MoveFileExW(..., MOVEFILE_DELAY_UNTIL_REBOOT) fails; the key's own
// access list is put back afterwards.
class RebootSchedulingDenied {
 public:
  RebootSchedulingDenied();
  ~RebootSchedulingDenied();
  RebootSchedulingDenied(const RebootSchedulingDenied&) = delete;
  RebootSchedulingDenied& operator=(const RebootSchedulingDenied&) = delete;

  // True when the denial is in force.
  [[nodiscard]] bool Applied() const { return applied_; }

 private:
  UniqueRegKey key_;
  UniqueLocalMemory<PSECURITY_DESCRIPTOR> saved_;
  PACL savedDacl_ = nullptr;  // inside saved_
  bool applied_ = false;
};

}  // namespace oru::test
