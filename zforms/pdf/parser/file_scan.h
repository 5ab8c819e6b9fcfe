#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "zforms/pdf/object_identifier.h"

namespace zforms {

// The objects and trailers of a file in file order, found by one pass over the bytes when the tables cannot be trusted:
// headers "12 0 obj" at the start of a line or after "endobj", and the word "trailer". Nothing is parsed; the data of
// streams are skipped.
struct ZPDFFileScan {
  struct Object {
    ZPDFObjectIdentifier id;
    uint32_t offset = 0;
    // Whether its text contains the names "/ObjStm", "/XRef", "/Catalog" and "/Standard".
    bool names_object_stream = false;
    bool names_xref_stream = false;
    bool names_catalog = false;
    bool names_security = false;
    // False when the file ends before "endobj", so that the end of the object is missing.
    bool whole = false;
  };
  std::vector<Object> objects;
  // The offset after each word "trailer".
  std::vector<uint32_t> trailers;

  bool IsCutAt(uint32_t offset) const {
    return !objects.empty() && objects.back().offset == offset && !objects.back().whole;
  }
};

// Takes linear time. Precondition: the file is smaller than 4 GB.
ZPDFFileScan ScanFile(std::string_view file);

}  // namespace zforms
