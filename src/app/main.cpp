#include <windows.h>

#include "app/uninstaller_main.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) { return oru::RunUninstaller(); }
