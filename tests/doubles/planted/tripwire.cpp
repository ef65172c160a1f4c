// Copied beside the uninstaller as cmd.exe or powershell.exe: started, it
// appends "started COMMAND-LINE" to the trace named by ORU_TRIPWIRE_TRACE.

#include <windows.h>

#include "trace/trace_writer.h"

int wmain() {
  using namespace oru::doubles;
  TraceWriter::FromEnvironment(L"ORU_TRIPWIRE_TRACE").Line("started " + TraceWriter::Escape(Utf8(::GetCommandLineW())));
  return 0;
}
