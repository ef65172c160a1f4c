#include "remove/self_delete_script.h"

#include "log/setup_logger.h"

namespace oru {

// Placeholders until the self-deleting script lands.
bool NeedsSelfDeleteUninstall(const std::wstring&) { return false; }

void CreateAndRunSelfDeleteDirScript(const std::wstring& dir) { LogInfo(L"CreateAndRunSelfDeleteDirScript " + dir); }

}  // namespace oru
