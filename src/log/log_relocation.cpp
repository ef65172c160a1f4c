#include "log/log_relocation.h"

#include "log/debug_output.h"

namespace oru {

void MoveLogToFinalPath(const std::wstring& finalLogDir, const std::wstring& tempLogPath) {
  // Placeholder until relocation lands: the log stays in the temporary folder.
  EmitDebug(L"Log relocation not available yet, log stays at: " + tempLogPath + L" (final directory " + finalLogDir +
            L")\n");
}

}  // namespace oru
