#include "log/log_relocation.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>
#include <exception>

#include "common/product_keys.h"
#include "log/byte_file_stream.h"
#include "common/strings.h"
#include "log/debug_output.h"
#include "log/timestamp.h"
#include "sys/registry.h"

namespace oru {
namespace {

constexpr char kUtf8Bom[] = "\xEF\xBB\xBF";
constexpr std::wstring_view kSessionHeaderStart = L"\n========== New Session: ";
constexpr std::wstring_view kSessionHeaderEnd = L"==========\n";
constexpr std::wstring_view kAppendFailed = L"Exception occurred while appending log: ";

constexpr std::wstring_view kInstallMarker = L"install";
constexpr std::size_t kMinimumNameForInstall = 7;
constexpr wchar_t kInstallLogPathValue[] = L"OruInstallLogPath";
constexpr wchar_t kUninstallLogPathValue[] = L"OruUninstallLogPath";

void Debug(std::initializer_list<std::wstring_view> parts) { EmitDebug(JoinWide(parts)); }

}  // namespace

const wchar_t* LogPathValueName(std::wstring_view logFileName) {
  const bool install =
      logFileName.size() >= kMinimumNameForInstall && logFileName.find(kInstallMarker) != std::wstring_view::npos;
  return install ? kInstallLogPathValue : kUninstallLogPathValue;
}

void RecordLogPathInRegistry(const std::wstring& logFileName, const std::wstring& targetPath) {
  const DWORD type = REG_SZ;
  // The size leaves out the terminating NUL; readers have always coped.
  const DWORD size = static_cast<DWORD>(targetPath.size() * sizeof(wchar_t));
  WriteRegistryValue(HKEY_CURRENT_USER, kProductKey, LogPathValueName(logFileName), &type,
                     reinterpret_cast<const BYTE*>(targetPath.c_str()), &size);
}

bool AppendLogToExisting(const std::wstring& tempLogPath, const std::wstring& targetPath) {
  Debug({L"Target log file exists, appending content...\n"});
  try {
    ByteFileStream source;
    if (!source.open(tempLogPath, ByteFileStream::Mode::kRead)) {
      Debug({L"Failed to open temp file for reading\n"});
      return false;
    }
    ByteFileStream target;
    if (!target.open(targetPath, ByteFileStream::Mode::kAppend)) {
      Debug({L"Failed to open target file for appending\n"});
      return false;
    }

    // The target already starts with a byte-order mark; a second one in the
    // middle of the file would show up as a stray character.
    char head[3] = {};
    if (source.read(head, 3) != 3 || !std::equal(head, head + 3, kUtf8Bom)) {
      source.clear();
      source.seek_to_start();
    }

    const std::string header = WideToUtf8(JoinWide({kSessionHeaderStart, GetTimestamp(), kSessionHeaderEnd}));
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
      Debug({kAppendFailed, L"write failed\n"});
      return false;
    }
    Debug({L"Log content appended successfully to: ", targetPath, L"\n"});
    ::DeleteFileW(tempLogPath.c_str());
    return true;
  } catch (const std::exception& e) {
    Debug({kAppendFailed, Utf8ToWide(e.what()), L"\n"});
  } catch (...) {
    Debug({L"Unknown exception occurred while appending log\n"});
  }
  return false;
}

void MoveLogToFinalPath(const std::wstring& finalLogDir, const std::wstring& tempLogPath) {
  try {
    const std::wstring fileName(FileNamePart(tempLogPath));
    const std::wstring target = finalLogDir + L"\\" + fileName;
    Debug({L"Moving log from: ", tempLogPath, L" to: ", target, L"\n"});

    // The shell returns Win32 codes, which are never negative: the move is
    // attempted whatever the directory call says, and its own failure decides.
    const int created = ::SHCreateDirectoryExW(nullptr, finalLogDir.c_str(), nullptr);
    if (created < 0) {
      Debug({L"Failed to create final log directory, error: ", ToWideDecimal(created), L"\n"});
      return;
    }

    if (::GetFileAttributesW(target.c_str()) != INVALID_FILE_ATTRIBUTES) {
      AppendLogToExisting(tempLogPath, target);
      RecordLogPathInRegistry(fileName, target);
      return;
    }

    if (::MoveFileExW(tempLogPath.c_str(), target.c_str(), MOVEFILE_COPY_ALLOWED)) {
      Debug({L"Log file moved successfully to: ", target, L"\n"});
      RecordLogPathInRegistry(fileName, target);
      return;
    }
    const DWORD error = ::GetLastError();
    Debug({L"Failed to move log file, error: ", ToWideDecimal(error), L"\n"});

    if (::CopyFileW(tempLogPath.c_str(), target.c_str(), FALSE)) {
      Debug({L"Log file copied successfully to: ", target, L"\n"});
      ::DeleteFileW(tempLogPath.c_str());
      RecordLogPathInRegistry(fileName, target);
      return;
    }
    // Nothing is lost: the log stays in the temporary folder.
    Debug({L"Failed to copy log file\n"});
  } catch (...) {
    // Building a path can only fail for lack of memory; the log stays where it is.
  }
}

}  // namespace oru
