#include "log/byte_file_stream.h"

namespace oru {

bool ByteFileStream::open(const std::wstring& path, Mode mode) {
  close();
  const DWORD access = mode == Mode::kRead ? GENERIC_READ : GENERIC_WRITE;
  const DWORD disposition = mode == Mode::kCreateNew ? CREATE_NEW : mode == Mode::kAppend ? OPEN_ALWAYS : OPEN_EXISTING;
  file_.reset(::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
  failed_ = !file_;
  if (!failed_ && mode == Mode::kAppend) {
    failed_ = ::SetFilePointerEx(file_.get(), LARGE_INTEGER{}, nullptr, FILE_END) == FALSE;
  }
  return !failed_;
}

void ByteFileStream::write(const char* data, std::size_t size) {
  if (!good()) {
    failed_ = true;
    return;
  }
  DWORD written = 0;
  if (!::WriteFile(file_.get(), data, static_cast<DWORD>(size), &written, nullptr) || written != size) failed_ = true;
}

std::size_t ByteFileStream::read(char* data, std::size_t size) {
  if (!good()) {
    failed_ = true;
    return 0;
  }
  DWORD got = 0;
  if (!::ReadFile(file_.get(), data, static_cast<DWORD>(size), &got, nullptr) || got < size) failed_ = true;
  return got;
}

void ByteFileStream::seek_to_start() {
  if (!is_open()) return;
  failed_ = ::SetFilePointerEx(file_.get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN) == FALSE;
}

}  // namespace oru
