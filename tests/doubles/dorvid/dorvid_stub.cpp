// Stand-in for the closed device-identifier library: exports a1, b and c with
// the same arguments, each call written to the trace named by
// ORU_DORVID_TRACE. b and c answer with the identifier in ORU_DORVID_D36 (b
// fails while it is unset), c at once on the caller's thread, or, while
// ORU_DORVID_ASYNC_D36 is set, with that from a thread of its own, then
// signals ORU_DORVID_DONE_EVENT. a1 refuses to start while
// ORU_DORVID_A1_FAILS is set.

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include "trace/trace_writer.h"

namespace {

using oru::doubles::TraceWriter;

constexpr std::int32_t kResultSize = 70;
constexpr std::size_t kD36Size = 64;

using ResultCallback = void (*)(const void* result);
using LogCallback = void (*)(const char* text);

TraceWriter Trace() { return TraceWriter::FromEnvironment(L"ORU_DORVID_TRACE"); }

std::string Environment(const wchar_t* name) { return oru::doubles::Utf8(oru::doubles::Setting(name)); }

// A result record: the identifier, then six bytes the library owns.
void FillResult(unsigned char* result, const std::string& d36) {
  std::memset(result, 0, kResultSize);
  std::memcpy(result, d36.data(), d36.size() < kD36Size - 1 ? d36.size() : kD36Size - 1);
  for (int i = 0; i < 6; ++i) result[kD36Size + i] = static_cast<unsigned char>(0xA0 + i);
}

void Answer(ResultCallback callback, const std::string& d36) {
  unsigned char result[kResultSize];
  FillResult(result, d36);
  callback(result);
  const oru::UniqueHandle done(::OpenEventA(EVENT_MODIFY_STATE, FALSE, Environment(L"ORU_DORVID_DONE_EVENT").c_str()));
  if (done) ::SetEvent(done.get());
}

}  // namespace

extern "C" {

__declspec(dllexport) std::int32_t
    a1(const char* appKey, LogCallback log, const char* channel, const char* json, const char* version, bool flag) {
  TraceWriter trace = Trace();
  trace.Line(std::string("call a1 log_callback=") + (log != nullptr ? "set" : "null") +
             " flag=" + (flag ? "true" : "false"));
  trace.Text("app_key", appKey);
  trace.Text("channel", channel);
  trace.Text("json", json);
  trace.Text("version", version);
  if (log != nullptr) log("stub a1 called");
  return Environment(L"ORU_DORVID_A1_FAILS").empty() ? 0 : 2;
}

__declspec(dllexport) std::int32_t b(const char* appKey, void* buffer, std::int32_t size) {
  TraceWriter trace = Trace();
  trace.Line("call b size=" + std::to_string(size));
  trace.Text("app_key", appKey);
  const std::string d36 = Environment(L"ORU_DORVID_D36");
  if (d36.empty() || buffer == nullptr || size < kResultSize) return 1;
  FillResult(static_cast<unsigned char*>(buffer), d36);
  return 0;
}

__declspec(dllexport) std::int32_t c(const char* appKey, ResultCallback callback) {
  TraceWriter trace = Trace();
  trace.Line(std::string("call c callback=") + (callback != nullptr ? "set" : "null"));
  trace.Text("app_key", appKey);
  if (callback == nullptr) return 1;
  if (const std::string later = Environment(L"ORU_DORVID_ASYNC_D36"); !later.empty()) {
    std::thread(Answer, callback, later).detach();
  } else {
    Answer(callback, Environment(L"ORU_DORVID_D36"));
  }
  return 0;
}

}  // extern "C"
