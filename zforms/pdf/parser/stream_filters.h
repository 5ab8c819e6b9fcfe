#pragma once

#include <cstddef>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeStream;

// The data of a stream after its filters are undone. With data, a fault says what is wrong with them; without data, it
// is the reason.
struct ZPDFDecodedStream {
  bool usable = false;
  Chaine data;
  Chaine fault;
  size_t produced = 0;  // the number of bytes from all filters; `limit` when decoding stopped there
};

// The limit for a decoded stream: 8 MB plus 64 times its encoded size, at most 256 MB. Real files rarely need more than
// a few MB.
inline constexpr size_t kDecodedStreamBase = 8 << 20;
inline constexpr size_t kDecodedOfStream = 64;
inline constexpr size_t kMostDecodedOfStream = 256 << 20;

// Undoes the filters of a stream that tells where the objects of a file are, of an
// appearance or of a font: Flate with predictors (ISO 32000-1 7.4.4), ASCIIHex, ASCII85
// and RunLength. Data that would take more than `limit` bytes, or than is said above, are
// not usable, and hardly any of them is kept while that is found out. No other stream
// comes here.
ZPDFDecodedStream DecodeStream(const ZPDFNodeStream& stream, size_t limit);

// The bytes as the filter FlateDecode takes them.
Chaine FlateEncoded(std::string_view bytes);

}  // namespace zforms
