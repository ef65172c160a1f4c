#include "app/registry_cleanup.h"

#include <windows.h>

#include "common/product_keys.h"
#include "log/setup_logger.h"
#include "sys/registry.h"

namespace oru {

bool DeleteProductRegistryEntries() {
  LogInfo(L"Deleting Oru registry entries...");
  // Strictly in order and short-circuited: when the first key is missing the
  // second one stays, deliberately.
  return DeleteRegistryTree(HKEY_CURRENT_USER, kProductClassesKey) &&
         DeleteRegistryTree(HKEY_CURRENT_USER, kMakerProductKey);
}

}  // namespace oru
