#pragma once

#include "zforms/platform/base/export.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {

// Inside a host the lines of a value end in CR LF; in files and on the wire
// they end in LF. These two filters stand between.

// Gives a carriage return to every line feed that has none before it. Reads its
// whole source at the first request.
class ZFORMS_API ZInetLFToCRLFIStream : public ZInetFilterIStream {
 public:
  explicit ZInetLFToCRLFIStream(ZInetIStream* source) : ZInetFilterIStream(source) {}

  // One byte when `size` is 1, else at most `size` - 1: the last byte of the
  // caller's buffer stays free.
  size_t Read(char* to, size_t size) override;
  Chaine ReadAll() override;

 private:
  void Load();

  Chaine text_;
  size_t at_ = 0;
  bool loaded_ = false;
};

// Drops every carriage return.
class ZFORMS_API ZInetCRLFToLFOStream : public ZInetFilterOStream {
 public:
  explicit ZInetCRLFToLFOStream(ZInetOStream* target) : ZInetFilterOStream(target) {}

  bool Write(const char* from, size_t size) override;
};

}  // namespace zforms
