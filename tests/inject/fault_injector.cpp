#include "inject/fault_injector.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cwctype>
#include <stdexcept>
#include <string>
#include <utility>

namespace oru::test {
namespace {

// The slot through which this module calls `function`, whichever library it
// comes from (no two here share a name), or nullptr when it does not import it
// by name. Only calls through this module's own table go there: the system
// libraries' own calls and functions bound with GetProcAddress do not.
void** FindImportSlot(std::string_view function) {
  auto* base = reinterpret_cast<BYTE*>(::GetModuleHandleW(nullptr));
  const auto* nt =
      reinterpret_cast<const IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const IMAGE_DATA_DIRECTORY& imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.VirtualAddress == 0) return nullptr;
  for (auto* d = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress); d->Name != 0; ++d) {
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

// Stores `value` in `slot`, writable only for that moment, and returns what
// the slot held before.
void* ExchangeImportSlot(void** slot, void* value) {
  DWORD protection = 0;
  ::VirtualProtect(slot, sizeof(void*), PAGE_READWRITE, &protection);
  void* previous = *slot;
  *slot = value;
  ::VirtualProtect(slot, sizeof(void*), protection, &protection);
  return previous;
}

// How a function tells its caller it failed.
enum class Fails {
  kZero,     // returns 0 (FALSE, NULL, no characters); the error through SetLastError
  kAllOnes,  // INVALID_HANDLE_VALUE, INVALID_FILE_ATTRIBUTES, WAIT_FAILED; SetLastError
  kStatus,   // returns the error itself (LSTATUS, SHCreateDirectoryExW)
  kHresult,  // returns HRESULT_FROM_WIN32(error)
  kNever,    // Sleep: counted, its waits added up, and shortened
};

struct Row {
  const char* name;
  int path;  // which argument (from 1) is the path, 0: none; negative: a narrow name
  Fails fails;
};

// Every import of the uninstaller that touches files, the registry, processes
// or libraries.
constexpr Row kRows[] = {
    {"CreateFileW", 1, Fails::kAllOnes},
    {"DeleteFileW", 1, Fails::kZero},
    {"MoveFileW", 1, Fails::kZero},
    {"MoveFileExW", 1, Fails::kZero},
    {"CopyFileW", 1, Fails::kZero},
    {"RemoveDirectoryW", 1, Fails::kZero},
    {"CreateDirectoryW", 1, Fails::kZero},
    {"FindFirstFileW", 1, Fails::kAllOnes},
    {"FindNextFileW", 0, Fails::kZero},
    {"GetFileAttributesW", 1, Fails::kAllOnes},
    {"SetFileAttributesW", 1, Fails::kZero},
    {"GetTempPathW", 0, Fails::kZero},
    {"GetTempFileNameW", 1, Fails::kZero},
    {"GetDiskFreeSpaceExW", 1, Fails::kZero},
    {"ReadFile", 0, Fails::kZero},
    {"WriteFile", 0, Fails::kZero},
    {"SetFilePointerEx", 0, Fails::kZero},
    {"FlushFileBuffers", 0, Fails::kZero},
    {"GetLongPathNameW", 1, Fails::kZero},
    {"GetFinalPathNameByHandleW", 0, Fails::kZero},
    {"SetCurrentDirectoryW", 1, Fails::kZero},
    {"GetSystemDirectoryW", 0, Fails::kZero},
    {"CreateProcessW", 1, Fails::kZero},
    {"WaitForSingleObject", 0, Fails::kAllOnes},
    {"GetExitCodeProcess", 0, Fails::kZero},
    {"TerminateProcess", 0, Fails::kZero},
    {"OpenProcess", 0, Fails::kZero},
    {"CreateToolhelp32Snapshot", 0, Fails::kAllOnes},
    {"Process32FirstW", 0, Fails::kZero},
    {"Process32NextW", 0, Fails::kZero},
    {"LoadLibraryExW", 1, Fails::kZero},
    {"LoadLibraryW", 1, Fails::kZero},
    {"GetProcAddress", -2, Fails::kZero},
    {"FreeLibrary", 0, Fails::kZero},
    {"GetModuleFileNameW", 0, Fails::kZero},
    {"CreateMutexW", 3, Fails::kZero},
    {"Sleep", 0, Fails::kNever},
    {"RegOpenKeyExW", 2, Fails::kStatus},
    {"RegQueryValueExW", 2, Fails::kStatus},
    {"RegCreateKeyExW", 2, Fails::kStatus},
    {"RegSetValueExW", 2, Fails::kStatus},
    {"RegDeleteTreeW", 2, Fails::kStatus},
    {"SHCreateDirectoryExW", 2, Fails::kStatus},
    {"SHGetFolderPathW", 0, Fails::kHresult},
    {"SHGetKnownFolderPath", 0, Fails::kHresult},
    {"PathFileExistsW", 1, Fails::kZero},
    {"_wfopen", 1, Fails::kZero},
};
constexpr size_t kRowCount = std::size(kRows);

// Every function here takes integers and pointers only and returns in RAX,
// and on x64 the caller owns the stack: twelve arguments passed on cover any
// of them, whatever its own count.
using Function = uintptr_t (*)(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t,
                               uintptr_t, uintptr_t, uintptr_t, uintptr_t);

struct Slot {
  void** entry = nullptr;  // set while patched
  Function original = nullptr;
  std::atomic<unsigned> calls{0}, matched{0};
  bool armed = false;
  DWORD error = 0;
  unsigned occurrence = 0;
  std::wstring contains;
};

// Constant-initialised: the plan may be installed by another object's static
// initialiser, before this file's dynamic ones would have run.
constinit std::array<Slot, kRowCount> slots;
constinit int patchedBy = 0;  // ScopedFaults alive, or 1 for the environment's plan
constinit unsigned long sleepDivisor = 1;
constinit std::atomic<unsigned long long> sleptMs{0};    // as asked, before shortening
constinit HANDLE record = nullptr;                       // none, or the open record
constinit decltype(&::WriteFile) writeRecord = nullptr;  // taken before any slot changed

int RowOf(std::wstring_view name) {
  for (size_t i = 0; i < kRowCount; ++i) {
    if (std::ranges::equal(name, std::string_view(kRows[i].name))) return static_cast<int>(i);
  }
  return -1;
}

std::wstring PathArgument(const Row& row, const uintptr_t* args) {
  if (row.path == 0) return {};
  const uintptr_t value = args[std::abs(row.path) - 1];
  if (row.path > 0) return value != 0 ? reinterpret_cast<const wchar_t*>(value) : L"";
  // GetProcAddress's name may be an ordinal instead.
  const auto* narrow = reinterpret_cast<const char*>(value);
  return value > 0xFFFF ? std::wstring(narrow, narrow + std::char_traits<char>::length(narrow)) : L"";
}

bool ContainsIgnoringCase(std::wstring_view text, std::wstring_view part) {
  return part.empty() || std::search(text.begin(), text.end(), part.begin(), part.end(), [](wchar_t a, wchar_t b) {
                           return std::towlower(a) == std::towlower(b);
                         }) != text.end();
}

void Record(const Row& row, unsigned call, const std::wstring& path) {
  const std::wstring line = std::wstring(row.name, row.name + std::char_traits<char>::length(row.name)) + L"\t" +
                            std::to_wstring(call) + L"\t" + path + L"\n";
  std::string utf8(line.size() * 3, '\0');
  utf8.resize(::WideCharToMultiByte(CP_UTF8, 0, line.data(), static_cast<int>(line.size()), utf8.data(),
                                    static_cast<int>(utf8.size()), nullptr, nullptr));
  // One append per line: whatever happens to the process later, the line is
  // with the system already.
  DWORD written = 0;
  writeRecord(record, utf8.data(), static_cast<DWORD>(utf8.size()), &written, nullptr);
}

// Counts and records the call, shortens a Sleep; true when this call fails.
// The caller's last error is left as it found it unless the call fails.
bool Intercept(size_t index, uintptr_t* args) {
  const DWORD lastError = ::GetLastError();
  const Row& row = kRows[index];
  Slot& slot = slots[index];
  if (row.fails == Fails::kNever) {
    ++slot.calls;
    sleptMs += args[0];
    if (args[0] != INFINITE) args[0] /= sleepDivisor;
    return false;
  }
  const unsigned call = ++slot.calls;
  const std::wstring path = PathArgument(row, args);
  if (record != nullptr) Record(row, call, path);
  bool fail = false;
  if (slot.armed && ContainsIgnoringCase(path, slot.contains)) {
    const unsigned matched = ++slot.matched;
    fail = slot.occurrence == 0 || matched == slot.occurrence;
  }
  ::SetLastError(fail && (row.fails == Fails::kZero || row.fails == Fails::kAllOnes) ? slot.error : lastError);
  return fail;
}

template <size_t Index>
uintptr_t Hook(uintptr_t a1, uintptr_t a2, uintptr_t a3, uintptr_t a4, uintptr_t a5, uintptr_t a6, uintptr_t a7,
               uintptr_t a8, uintptr_t a9, uintptr_t a10, uintptr_t a11, uintptr_t a12) {
  uintptr_t a[] = {a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12};
  if (!Intercept(Index, a))
    return slots[Index].original(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10], a[11]);
  switch (kRows[Index].fails) {
    case Fails::kAllOnes:
      return ~uintptr_t{0};
    case Fails::kStatus:
      return slots[Index].error;
    case Fails::kHresult:
      return static_cast<uint32_t>(HRESULT_FROM_WIN32(slots[Index].error));
    default:
      return 0;
  }
}

template <size_t... Index>
constexpr std::array<Function, kRowCount> MakeHooks(std::index_sequence<Index...>) {
  return {&Hook<Index>...};
}
constexpr std::array<Function, kRowCount> kHooks = MakeHooks(std::make_index_sequence<kRowCount>{});

void Patch() {
  if (patchedBy++ > 0) return;
  sleptMs = 0;
  for (size_t i = 0; i < kRowCount; ++i) {
    Slot& slot = slots[i];
    slot.entry = FindImportSlot(kRows[i].name);
    slot.calls = 0;
    if (slot.entry == nullptr) continue;
    // Through void(*)(): a data pointer and a function pointer of another type
    // meet only there without a warning.
    void* previous = ExchangeImportSlot(slot.entry, reinterpret_cast<void*>(kHooks[i]));
    slot.original = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(previous));
  }
}

