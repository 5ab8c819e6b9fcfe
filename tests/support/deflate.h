#pragma once

#include <zlib.h>

#include <string>
#include <string_view>

namespace zforms {

inline std::string Deflated(std::string_view bytes) {
  uLongf size = compressBound(static_cast<uLong>(bytes.size()));
  std::string packed(size, '\0');
  compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
            static_cast<uLong>(bytes.size()), 9);
  packed.resize(size);
  return packed;
}

// Encodes rows of `columns` bytes with the PNG filter Up: each row is the tag 2 and the differences to the row above.
inline std::string PngUp(std::string_view bytes, size_t columns) {
  std::string rows;
  for (size_t i = 0; i < bytes.size(); i++) {
    if (i % columns == 0) rows += '\x02';
    rows += static_cast<char>(bytes[i] - (i < columns ? 0 : bytes[i - columns]));
  }
  return rows;
}

}  // namespace zforms
