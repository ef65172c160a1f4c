#include "common/tree_removal.h"

#include <windows.h>

#include "common/entry_removal.h"
#include "common/links.h"

namespace oru {

bool TreeRemoval::RemoveLink(const std::wstring& link) {
  // Removing the folder entry removes the link and leaves its target alone.
  const bool removed = RemoveFolderEntry(link);
  LinkRemoved(link, removed ? ERROR_SUCCESS : ::GetLastError());
  return removed;
}

bool TreeRemoval::RemoveEntry(const std::wstring& folder, const DirectoryEntry& entry) {
  const std::wstring child = folder + L"\\" + std::wstring(entry.name);
  // The listing's own word for a link; RemoveTree asks the file system again
  // before it lists, so neither check alone lets a link be entered.
  if (entry.IsReparsePoint() && entry.IsDirectory()) return RemoveLink(child);
  if (!entry.IsDirectory()) return RemoveFile(child);
  const bool removed = RemoveTree(child);
  SubfolderWalked(child);
  return removed;
}

bool TreeRemoval::RemoveTree(const std::wstring& folder) {
  // The rule for entries holds for the folder handed in too; unreadable
  // attributes count as a link, and a link is never listed.
  if (IsReparsePoint(folder)) return RemoveLink(folder);
  FolderEntered(folder);

  bool result = true;
  unsigned files = 0;
  unsigned folders = 0;
  const bool listed = ForEachEntry(folder, [&](const DirectoryEntry& entry) {
    ++(entry.IsDirectory() ? folders : files);
    if (!RemoveEntry(folder, entry)) result = false;
    return true;
  });
  if (!listed) {
    ListingFailed(folder, ::GetLastError());
    return false;
  }
  EntriesTried(folder, files, folders);

  if (RemoveFolderEntry(folder)) {
    FolderRemoved(folder);
    return result;
  }
  return FolderStayed(folder, ::GetLastError()) && result;
}

}  // namespace oru
