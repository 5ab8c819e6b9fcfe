#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeStream;

// The decoded text of an object stream and where in it each object stands
// (ISO 32000-1 7.5.7). Nodes share the text and may outlive the object.
class ZPDFObjectStream {
 public:
  // From `begin` up to the next object.
  struct Part {
    uint32_t number;
    size_t begin;
    size_t end;
  };

  // A damaged stream holds what can be made of it, and Fault() says what was wrong.
  // It takes at most `limit` bytes.
  ZPDFObjectStream(const ZPDFNodeStream& stream, size_t limit);

  const Chaine& Text() const { return text_; }
  // Empty when all is well.
  const Chaine& Fault() const { return fault_; }
  // Whether its data could not be decoded to their end, so that any object may be spoilt.
  bool IsDamaged() const { return damaged_; }
  // How many bytes decoding took.
  size_t Decoded() const { return decoded_; }
  // The number of the stream that this one extends, 0 for none.
  uint32_t Extends() const { return extends_; }
  // In number order; no two overlap.
  const std::vector<Part>& Parts() const { return parts_; }
  // Null when the stream does not hold the object.
  const Part* Find(uint32_t number);

 private:
  void ReadHeader(size_t count, size_t first);

  Chaine text_;
  Chaine fault_;
  size_t decoded_ = 0;
  bool damaged_ = false;
  uint32_t extends_ = 0;
  std::vector<Part> parts_;
  size_t next_ = 0;  // the part behind the one found last
};

}  // namespace zforms
