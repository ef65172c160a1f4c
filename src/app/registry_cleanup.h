#pragma once

// Deletes the product's own registry keys once the browser component's
// uninstaller has removed the product: its class registration, then its key
// under the maker's branch. The uninstall registration and
// SOFTWARE\Oru.stravo are not touched.

namespace oru {

// True only when both keys were deleted. A key that does not exist counts
// as a failure, and a failure on the first key leaves the second in place.
// Every outcome is logged by the registry layer.
[[nodiscard]] bool DeleteProductRegistryEntries();

}  // namespace oru
