#include <windows.h>

#include "app/uninstaller_main.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  // First, before anything can load a library by name: from here on a name is
  // looked for in the system directory only, never in the uninstaller's own
  // folder or the current directory, where a planted copy may wait.
  ::SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  return oru::RunUninstaller();
}
