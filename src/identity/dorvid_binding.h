#pragma once

// The boundary to the closed device-identifier library dorvid.dll and its
// three short-named exports. Loading, initialisation and the synchronous
// query hold one lock; the library is never freed once loaded, because its
// own threads may still call back into us until the process ends.

#include <windows.h>

#include <mutex>
#include <string>

#include "common/event_params.h"

namespace oru {

// Filled by `b`, delivered by `c`: the d36 identifier as NUL-terminated text,
// then six bytes of the library's own, carried along unchanged.
struct DorvidResult {
  char d36[64];
  unsigned char extra[6];
};
static_assert(sizeof(DorvidResult) == 70);

using DorvidLogCallback = void (*)(const char* text);
using DorvidResultCallback = void (*)(const DorvidResult* result);

// Outcomes of DorvidBinding::Initialize.
enum DorvidCode : int {
  kDorvidOk = 0,  // also: already initialised
  kDorvidModulePathFailed = 1,
  kDorvidNoBackslash = 2,
  kDorvidLibraryMissing = 3,
  kDorvidLoadFailed = 4,
  kDorvidInitExportMissing = 5,
  kDorvidInitRejected = 6,
  kDorvidNullDirectory = 7,
};

class DorvidBinding {
 public:
  static DorvidBinding& Instance();

  DorvidBinding(const DorvidBinding&) = delete;
  DorvidBinding& operator=(const DorvidBinding&) = delete;

  // Loads directory\dorvid.dll (an empty directory means the executable's
  // own) and calls `a1` with the parameters encoded as JSON. Returns a
  // DorvidCode; 0 at once, without calling `a1`, when already initialised.
  int Initialize(const std::string& appKey, DorvidLogCallback logCallback, const std::string& channel,
                 const EventParams& params, const std::string& version, bool flag, const wchar_t* directory);

  // The cached d36 text, asking `b` first while the cache is empty; empty
  // when nothing was obtained (a failure is retried on the next call).
  [[nodiscard]] std::string QueryD36();

  // Does nothing unless initialised. With a cached result, calls `callback`
  // at once on this thread; otherwise hands it to `c`, which may call it later
  // on a thread of its own.
  void QueryD36Async(DorvidResultCallback callback);

 private:
  DorvidBinding() = default;

  // Both run with mutex_ held.
  int LoadLocked(const wchar_t* directory);
  void QueryLocked();
  [[nodiscard]] bool CacheEmpty() const { return cache_.d36[0] == '\0'; }

  std::mutex mutex_;
  bool initialized_ = false;
  HMODULE module_ = nullptr;
  DorvidResult cache_{};
  std::string appKey_;
};

}  // namespace oru
