#include "zforms/platform/files/inet_stream.h"

#include <algorithm>
#include <cstring>

#include "zforms/platform/files/os_file.h"

namespace zforms {

namespace {

constexpr size_t kBlockSize = 64 * 1024;

}  // namespace

ZInetIStream::~ZInetIStream() = default;
ZInetOStream::~ZInetOStream() = default;

Chaine ZInetIStream::ReadAll() {
  Chaine all;
  size_t got;
  do {
    const size_t before = all.size();
    got = Read(all.AppendUninitialized(kBlockSize), kBlockSize);
    all.Truncate(before + got);
  } while (got != 0);
  return all;
}

ZInetFileIStream::ZInetFileIStream(const Chaine& path) : file_(std::make_unique<OsFile>()) {
  if (KindOfFile(path) == OsFileKind::kFolder) {
    error_ = "is a folder";
  } else {
    file_->Open(path, OsFile::Mode::kRead, &error_);
  }
}

ZInetFileIStream::~ZInetFileIStream() = default;

bool ZInetFileIStream::IsOpen() const { return file_->IsOpen(); }

size_t ZInetFileIStream::Read(char* to, size_t size) {
  if (!file_->IsOpen() || !error_.empty()) return 0;
  bool failed = false;
  const size_t got = file_->Read(to, size, &failed);
  if (failed) error_ = LastSystemError();
  return got;
}

Chaine ZInetFileIStream::ReadAll() {
  Chaine all;
  if (!file_->IsOpen()) return all;
  // One byte more than the size, so that the end of the file is found without growing the buffer.
  size_t wanted = static_cast<size_t>(file_->Size()) + 1;
  size_t got;
  do {
    const size_t before = all.size();
    got = Read(all.AppendUninitialized(wanted), wanted);
    all.Truncate(before + got);
    wanted = got < wanted ? wanted - got : kBlockSize;
  } while (got != 0);
  return all;
}

ZInetFileOStream::ZInetFileOStream(const Chaine& path) : file_(std::make_unique<OsFile>()) {
  file_->Open(path, OsFile::Mode::kTruncate, &error_);
}

ZInetFileOStream::~ZInetFileOStream() { Close(); }

bool ZInetFileOStream::IsOpen() const { return file_->IsOpen(); }

bool ZInetFileOStream::Fail() {
  if (error_.empty()) error_ = LastSystemError();
  count_ = 0;
  return false;
}

bool ZInetFileOStream::Flush() {
  const size_t count = count_;
  count_ = 0;
  return count == 0 || file_->Write(gathered_.get(), count) || Fail();
}

bool ZInetFileOStream::Write(const char* from, size_t size) {
  if (!file_->IsOpen() || !error_.empty()) return false;
  if (size == 0) return true;
  if (count_ + size > kBlockSize && !Flush()) return false;
  if (!buffering_ || size >= kBlockSize) return file_->Write(from, size) || Fail();
  if (gathered_ == nullptr) gathered_ = std::make_unique_for_overwrite<char[]>(kBlockSize);
  std::memcpy(gathered_.get() + count_, from, size);
  count_ += size;
  return true;
}

bool ZInetFileOStream::SetBuffering(bool on) {
  buffering_ = on;
  return on || (error_.empty() && Flush());
}

bool ZInetFileOStream::Close() {
  if (!file_->IsOpen()) return false;
  const bool flushed = error_.empty() && Flush();
  const bool closed = file_->Close() || Fail();
  return flushed && closed;
}

size_t ZInetChaineIStream::Read(char* to, size_t size) {
  const size_t count = std::min(size, text_.size() - at_);
  if (count != 0) std::memcpy(to, text_.data() + at_, count);
  at_ += count;
  return count;
}

Chaine ZInetChaineIStream::ReadAll() {
  const Chaine rest = text_.Mid(at_);
  at_ = text_.size();
  return rest;
}

bool ZInetChaineOStream::Write(const char* from, size_t size) {
  text_.Append(std::string_view(from, size));
  return true;
}

bool ZInetChaineOStream::WriteAll(const Chaine& bytes) {
  if (!text_.IsEmpty()) return Write(bytes.data(), bytes.size());
  text_ = bytes;
  return true;
}

ZInetBlobOStream::ZInetBlobOStream(sBlob* blob) : ZInetChaineOStream(blob->bytes) { blob->bytes.Clear(); }

}  // namespace zforms
