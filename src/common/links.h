#pragma once

// Where a path meets a link. A link inside the installation may point at
// anything the user owns, so nothing is run or deleted through one; these
// answers come from the links' own attributes, never from their targets.
// Every reparse point counts as a link - junctions, symbolic links, mount
// points, and the rest (cloud placeholders included): whatever the system
// may redirect is not entered.

#include <string>
#include <string_view>

namespace oru {

// True when `path` itself is a reparse point of any kind, or when its
// attributes cannot be read for any reason but its absence.
[[nodiscard]] bool IsReparsePoint(const std::wstring& path);

// The first link on the way from `base` down to `path`, `base` and `path`
// included (both in normal form, `path` at or below `base`); empty when there
// is none. Parts that do not exist are not links. Folders above `base` are
// the user's own affair: a relocated profile may well be linked.
[[nodiscard]] std::wstring FindLinkFrom(std::wstring_view base, std::wstring_view path);

// True when the whole tree below `directory` could be listed and holds no
// link. Links are never entered. Otherwise `offender` names the first link
// found, or the folder that could not be listed.
[[nodiscard]] bool IsTreeFreeOfLinks(const std::wstring& directory, std::wstring& offender);

}  // namespace oru
