#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeStream;

// The decoded text of an object stream and the position of each object in it (ISO 32000-1 7.5.7). Nodes share the text
// and may outlive this object. Owned by the parser.
class ZPDFObjectStream {
 public:
  // The text of one object: from `begin` up to the next object.
  struct Part {
    uint32_t number;
    size_t begin;
    size_t end;
  };

  // Decodes the stream, up to `limit` bytes. Of a damaged stream, the objects that can be read are kept, and Fault()
  // says what is wrong.
  ZPDFObjectStream(const ZPDFNodeStream& stream, size_t limit);

  const Chaine& Text() const { return text_; }
  // What is wrong with the stream; empty when nothing is.
  const Chaine& Fault() const { return fault_; }
  // True when the data could not be decoded completely, so that any object may be damaged.
  bool IsDamaged() const { return damaged_; }
  // The number of bytes that were decoded.
  size_t Decoded() const { return decoded_; }
  // The number of the stream that this one extends, 0 for none.
  uint32_t Extends() const { return extends_; }
  // The objects in number order; parts do not overlap.
  const std::vector<Part>& Parts() const { return parts_; }
  // The part of the object with this number; null when the stream does not contain it.
  const Part* Find(uint32_t number);

 private:
  void ReadHeader(size_t count, size_t first);

  Chaine text_;
  Chaine fault_;
  size_t decoded_ = 0;
  bool damaged_ = false;
  uint32_t extends_ = 0;
  std::vector<Part> parts_;
  size_t next_ = 0;  // the part after the one found last
};

}  // namespace zforms
