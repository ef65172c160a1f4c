#include "app/final_log_folder.h"

#include "common/links.h"
#include "common/path_rules.h"
#include "common/strings.h"
#include "log/setup_logger.h"
#include "log/timestamp.h"
#include "sys/path_forms.h"

namespace oru {

std::wstring ChooseFinalLogFolder(const std::wstring& ownDirectory, const std::wstring& doomedDirectory,
                                  const std::wstring& runLogPath, const std::wstring& logFileName) {
  std::wstring reason;
  const auto doomed = [&] {
    const std::wstring own = CanonicalPathForm(ownDirectory), gone = CanonicalPathForm(doomedDirectory);
    return own.empty() || gone.empty() || IsSameOrInside(own, gone);
  };
  if (!doomedDirectory.empty() && doomed()) {
    reason = L"Log kept outside the directory being removed: ";
  } else if (IsReparsePoint(ownDirectory) || IsReparsePoint(JoinWide({ownDirectory, L"\\", logFileName}))) {
    reason = L"Log kept out of a folder reached through a link: ";
  } else {
    return ownDirectory;
  }
  const std::wstring_view runLogFolder = FolderPart(runLogPath);
  if (runLogFolder.empty()) return {};
  const std::wstring keptDirectory = JoinWide({runLogFolder, L"\\kept_", GetTimestampForName()});
  LogInfo(reason + keptDirectory);
  return keptDirectory;
}

}  // namespace oru
