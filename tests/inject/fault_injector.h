#pragma once

// Failures Windows gives and Wine does not (access denied on a move, a denied
// mutex, a listing that breaks off, a full disk), made to happen under the
// program's own Win32 calls by replacing its import slots, so that the code
// under test does not know it is being tested. Test code only.
//
// A process that links install_from_environment.cpp reads, before wWinMain:
//   ORU_FAULT=<function>:<error>:<occurrence>[:<text>]
//       <function> fails with <error> at its <occurrence>-th call (1 = the
//       first; * or 0 = every call), counting only calls whose path argument
//       contains <text>, letter case ignored. The text runs to the end and may
//       hold colons: ORU_FAULT=MoveFileW:5:2:C:\x\setup.exe. Several faults,
//       each of its own function, are separated by ";".
//   ORU_FAULT_RECORD=<file>
//       appends "<function>\t<occurrence>\t<path argument>\n" (UTF-8) for every
//       call of a covered function, each line written at once; the occurrence
//       is the one ORU_FAULT without a text would name.
//   ORU_FAULT_SLEEP_DIVISOR=<n>
//       every Sleep lasts 1/n of its time (INFINITE stays INFINITE).

#include <string_view>

namespace oru::test {

// Applies the three variables above. False when ORU_FAULT is malformed or
// names a function that is not covered or not imported here, or when the
// record cannot be opened; nothing is patched then.
[[nodiscard]] bool InstallFaultsFromEnvironment();

// While it lives, `function` fails with `error` at its `occurrence`-th call
// whose path argument contains `pathContains` (0: at every such call). The
// import table is put back when the last one goes. Throws
// std::invalid_argument when `function` is not covered or not imported by
// this program, so a fault that could never happen fails the test instead.
class ScopedFault {
 public:
  ScopedFault(std::wstring_view function, unsigned long error, unsigned occurrence = 0,
              std::wstring_view pathContains = {});
  ~ScopedFault();
  ScopedFault(const ScopedFault&) = delete;
  ScopedFault& operator=(const ScopedFault&) = delete;

 private:
  int row_;
};

// Milliseconds Sleep was asked to wait since the import table was patched,
// before any shortening: a wait shows without being timed.
[[nodiscard]] unsigned long long SleptMilliseconds();

}  // namespace oru::test
