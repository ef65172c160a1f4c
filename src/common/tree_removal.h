#pragma once

// The one walk that removes a folder tree: depth first, in the order the
// file system lists, every entry tried whatever became of the ones before
// it. No link is ever entered: a directory link is removed as an entry of
// its own folder, and a link handed in as the tree goes the same way, so
// what it points to - possibly far outside the product - is left alone.
//
// The walk decides only what is visited. What is logged and reported, what
// a file gets that will not go, and what becomes of a folder that stays
// are the caller's, through the hooks below.

#include <cstdint>
#include <string>

#include "common/directory_entries.h"

namespace oru {

class TreeRemoval {
 public:
  virtual ~TreeRemoval() = default;

  // Removes `folder` (no trailing backslash) and everything below it. True
  // when every entry went, or was seen to by RemoveFile, and the folder
  // went or FolderStayed saw to it.
  [[nodiscard]] bool RemoveTree(const std::wstring& folder);
  // Removes one entry of `folder` as the walk does; true when it went.
  [[nodiscard]] bool RemoveEntry(const std::wstring& folder, const DirectoryEntry& entry);

 protected:
  // Just before `folder` is listed.
  virtual void FolderEntered(const std::wstring& folder) = 0;
  // A file or a file link (deleting one removes the link); true when it went
  // or was moved out of the way.
  virtual bool RemoveFile(const std::wstring& file) = 0;
  // A directory link was removed as a link (error 0), or stayed with `error`.
  virtual void LinkRemoved(const std::wstring& link, std::uint32_t error) = 0;
  // `folder` could not be listed, or its listing broke off; what is below it
  // may be partly gone, and the folder itself is not removed.
  virtual void ListingFailed(const std::wstring& folder, std::uint32_t error) = 0;
  // The walk of the subfolder `child` has returned, whatever its result.
  virtual void SubfolderWalked(const std::wstring& child) { (void)child; }
  // Every entry of `folder` has been tried: this many files and folders
  // (directory links among them).
  virtual void EntriesTried(const std::wstring& folder, unsigned files, unsigned folders) {
    (void)folder, (void)files, (void)folders;
  }
  virtual void FolderRemoved(const std::wstring& folder) = 0;
  // `folder` stayed with `error`; true when the caller saw to it another way.
  [[nodiscard]] virtual bool FolderStayed(const std::wstring& folder, std::uint32_t error) = 0;

 private:
  bool RemoveLink(const std::wstring& link);
};

}  // namespace oru
