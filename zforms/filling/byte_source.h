#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "zforms/platform/base/export.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/text/text.h"

namespace zforms {

// The fault of UTF-16 text with an odd number of bytes.
inline constexpr const char* kCutUTF16 = "the UTF-16 text ends in the middle of a character";

// ByteSource reads a file or stream in pieces, so that data of any length need the memory of one piece. UTF-16 with a
// byte order mark is converted to UTF-8 without one. One thread at a time.
class ZFORMS_API ByteSource {
 public:
  // Opens a file; the path is UTF-8. On failure returns false with a reason in Failure().
  bool Open(const std::string& path);
  // Reads from a stream of unknown size, such as standard input.
  void OpenStream(ReadStep step);
  // Reads from a text in memory.
  void OpenText(std::string_view text);

  // The buffered bytes that are not consumed; empty only at the end.
  std::string_view Rest() {
    if (at_ == buffer_.size()) Refill();
    return std::string_view(buffer_).substr(at_);
  }
  // Buffers at least `count` bytes, or fewer at the end, and returns all buffered ones.
  std::string_view Look(size_t count);
  // Precondition: count <= Rest().size().
  void Consume(size_t count) { at_ += count; }
  // The next byte, or -1 at the end.
  int Peek() {
    const std::string_view rest = Rest();
    return rest.empty() ? -1 : static_cast<unsigned char>(rest.front());
  }

  // The number of consumed bytes of the file (for UTF-16: read bytes), and the size of the file; 0 when unknown.
  uint64_t Position() const { return order_ ? read_ : passed_ + at_; }
  uint64_t Size() const { return size_; }
  // Why reading stopped early; empty otherwise.
  const std::string& Failure() const { return failure_; }

 private:
  void Refill();
  bool ReadMore();
  bool ReadBytes(std::string* to, size_t size);
  void RecogniseUTF16();
  void AppendDecoded();

  ReadStep step_;  // null for a text
  bool at_end_ = false;
  std::string buffer_;
  size_t at_ = 0;
  std::optional<ByteOrder> order_;  // set when the data are UTF-16
  std::string undecoded_;
  uint64_t read_ = 0;
  uint64_t passed_ = 0;
  uint64_t size_ = 0;
  std::string failure_;
};

}  // namespace zforms
