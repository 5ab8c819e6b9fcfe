#include "tool/data/byte_source.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tool/base/files.h"
#include "tool/base/standard_streams.h"

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

bool ByteSource::ReadBytes(std::string* to, size_t size) {
  if (file_ == nullptr) return false;
  const size_t before = to->size();
  to->resize(before + size);
  const size_t got = std::fread(to->data() + before, 1, size, file_.get());
  to->resize(before + got);
  read_ += got;
  if (got == 0 && std::ferror(file_.get()) != 0) failure_ = "it cannot be read to its end";
  return got > 0;
}

// Half a character waits for its other half, which only the end of the file may lack.
void ByteSource::AppendDecoded() {
  const bool at_end = std::feof(file_.get()) != 0 || !failure_.empty();
  size_t length = undecoded_.size() - undecoded_.size() % 2;
  const size_t high = length - (*order_ == ByteOrder::eBigEndian ? 2 : 1);
  if (!at_end && length >= 2 && (static_cast<unsigned char>(undecoded_[high]) & 0xFC) == 0xD8) length -= 2;
  buffer_ += UTF16ToUTF8(std::string_view(undecoded_).substr(0, length), *order_).View();
  undecoded_.erase(0, at_end ? undecoded_.size() : length);
}

void ByteSource::RecogniseUTF16() {
  if (buffer_.starts_with("\xFF\xFE")) order_ = ByteOrder::eLittleEndian;
  if (buffer_.starts_with("\xFE\xFF")) order_ = ByteOrder::eBigEndian;
  if (!order_) return;
  undecoded_ = buffer_.substr(2);
  buffer_.clear();
  AppendDecoded();
}

// Appends to the buffer; false at the end.
bool ByteSource::ReadMore() {
  const bool is_first = read_ == 0;
  if (!ReadBytes(order_ ? &undecoded_ : &buffer_, kPiece)) return false;
  if (order_) AppendDecoded();
  if (is_first) RecogniseUTF16();
  return true;
}

void ByteSource::Refill() {
  passed_ += at_;
  at_ = 0;
  buffer_.clear();
  while (buffer_.empty() && ReadMore()) {
  }
}

std::string_view ByteSource::Look(size_t count) {
  if (buffer_.size() - at_ < count) {
    passed_ += at_;
    buffer_.erase(0, at_);
    at_ = 0;
    while (buffer_.size() < count && ReadMore()) {
    }
  }
  return std::string_view(buffer_).substr(at_);
}

}  // namespace zforms::tool
