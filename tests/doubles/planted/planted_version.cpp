// Copied as version.dll beside the uninstaller, where a planted library would
// lie in wait. Being loaded at all is what it records ("loaded" in the trace
// named by ORU_PLANTED_DLL_TRACE); the three functions the uninstaller takes
// from version.dll are traced too, and fail, should a loader bind to them.

#include <windows.h>

#include "trace/trace_writer.h"

namespace {

void Trace(const char* event) { oru::doubles::TraceWriter::FromEnvironment(L"ORU_PLANTED_DLL_TRACE").Line(event); }

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) Trace("loaded");
  return TRUE;
}

__declspec(dllexport) DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR, LPDWORD) {
  Trace("call GetFileVersionInfoSizeW");
  return 0;
}

__declspec(dllexport) BOOL WINAPI GetFileVersionInfoW(LPCWSTR, DWORD, DWORD, LPVOID) {
  Trace("call GetFileVersionInfoW");
  return FALSE;
}

__declspec(dllexport) BOOL WINAPI VerQueryValueW(LPCVOID, LPCWSTR, LPVOID*, PUINT) {
  Trace("call VerQueryValueW");
  return FALSE;
}
}
