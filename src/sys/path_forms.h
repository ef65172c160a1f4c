#pragma once

// How the file system itself spells a path, for the comparisons that decide
// what is inside the product and what is not. Each side of such a comparison
// is put in the same form; where the form cannot be had, the answer is
// empty, and a check that meets an empty form refuses.

#include <string>

namespace oru {

// `path` in normal form with every short (8.3) name spelt out in full, as the
// listing shows the names; compare two of these without regard to case.
// Empty when the system cannot give it: the path is not absolute, does not
// exist, or cannot be looked up.
[[nodiscard]] std::wstring CanonicalPathForm(const std::wstring& path);

// Where `path` really is once every link on the way is followed, in normal
// form without the "\\?\" prefix. A path that does not exist has no other
// place: its own normal form comes back. Empty when it exists but the system
// cannot tell where (access denied, a failed query).
[[nodiscard]] std::wstring RealPathForm(const std::wstring& path);

}  // namespace oru
