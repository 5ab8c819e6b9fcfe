#pragma once

#include "zforms/platform/base/export.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {

// Filters between the line ends in memory, CR LF, and those in files and transfers, LF.

// Inserts a carriage return before every line feed that does not follow one. Reads its whole source at the first
// request.
class ZFORMS_API ZInetLFToCRLFIStream : public ZInetFilterIStream {
 public:
  explicit ZInetLFToCRLFIStream(ZInetIStream* source) : ZInetFilterIStream(source) {}

  // Returns one byte when `size` is 1, else at most `size` - 1: the last byte of the caller's buffer is not used.
  size_t Read(char* to, size_t size) override;
  Chaine ReadAll() override;

 private:
  void Load();

  Chaine text_;
  size_t at_ = 0;
  bool loaded_ = false;
};

// Removes every carriage return.
class ZFORMS_API ZInetCRLFToLFOStream : public ZInetFilterOStream {
 public:
  explicit ZInetCRLFToLFOStream(ZInetOStream* target) : ZInetFilterOStream(target) {}

  bool Write(const char* from, size_t size) override;
};

}  // namespace zforms
