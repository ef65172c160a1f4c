// A console program for tests to copy beside the uninstaller under the name of
// a system program (cmd.exe, powershell.exe): started, it appends
// "started COMMAND-LINE" to the trace named by ORU_TRIPWIRE_TRACE and exits 0,
// so a test can tell the copy ran instead of the system's own.

#include <windows.h>

#include "trace/trace_writer.h"

int wmain() {
  using oru::doubles::TraceWriter;
  TraceWriter::FromEnvironment(L"ORU_TRIPWIRE_TRACE")
      .Line("started " + TraceWriter::Escape(oru::doubles::Utf8(::GetCommandLineW())));
  return 0;
}
