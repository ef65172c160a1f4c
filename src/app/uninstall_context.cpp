#include "app/uninstall_context.h"

#include <cstdlib>
#include <ctime>

#include "common/strings.h"
#include "log/setup_logger.h"

namespace oru {

UninstallContext::UninstallContext(bool force, bool silent_chrome, bool keep_user_data, bool silent_oru)
    : force(force), silent_chrome(silent_chrome), keep_user_data(keep_user_data), silent_oru(silent_oru) {
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  // The second and fourth lines say whether a window is shown, hence the negation.
  LogInfo(std::wstring(L"是否自动关闭 oru: ") + DigitText(force));
  LogInfo(std::wstring(L"Chrome 卸载器是否弹窗: ") + DigitText(!silent_chrome));
  LogInfo(std::wstring(L"是否保留用户数据: ") + DigitText(keep_user_data));
  LogInfo(std::wstring(L"Oru 卸载器是否弹窗: ") + DigitText(!silent_oru));
}

}  // namespace oru
