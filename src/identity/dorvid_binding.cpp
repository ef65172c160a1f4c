#include "identity/dorvid_binding.h"

#include <shlwapi.h>

#include <cstring>
#include <cwchar>

#include "common/unique_handle.h"
#include "identity/json_encoder.h"
#include "sys/dll_loader.h"

namespace oru {
namespace {

using InitFn = std::int32_t (*)(const char* appKey, DorvidLogCallback log, const char* channel, const char* json,
                                const char* version, bool flag);
using QueryFn = std::int32_t (*)(const char* appKey, DorvidResult* buffer, std::int32_t size);
using QueryAsyncFn = std::int32_t (*)(const char* appKey, DorvidResultCallback callback);

constexpr DWORD kPathCapacity = 1024;

}  // namespace

DorvidBinding& DorvidBinding::Instance() {
  static DorvidBinding instance;
  return instance;
}

int DorvidBinding::LoadLocked(const wchar_t* directory) {
  if (directory == nullptr) return kDorvidNullDirectory;
  wchar_t path[kPathCapacity] = {};
  if (*directory != L'\0') {
    std::wcsncpy(path, directory, kPathCapacity - 1);
  } else {
    if (::GetModuleFileNameW(nullptr, path, kPathCapacity) == 0) return kDorvidModulePathFailed;
    path[kPathCapacity - 1] = L'\0';  // a truncated module path is not terminated
    wchar_t* lastBackslash = ::StrRChrW(path, nullptr, L'\\');
    if (lastBackslash == nullptr) return kDorvidNoBackslash;
    *lastBackslash = L'\0';
  }
  // A path too long to take the file name cannot name the library either.
  if (!::PathAppendW(path, L"dorvid.dll")) return kDorvidLibraryMissing;
  if (!::PathFileExistsW(path)) return kDorvidLibraryMissing;
  module_ = LoadLibraryByFullPath(path).release();  // never freed: see the header
  return module_ != nullptr ? kDorvidOk : kDorvidLoadFailed;
}

int DorvidBinding::Initialize(const std::string& appKey, DorvidLogCallback logCallback, const std::string& channel,
                              const EventParams& params, const std::string& version, bool flag,
                              const wchar_t* directory) {
  std::lock_guard lock(mutex_);
  if (initialized_) return kDorvidOk;
  if (module_ == nullptr) {
    if (const int code = LoadLocked(directory); code != kDorvidOk) return code;
  }
  const auto init = GetProcAs<InitFn>(module_, "a1");
  if (init == nullptr) return kDorvidInitExportMissing;
  const std::string json = EncodeJsonObject(params);
  if (init(appKey.c_str(), logCallback, channel.c_str(), json.c_str(), version.c_str(), flag) != 0) {
    return kDorvidInitRejected;
  }
  appKey_ = appKey;
  initialized_ = true;
  return kDorvidOk;
}

void DorvidBinding::QueryLocked() {
  if (!initialized_ || !CacheEmpty() || module_ == nullptr) return;
  const auto query = GetProcAs<QueryFn>(module_, "b");
  if (query == nullptr) return;
  DorvidResult buffer{};
  if (query(appKey_.c_str(), &buffer, static_cast<std::int32_t>(sizeof(buffer))) == 0) cache_ = buffer;
}

std::string DorvidBinding::QueryD36() {
  std::lock_guard lock(mutex_);
  QueryLocked();
  return std::string(cache_.d36, strnlen(cache_.d36, sizeof(cache_.d36)));
}

void DorvidBinding::QueryD36Async(DorvidResultCallback callback) {
  QueryAsyncFn queryAsync = nullptr;
  const DorvidResult* cached = nullptr;
  std::string appKey;
  {
    std::lock_guard lock(mutex_);
    if (!initialized_) return;
    QueryLocked();
    if (!CacheEmpty()) {
      cached = &cache_;  // filled once, never changed afterwards
    } else if (module_ != nullptr) {
      queryAsync = GetProcAs<QueryAsyncFn>(module_, "c");
      appKey = appKey_;
    }
  }
  // Outside the lock: a library that answers from inside `c`, or a callback
  // that asks again, must not find it held.
  if (cached != nullptr) {
    if (callback != nullptr) callback(cached);
  } else if (queryAsync != nullptr) {
    queryAsync(appKey.c_str(), callback);
  }
}

}  // namespace oru
