#include "support/directory_link.h"

#include <windows.h>

#include "common/strings.h"
#include "common/unique_handle.h"

namespace oru::test {
namespace {

// Wine starts a Linux program through CreateProcessW without a handle to wait
// on, so the file system is polled instead; bounded, because a loaded machine
// can take seconds to start it and a test must never hang on it.
constexpr int kPollRounds = 400;
constexpr DWORD kPollIntervalMs = 50;

std::wstring UnixPath(const std::wstring& path) {
  using ToUnix = char*(CDECL*)(const wchar_t*);
  const auto toUnix = GetProcAs<ToUnix>(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
  char* name = toUnix == nullptr ? nullptr : toUnix(path.c_str());
  if (name == nullptr) return {};
  const std::wstring wide = Utf8ToWide(name);
  ::HeapFree(::GetProcessHeap(), 0, name);
  return wide;
}

void RunUnix(const std::wstring& program, const std::wstring& arguments) {
  // No drive maps the host's /: Wine's own \\?\unix\ names reach its /bin.
  std::wstring commandLine = L"\\\\?\\unix\\bin\\" + program + L" " + arguments;
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION info{};
  if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info)) {
    UniqueHandle process(info.hProcess), thread(info.hThread);
  }
}

// True once `path` is (wanted) or is no longer (!wanted) a link.
bool WaitUntilLink(const std::wstring& path, bool wanted) {
  for (int i = 0; i < kPollRounds; ++i, ::Sleep(kPollIntervalMs)) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if ((attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) == wanted)
      return true;
  }
  return false;
}

}  // namespace

DirectoryLink::DirectoryLink(const std::wstring& link, const std::wstring& target) : link_(link) {
  const size_t slash = link.rfind(L'\\');
  const std::wstring parent = UnixPath(link.substr(0, slash)), unixTarget = UnixPath(target);
  if (slash == std::wstring::npos || parent.empty() || unixTarget.empty()) return;
  unix_ = parent + L"/" + link.substr(slash + 1);
  // -n: a link already there is replaced, not followed into its target.
  RunUnix(L"ln", L"-sfn \"" + unixTarget + L"\" \"" + unix_ + L"\"");
  made_ = WaitUntilLink(link, true);
}

DirectoryLink::~DirectoryLink() {
  if (unix_.empty()) return;
  RunUnix(L"rm", L"-f \"" + unix_ + L"\"");
  // The folder holding the link is often removed next: with the link still
  // there, that removal would go through it.
  WaitUntilLink(link_, false);
}

}  // namespace oru::test
