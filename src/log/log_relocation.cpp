#include "log/log_relocation.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>
#include <exception>

#include "common/entry_removal.h"
#include "common/strings.h"
#include "log/byte_file_stream.h"
#include "log/debug_output.h"
#include "log/log_file_format.h"
#include "log/timestamp.h"

namespace oru {
namespace {

constexpr std::wstring_view kAppendFailed = L"Exception occurred while appending log: ";

constexpr std::size_t kMinimumNameForInstall = 7;

}  // namespace

const wchar_t* LogPathValueName(std::wstring_view logFileName) {
  const bool install =
      logFileName.size() >= kMinimumNameForInstall && logFileName.find(L"install") != std::wstring_view::npos;
  return install ? L"OruInstallLogPath" : L"OruUninstallLogPath";
}

bool AppendLogToExisting(const std::wstring& tempLogPath, const std::wstring& targetPath) {
  EmitDebug({L"Target log file exists, appending content...\n"});
  try {
    ByteFileStream source;
    if (!source.open(tempLogPath, ByteFileStream::Mode::kRead)) {
      EmitDebug({L"Failed to open temp file for reading\n"});
      return false;
    }
    ByteFileStream target;
    if (!target.open(targetPath, ByteFileStream::Mode::kAppend)) {
      EmitDebug({L"Failed to open target file for appending\n"});
      return false;
    }

    // The target already starts with a byte-order mark; a second one in the
    // middle of the file would show up as a stray character.
    char head[3] = {};
    if (source.read(head, 3) != 3 || !std::equal(head, head + 3, kUtf8Bom)) {
      source.clear();
      source.seek_to_start();
    }

    const std::string header = WideToUtf8(JoinWide({L"\n========== New Session: ", GetTimestamp(), L"==========\n"}));
    target.write(header.data(), header.size());
    char buffer[16384];
    while (source.good()) {
      const std::size_t got = source.read(buffer, sizeof(buffer));
      if (got > 0) target.write(buffer, got);
    }
    const bool written = target.good();
    target.close();
    source.close();
    if (!written) {
      // Keep the temporary log: its text is not safely in the target.
      EmitDebug({kAppendFailed, L"write failed\n"});
      return false;
    }
    EmitDebug({L"Log content appended successfully to: ", targetPath, L"\n"});
    (void)RemoveFileEntry(tempLogPath);
    return true;
  } catch (const std::exception& e) {
    EmitDebug({kAppendFailed, Utf8ToWide(e.what()), L"\n"});
  } catch (...) {
    EmitDebug({L"Unknown exception occurred while appending log\n"});
  }
  return false;
}

LogPlacement MoveLogToFinalPath(const std::wstring& finalLogDir, const std::wstring& tempLogPath) {
  try {
    const std::wstring fileName(FileNamePart(tempLogPath));
    const std::wstring target = finalLogDir + L"\\" + fileName;
    EmitDebug({L"Moving log from: ", tempLogPath, L" to: ", target, L"\n"});

    // The shell returns Win32 codes, which are never negative: the move is
    // attempted whatever the directory call says, and its own failure decides.
    const int created = ::SHCreateDirectoryExW(nullptr, finalLogDir.c_str(), nullptr);
    if (created < 0) {
      EmitDebug({L"Failed to create final log directory, error: ", ToWideDecimal(created), L"\n"});
      return {};
    }

    if (::GetFileAttributesW(target.c_str()) != INVALID_FILE_ATTRIBUTES) {
      // A failed append keeps this run's log in the temporary folder.
      if (AppendLogToExisting(tempLogPath, target)) return {target, true};
      return {tempLogPath, false};
    }

    if (::MoveFileExW(tempLogPath.c_str(), target.c_str(), MOVEFILE_COPY_ALLOWED)) {
      EmitDebug({L"Log file moved successfully to: ", target, L"\n"});
      return {target, true};
    }
    const DWORD error = ::GetLastError();
    EmitDebug({L"Failed to move log file, error: ", ToWideDecimal(error), L"\n"});

    if (::CopyFileW(tempLogPath.c_str(), target.c_str(), FALSE)) {
      EmitDebug({L"Log file copied successfully to: ", target, L"\n"});
      (void)RemoveFileEntry(tempLogPath);
      return {target, true};
    }
    // Nothing is lost: the log stays in the temporary folder, and the record
    // says so rather than naming an older run's file or nothing.
    EmitDebug({L"Failed to copy log file\n"});
    return {tempLogPath, false};
  } catch (...) {
    // Building a path can only fail for lack of memory; the log stays where it is.
  }
  return {tempLogPath, false};
}

}  // namespace oru
