// Linked into oru_uninstall_injected.exe alone: the plan the environment
// names is in place before wWinMain makes its first call. A plan that cannot
// be carried out ends the process at once with 0xFA17, so that a run meant to
// fail somewhere can never pass for one that did not fail at all.

#include <windows.h>

#include "inject/fault_injector.h"

namespace {

struct InstallBeforeMain {
  InstallBeforeMain() {
    if (!oru::test::InstallFaultsFromEnvironment()) ::ExitProcess(0xFA17);
  }
} installBeforeMain;

}  // namespace
