#pragma once

// One owning wrapper for every kind of Win32 handle. Each kind names its own
// "no handle" value: OpenProcess returns NULL but CreateFileW and
// FindFirstFileW return INVALID_HANDLE_VALUE, and mixing the two up is the bug
// this type exists to prevent.

#include <windows.h>
#include <tlhelp32.h>

#include <utility>

namespace oru {

template <typename Traits>
class UniqueResource {
 public:
  using pointer = typename Traits::pointer;

  UniqueResource() noexcept = default;
  explicit UniqueResource(pointer value) noexcept : value_(value) {}
  UniqueResource(const UniqueResource&) = delete;
  UniqueResource& operator=(const UniqueResource&) = delete;
  UniqueResource(UniqueResource&& other) noexcept : value_(other.release()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  ~UniqueResource() { reset(); }

  [[nodiscard]] pointer get() const noexcept { return value_; }
  [[nodiscard]] bool valid() const noexcept { return value_ != Traits::Invalid(); }
  explicit operator bool() const noexcept { return valid(); }

  // Closing must not disturb the caller's GetLastError(): a failure is
  // often logged after the handle that produced it has been released.
  void reset(pointer value = Traits::Invalid()) noexcept {
    if (valid()) {
      const DWORD saved = ::GetLastError();
      Traits::Close(value_);
      ::SetLastError(saved);
    }
    value_ = value;
  }

  [[nodiscard]] pointer release() noexcept { return std::exchange(value_, Traits::Invalid()); }

  // For out-parameters such as RegOpenKeyExW's.
  [[nodiscard]] pointer* put() noexcept {
    reset();
    return &value_;
  }

 private:
  pointer value_ = Traits::Invalid();
};

struct KernelHandleTraits {
  using pointer = HANDLE;
  static pointer Invalid() noexcept { return nullptr; }
  static void Close(pointer h) noexcept { ::CloseHandle(h); }
};

struct FileHandleTraits {
  using pointer = HANDLE;
  static pointer Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(pointer h) noexcept { ::CloseHandle(h); }
};

struct FindHandleTraits {
  using pointer = HANDLE;
  static pointer Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(pointer h) noexcept { ::FindClose(h); }
};

struct ModuleHandleTraits {
  using pointer = HMODULE;
  static pointer Invalid() noexcept { return nullptr; }
  static void Close(pointer h) noexcept { ::FreeLibrary(h); }
};

struct RegKeyTraits {
  using pointer = HKEY;
  static pointer Invalid() noexcept { return nullptr; }
  static void Close(pointer h) noexcept { ::RegCloseKey(h); }
};

// Memory the system allocated for the caller with LocalAlloc, such as
// CommandLineToArgvW's array; null means none.
template <typename Pointer>
struct LocalMemoryTraits {
  using pointer = Pointer;
  static pointer Invalid() noexcept { return nullptr; }
  static void Close(pointer p) noexcept { ::LocalFree(p); }
};

// Process and thread handles, events: NULL means none.
using UniqueHandle = UniqueResource<KernelHandleTraits>;
// CreateFileW and CreateToolhelp32Snapshot: INVALID_HANDLE_VALUE means none.
using UniqueFile = UniqueResource<FileHandleTraits>;
using UniqueSnapshot = UniqueResource<FileHandleTraits>;
using UniqueFind = UniqueResource<FindHandleTraits>;
using UniqueModule = UniqueResource<ModuleHandleTraits>;
using UniqueRegKey = UniqueResource<RegKeyTraits>;
template <typename Pointer>
using UniqueLocalMemory = UniqueResource<LocalMemoryTraits<Pointer>>;

// GetProcAddress returns FARPROC; casting through void(*)() keeps
// -Wcast-function-type quiet while still naming the real signature.
template <typename Fn>
[[nodiscard]] Fn GetProcAs(HMODULE module, const char* name) noexcept {
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(::GetProcAddress(module, name)));
}

}  // namespace oru
