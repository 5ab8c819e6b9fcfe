#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZPDFOutStream;

// Objects as the texts of their values.
using ZPDFRawObjects = PTableau<std::pair<ZPDFObjectIdentifier, std::string_view>>;

// Values that are written again straight from their text in the file, without nodes: those that nobody has read or
// changed. Encrypted strings stay encrypted as they are. Private to the parser and the writers.
class ZPDFRawValue {
 public:
  // The length of the value at the front of the text; 0 when the reader of nodes would make a guess or a warning about
  // it, and for what is rare: comments, names with escapes, and deep nesting. Adds the references in it, in order.
  static size_t LengthAt(std::string_view text, std::vector<ZPDFObjectIdentifier>* references);
  // Writes the same text as the nodes of the value, without encryption. Precondition: LengthAt found the value, which
  // is the whole text.
  static void Write(std::string_view text, ZPDFOutStream& out);
};

}  // namespace zforms
