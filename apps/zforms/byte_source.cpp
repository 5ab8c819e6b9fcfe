#include "apps/zforms/byte_source.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "apps/zforms/files.h"
#include "apps/zforms/standard_streams.h"

namespace zforms::tool {
namespace {

constexpr size_t kPiece = 1 << 18;

}  // namespace

void ByteSource::Closer::operator()(std::FILE* file) const {
  if (file != stdin) std::fclose(file);
}

bool ByteSource::Open(const std::string& path) {
  if (path == kStandardStream) {
    SetBinary(stdin);
    file_.reset(stdin);
    return true;
  }
  std::error_code error;
  const std::filesystem::path file = FilePath(path);
  if (std::filesystem::is_directory(file, error)) {
    failure_ = "is a folder";
    return false;
  }
  file_.reset(OpenToRead(path));
  if (file_ == nullptr) {
    failure_ = std::generic_category().message(errno);
    return false;
  }
  const uintmax_t size = std::filesystem::file_size(file, error);
  size_ = error ? 0 : size;
  return true;
}

void ByteSource::OpenText(std::string_view text) {
  buffer_ = text;
  size_ = text.size();
}

size_t ByteSource::ReadMore(size_t size) {
  if (file_ == nullptr) return 0;
  const size_t before = buffer_.size();
  buffer_.resize(before + size);
  const size_t got = std::fread(buffer_.data() + before, 1, size, file_.get());
  buffer_.resize(before + got);
  if (got == 0 && std::ferror(file_.get()) != 0) failure_ = "it cannot be read to its end";
  return got;
}

void ByteSource::Refill() {
  passed_ += at_;
  at_ = 0;
  buffer_.clear();
  ReadMore(kPiece);
}

std::string_view ByteSource::Look(size_t count) {
  if (buffer_.size() - at_ < count) {
    passed_ += at_;
    buffer_.erase(0, at_);
    at_ = 0;
    while (buffer_.size() < count && ReadMore(kPiece) > 0) {
    }
  }
  return std::string_view(buffer_).substr(at_);
}

}  // namespace zforms::tool
