// Stand-in for the closed telemetry library: the same five exports with the
// same arguments, each call written to the trace named by ORU_TAVRIN_TRACE.
// Records are decoded from their documented byte offsets, not the
// uninstaller's structures, so a layout mistake shows as a mismatch; the
// configuration goes on as raw bytes. ORU_TAVRIN_LOAD_BY_NAME names a companion
// library that TV_InitSDK loads by its bare name, as a closed library may;
// "loaded by name" in the trace says the process's search order found one.

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "trace/trace_writer.h"

namespace {

using oru::doubles::TraceWriter;

constexpr std::size_t kParamSize = 4352;
constexpr std::size_t kParamValueOffset = 256;
constexpr std::size_t kConfigSize = 1168;

TraceWriter Trace() { return TraceWriter::FromEnvironment(L"ORU_TAVRIN_TRACE"); }

std::string Field(const unsigned char* base, std::size_t offset, std::size_t size) {
  const auto* field = reinterpret_cast<const char*>(base + offset);
  return "\"" + TraceWriter::Escape({field, ::strnlen(field, size)}) + "\"";
}

void TraceRecords(TraceWriter& trace, const void* records, std::uint32_t count) {
  if (records == nullptr) return;
  const auto* base = static_cast<const unsigned char*>(records);
  for (std::uint32_t i = 0; i < count; ++i) {
    const unsigned char* record = base + i * kParamSize;
    trace.Line("record " + std::to_string(i) + " key=" + Field(record, 0, kParamValueOffset) +
               " value=" + Field(record, kParamValueOffset, kParamSize - kParamValueOffset));
    trace.Bytes("record" + std::to_string(i), record, kParamSize);
  }
}

}  // namespace

extern "C" {

__declspec(dllexport) int TV_InitSDK(const void* config) {
  TraceWriter trace = Trace();
  trace.Line("call TV_InitSDK");
  if (config == nullptr) return -1;
  trace.Bytes("config", config, kConfigSize);
  wchar_t companion[MAX_PATH] = {};
  if (::GetEnvironmentVariableW(L"ORU_TAVRIN_LOAD_BY_NAME", companion, MAX_PATH) > 0 && ::LoadLibraryW(companion)) {
    trace.Line("loaded by name");
  }
  return 0;
}

__declspec(dllexport) void TV_UninitSDK() { Trace().Line("call TV_UninitSDK"); }

__declspec(dllexport) int TV_Report(const char* eventCode, const void* records, std::uint32_t count,
                                    std::int32_t reserved) {
  TraceWriter trace = Trace();
  trace.Line("call TV_Report count=" + std::to_string(count) + " reserved=" + std::to_string(reserved));
  trace.Text("code", eventCode);
  TraceRecords(trace, records, count);
  return 0;
}

__declspec(dllexport) int TV_SetCommonParams(const void* records, std::uint32_t count) {
  TraceWriter trace = Trace();
  trace.Line("call TV_SetCommonParams count=" + std::to_string(count));
  TraceRecords(trace, records, count);
  return 0;
}

__declspec(dllexport) const char* TV_GetTavrinDeviceId() {
  Trace().Line("call TV_GetTavrinDeviceId");
  return "tv-stub-device";
}

}  // extern "C"
