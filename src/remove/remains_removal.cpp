#include "remove/remains_removal.h"

#include <algorithm>

#include "common/directory_entries.h"
#include "common/path_rules.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "remove/directory_tree.h"

namespace oru {

bool DeleteRemainsExcept(const std::wstring& installDir, const std::vector<std::wstring>& keep) {
  // An empty or relative folder would be listed from wherever the process
  // stands - a drive's root for an empty one.
  const std::wstring_view refusal = AbsoluteLocalPathRefusal(installDir);
  if (!refusal.empty()) {
    LogWarning(JoinWide({L"Remains not removed from ", installDir, L": ", refusal}));
    return false;
  }
  bool result = true;
  const bool listed = ForEachEntry(installDir, [&](const DirectoryEntry& entry) {
    // installDir is canonical and listings give long names: so is child.
    const std::wstring child = JoinWide({installDir, L"\\", entry.name});
    const auto kept = [&](const std::wstring& path) { return EqualsIgnoreCase(path, child); };
    const auto heldBelow = [&](const std::wstring& path) { return IsSameOrInside(path, child); };
    if (std::any_of(keep.begin(), keep.end(), kept)) {
      LogInfo(L"Kept while the uninstaller still needs it: " + child);
    } else if (!entry.IsReparsePoint() && entry.IsDirectory() && std::any_of(keep.begin(), keep.end(), heldBelow)) {
      if (!DeleteRemainsExcept(child, keep)) result = false;
    } else if (!DeleteEntryUnreported(installDir, entry)) {
      result = false;
    }
    return true;
  });
  if (!listed) {
    LogInfo(kListingFailedLine + installDir);
    return false;
  }
  return result;
}

}  // namespace oru
