#pragma once

// A small binary file stream over the Win32 file API, with the stream-state
// surface the log needs (good/fail/clear). Nothing is buffered: WriteFile
// hands the bytes straight to the system, so a crash after a line was logged
// cannot lose that line. The standard file streams
// would do the same but pull the whole locale machinery into the executable,
// several times the size of everything else in it.
// Files are opened deny-none, so the log can be read - and moved - by others
// while it is being written.

#include <cstddef>
#include <string>

#include "common/unique_handle.h"

namespace oru {

class ByteFileStream {
 public:
  // kCreateNew makes a new file only: an existing name - a leftover, or a
  // link planted there - is never opened for writing, so nothing it points
  // to is emptied.
  enum class Mode { kCreateNew, kAppend, kRead };

  ByteFileStream() = default;
  ~ByteFileStream() { close(); }
  ByteFileStream(const ByteFileStream&) = delete;
  ByteFileStream& operator=(const ByteFileStream&) = delete;

  // False (and fail() set) when the file cannot be opened.
  bool open(const std::wstring& path, Mode mode);
  void close() noexcept { file_.reset(); }
  [[nodiscard]] bool is_open() const noexcept { return file_.valid(); }

  void write(const char* data, std::size_t size);
  // Bytes actually read; sets fail() at end of file or on error.
  std::size_t read(char* data, std::size_t size);
  void seek_to_start();

  [[nodiscard]] bool good() const noexcept { return is_open() && !failed_; }
  [[nodiscard]] bool fail() const noexcept { return failed_; }
  void clear() noexcept { failed_ = false; }

 private:
  UniqueFile file_;
  bool failed_ = false;
};

}  // namespace oru
