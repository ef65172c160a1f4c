#pragma once

// How the file system itself spells a path, for comparisons that must not be
// fooled by another spelling of the same folder.

#include <string>

namespace oru {

// `path` with short (8.3) names spelt out in full and in normal form; the
// normal form of `path` itself when it does not exist or is too long.
[[nodiscard]] std::wstring LongPathForm(const std::wstring& path);

// Where `path` really is once every link on the way is followed, in normal
// form without the "\\?\" prefix; LongPathForm(path) when the system cannot
// tell (the path does not exist, or the query fails).
[[nodiscard]] std::wstring RealPathForm(const std::wstring& path);

}  // namespace oru
