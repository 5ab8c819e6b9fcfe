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

// ByteSource reads a file or a stream piece by piece, so that data of any length take
// the memory of one piece. UTF-16 that begins with a byte order mark
// comes as UTF-8 without one. One thread at a time.
class ZFORMS_API ByteSource {
 public:
  // Opens a file, by its path in UTF-8. False with a reason in Failure() when it cannot be opened.
  bool Open(const std::string& path);
  // Reads from a stream, such as standard input, whose size is not known.
  void OpenStream(ReadStep step);
  // Reads from a text in memory.
  void OpenText(std::string_view text);

  // What is at hand and not consumed; empty at the end alone.
  std::string_view Rest() {
    if (at_ == buffer_.size()) Refill();
    return std::string_view(buffer_).substr(at_);
  }
  // Makes at least `count` bytes be at hand, if there are so many, and gives them all.
  std::string_view Look(size_t count);
  // Precondition: count <= Rest().size().
  void Consume(size_t count) { at_ += count; }
  // The next byte, or -1 at the end.
  int Peek() {
    const std::string_view rest = Rest();
    return rest.empty() ? -1 : static_cast<unsigned char>(rest.front());
  }

  // The number of bytes of the file consumed (of UTF-16: read), and of all; 0 when that is not known.
  uint64_t Position() const { return order_ ? read_ : passed_ + at_; }
  uint64_t Size() const { return size_; }
  // Why reading ended early; empty when it did not.
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
  std::optional<ByteOrder> order_;  // of UTF-16
  std::string undecoded_;
  uint64_t read_ = 0;
  uint64_t passed_ = 0;
  uint64_t size_ = 0;
  std::string failure_;
};

}  // namespace zforms
