#include "zforms/filling/byte_source.h"

#include <memory>
#include <utility>

#include "zforms/platform/files/os_file.h"
#include "zforms/platform/text/byte_order_mark.h"

namespace zforms {
namespace {

constexpr size_t kPiece = 1 << 18;

}  // namespace

bool ByteSource::Open(const std::string& path) {
  if (KindOfFile(path) == OsFileKind::kFolder) {
    failure_ = "is a folder";
    return false;
  }
  const auto file = std::make_shared<OsFile>();
  if (!file->Open(path, OsFile::Mode::kRead, &failure_)) return false;
  step_ = [file](char* to, size_t size, bool* failed) { return file->Read(to, size, failed); };
  size_ = file->Size();
  return true;
}

void ByteSource::OpenStream(ReadStep step) { step_ = std::move(step); }

void ByteSource::OpenText(std::string_view text) {
  buffer_ = text;
  size_ = text.size();
}

bool ByteSource::ReadBytes(std::string* to, size_t size) {
  if (step_ == nullptr) return false;
  const size_t before = to->size();
  to->resize(before + size);
  size_t got = 0;
  while (got < size && !at_end_) {
    bool failed = false;
    const size_t more = step_(to->data() + before + got, size - got, &failed);
    if (failed) failure_ = "the data cannot be read to the end";
    at_end_ = more == 0;
    got += more;
  }
  to->resize(before + got);
  read_ += got;
  return got > 0;
}

// Decodes the bytes read so far, and keeps an incomplete character for the next piece. At the end of the file, an odd
// byte is a failure.
void ByteSource::AppendDecoded() {
  size_t length = undecoded_.size() - undecoded_.size() % 2;
  const size_t high = length - (*order_ == ByteOrder::eBigEndian ? 2 : 1);
  if (!at_end_ && length >= 2 && (static_cast<unsigned char>(undecoded_[high]) & 0xFC) == 0xD8) length -= 2;
  buffer_ += UTF16ToUTF8(std::string_view(undecoded_).substr(0, length), *order_).View();
  if (at_end_ && undecoded_.size() > length) failure_ = kCutUTF16;
  undecoded_.erase(0, at_end_ ? undecoded_.size() : length);
}

void ByteSource::RecogniseUTF16() {
  order_ = UTF16OrderByMark(buffer_);
  if (!order_) return;
  undecoded_ = buffer_.substr(kUTF16BEMark.size());
  buffer_.clear();
  AppendDecoded();
}

// Reads a piece and appends it to the buffer; false at the end.
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

}  // namespace zforms
