#pragma once

// A real process started by a test, killed when the test ends. Built on the
// helper_proc program beside the tests.

#include <windows.h>

#include <string>

#include "common/unique_handle.h"

namespace oru::test {

class ChildProcess {
 public:
  ChildProcess() = default;
  ChildProcess(ChildProcess&&) = default;
  ChildProcess& operator=(ChildProcess&&) = default;
  ~ChildProcess();

  // A helper holding `file` open with no sharing: moves and deletes fail with 32.
  static ChildProcess HoldFile(const std::wstring& file);
  // A helper that sleeps, running under the image name of `exe` (copy
  // helper_proc.exe there first with CopyHelperAs).
  static ChildProcess Sleeper(const std::wstring& exe);

  [[nodiscard]] bool valid() const { return process_.valid(); }
  [[nodiscard]] bool Running() const;
  void Kill();
  // Gives the process an empty access list: from then on nobody can open it
  // (OpenProcess fails), while this object keeps its own handle's
  // rights, so Kill() still works. True when applied.
  bool DenyOpenByOthers();

 private:
  // Starts `exe` with `args` and waits (up to 10 s) until it has signalled
  // readiness; invalid() when it could not start or never got ready.
  static ChildProcess Start(const std::wstring& exe, const std::wstring& args);

  UniqueHandle process_;
};

// Copies helper_proc.exe to `target` (e.g. dir\oru.stravo.exe) and returns target.
std::wstring CopyHelperAs(const std::wstring& target);

}  // namespace oru::test