void Unpatch() {
  if (--patchedBy > 0) return;
  for (Slot& slot : slots) {
    if (slot.entry != nullptr) ExchangeImportSlot(slot.entry, reinterpret_cast<void*>(slot.original));
    slot.entry = nullptr;
  }
}

bool Arm(int row, unsigned long error, unsigned occurrence, std::wstring_view contains) {
  if (row < 0 || kRows[row].fails == Fails::kNever || FindImportSlot(kRows[row].name) == nullptr) return false;
  Slot& slot = slots[row];
  slot.error = error;
  slot.occurrence = occurrence;
  slot.contains = contains;
  slot.matched = 0;
  slot.armed = true;
  return true;
}

std::wstring Variable(const wchar_t* name) {
  wchar_t value[4096] = {};
  const DWORD length = ::GetEnvironmentVariableW(name, value, std::size(value));
  return length < std::size(value) ? std::wstring(value, length) : L"";
}

}  // namespace

bool InstallFaultsFromEnvironment() {
  const std::wstring fault = Variable(L"ORU_FAULT"), recordPath = Variable(L"ORU_FAULT_RECORD"),
                     divisor = Variable(L"ORU_FAULT_SLEEP_DIVISOR");
  for (size_t start = 0; start < fault.size();) {
    const size_t end = std::min(fault.find(L';', start), fault.size());
    const std::wstring one = fault.substr(start, end - start);
    start = end + 1;
    const size_t first = one.find(L':'), second = one.find(L':', first + 1), third = one.find(L':', second + 1);
    if (second == std::wstring::npos) return false;
    const std::wstring occurrence = one.substr(second + 1, third - second - 1);
    const std::wstring contains = third == std::wstring::npos ? L"" : one.substr(third + 1);
    if (!Arm(RowOf(one.substr(0, first)), std::wcstoul(one.c_str() + first + 1, nullptr, 10),
             occurrence == L"*" ? 0 : std::wcstoul(occurrence.c_str(), nullptr, 10), contains))
      return false;
  }
  if (!divisor.empty()) sleepDivisor = std::max(1ul, std::wcstoul(divisor.c_str(), nullptr, 10));
  if (!recordPath.empty()) {
    writeRecord = ::WriteFile;
    const HANDLE file = ::CreateFileW(recordPath.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    record = file;
  }
  if (!fault.empty() || !recordPath.empty() || !divisor.empty()) Patch();
  return true;
}

ScopedFault::ScopedFault(std::wstring_view function, unsigned long error, unsigned occurrence,
                         std::wstring_view pathContains)
    : row_(RowOf(function)) {
  if (!Arm(row_, error, occurrence, pathContains)) throw std::invalid_argument("no such import to fail");
  Patch();
}

ScopedFault::~ScopedFault() {
  slots[row_].armed = false;
  Unpatch();
}

unsigned long long SleptMilliseconds() { return sleptMs.load(); }

}  // namespace oru::test
