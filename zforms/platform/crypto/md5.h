#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// The MD5 message digest (RFC 1321). Input may be added in pieces of any size. A plain value: a copy continues
// independently from the same state.
class ZFORMS_API MD5 {
 public:
  using Bytes = std::array<uint8_t, 16>;

  void Update(std::string_view bytes);
  // The digest of everything added so far; more may be added afterwards.
  Bytes Digest() const;

 private:
  static constexpr size_t kBlockSize = 64;

  void Compress(const char* blocks, size_t count);

  std::array<uint32_t, 4> state_ = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  uint64_t length_ = 0;
  // The bytes of the incomplete last block: length_ % kBlockSize of them.
  std::array<char, kBlockSize> pending_ = {};
};

// The 16 bytes of the digest of `bytes`.
ZFORMS_API Chaine MD5Of(std::string_view bytes);

}  // namespace zforms
