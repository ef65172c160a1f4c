// Copied as version.dll beside the uninstaller: each version function fails
// and appends "call NAME" to the trace named by ORU_PLANTED_DLL_TRACE.

#include <windows.h>

#include "trace/trace_writer.h"

namespace {

int Trace(const char* call) {
  oru::doubles::TraceWriter::FromEnvironment(L"ORU_PLANTED_DLL_TRACE").Line(call);
  return 0;
}

}  // namespace

extern "C" {

__declspec(dllexport) DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR, LPDWORD) {
  return Trace("call GetFileVersionInfoSizeW");
}
__declspec(dllexport) BOOL WINAPI GetFileVersionInfoW(LPCWSTR, DWORD, DWORD, LPVOID) {
  return Trace("call GetFileVersionInfoW");
}
__declspec(dllexport) BOOL WINAPI VerQueryValueW(LPCVOID, LPCWSTR, LPVOID*, PUINT) {
  return Trace("call VerQueryValueW");
}
}
