#include "inject/import_patch.h"

#include <windows.h>

#include <algorithm>
#include <cctype>

namespace oru::test {
namespace {

bool SameDllName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return std::tolower(x & 0xFF) == std::tolower(y & 0xFF); });
}

}  // namespace

void** FindImportSlot(std::string_view dll, std::string_view function) {
  auto* base = reinterpret_cast<BYTE*>(::GetModuleHandleW(nullptr));
  const auto* nt =
      reinterpret_cast<const IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const IMAGE_DATA_DIRECTORY& imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.VirtualAddress == 0) return nullptr;
  for (auto* d = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress); d->Name != 0; ++d) {
    if (!SameDllName(reinterpret_cast<const char*>(base + d->Name), dll)) continue;
    // The names stay in OriginalFirstThunk; the loader has overwritten the
    // FirstThunk entries beside them with the addresses the calls go through.
    auto* name = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d->OriginalFirstThunk);
    auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      if (function == reinterpret_cast<const char*>(byName->Name)) return reinterpret_cast<void**>(&slot->u1.Function);
    }
  }
  return nullptr;
}

void* ExchangeImportSlot(void** slot, void* value) {
  DWORD protection = 0;
  ::VirtualProtect(slot, sizeof(void*), PAGE_READWRITE, &protection);
  void* previous = *slot;
  *slot = value;
  ::VirtualProtect(slot, sizeof(void*), protection, &protection);
  return previous;
}

}  // namespace oru::test
