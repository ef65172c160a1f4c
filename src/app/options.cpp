#include "app/options.h"

#include <windows.h>
#include <shellapi.h>

#include <string>
#include <vector>

#include "common/unique_handle.h"

namespace oru {
namespace {

// args holds the arguments after the program name.
UninstallOptions ParseOptions(const std::vector<std::wstring>& args) {
  UninstallOptions options;
  for (const auto& arg : args) {
    if (arg == kOptionForce) options.force = true;
    if (arg == kOptionUnsilentChrome) options.silent_chrome = false;
    if (arg == kOptionSilentOru) options.silent_oru = true;
    if (arg == kOptionKeepUserData) options.keep_user_data = true;
  }
  return options;
}

}  // namespace

UninstallOptions ParseProcessCommandLine() { return ParseCommandLine(::GetCommandLineW()); }

UninstallOptions ParseCommandLine(const wchar_t* commandLine) {
  int count = 0;
  const UniqueLocalMemory<wchar_t**> argv(::CommandLineToArgvW(commandLine, &count));
  if (!argv) return {};
  std::vector<std::wstring> args;
  for (int i = 1; i < count; ++i) args.emplace_back(argv.get()[i]);
  return ParseOptions(args);
}

}  // namespace oru
