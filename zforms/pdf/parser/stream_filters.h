#pragma once

#include <cstddef>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeStream;

// The data of a stream after its filters are undone. When they are usable, `fault` says what is wrong with them, or is
// empty; otherwise it is the reason.
struct ZPDFDecodedStream {
  bool usable = false;
  Chaine data;
  Chaine fault;
  size_t produced = 0;  // the sum of the bytes that each filter gave; `limit` when decoding stopped there
};

// The limit for a decoded stream: 8 MB plus 64 times its encoded size, at most 256 MB. Real files rarely need more than
// a few MB.
inline constexpr size_t kDecodedStreamBase = 8 << 20;
inline constexpr size_t kDecodedOfStream = 64;
inline constexpr size_t kMostDecodedOfStream = 256 << 20;

// Undoes the filters of a stream: Flate with predictors (ISO 32000-1 7.4.4), ASCIIHex, ASCII85 and RunLength. Data that
// are longer than `limit`, or than the limits above, are not usable; finding this out takes little memory. Used for
// cross-reference and object streams, appearances, fonts, scripts and values of fields.
ZPDFDecodedStream DecodeStream(const ZPDFNodeStream& stream, size_t limit);

// Compresses the bytes for the filter FlateDecode.
Chaine FlateEncoded(std::string_view bytes);

}  // namespace zforms
