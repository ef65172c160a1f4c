#pragma once

// Removing one file that some process may still hold open: delete it, or
// rename it out of the way into the temporary directory, or leave it to the
// next reboot. Every step is logged.

#include <string>

namespace oru {

// Deletes path directly; when that fails, renames it to a fresh temporary name
// (retrying sharing violations and access denial with growing pauses) and
// schedules the renamed copy for deletion at reboot; when the rename fails,
// schedules path itself. True when the file is gone, moved away, or its
// deletion at reboot is registered; false only when every fallback failed.
[[nodiscard]] bool DeleteFileWithFallback(const std::wstring& path);

// A path in the temporary directory, not yet in use when generated, whose
// last component derives from the last component of path. Never fails: after
// ten collisions it returns a fallback name without checking it.
[[nodiscard]] std::wstring GenerateTempDeleteName(const std::wstring& path);

// Asks the system to delete path at the next reboot. True when registered.
[[nodiscard]] bool ScheduleDeleteOnReboot(const std::wstring& path);

// Tests pin the tick count and the random value that make temporary names
// unique; nullptr restores GetTickCount and rand.
using TickSource = unsigned long (*)();
using RandomSource = int (*)();
void SetTempNameSourcesForTesting(TickSource tick, RandomSource random);

}  // namespace oru
