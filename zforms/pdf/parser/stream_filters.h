#pragma once

#include <cstddef>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeStream;

// What a stream holds once its filters are undone. A fault beside usable data says
// what was odd about them; without any, why there are none.
struct ZPDFDecodedStream {
  bool usable = false;
  Chaine data;
  Chaine fault;
  size_t produced = 0;  // how many bytes came out of all filters, `limit` when that is not enough
};

// A stream may take 8 MB and 64 times its own bytes once it is decoded, at most
// 256 MB; those of real files rarely take some MB.
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
