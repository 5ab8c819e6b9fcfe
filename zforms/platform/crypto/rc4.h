#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// The RC4 stream cipher: a permutation of the 256 byte values and two indices into it. Encryption and decryption are
// the same operation. A plain value of 258 bytes: a copy continues with the same key stream.
class RC4 {
 public:
  // Keys have 1 to 256 bytes; bytes after the 256th are ignored. An empty key counts as one zero byte.
  explicit RC4(std::string_view key);

  // XORs `n` bytes with the next `n` bytes of the key stream. `out` may be `in`; otherwise the two must not overlap.
  void Apply(const char* in, char* out, size_t n);
  Chaine Apply(std::string_view bytes);

 private:
  std::array<uint8_t, 256> permutation_;
  uint8_t i_ = 0;
  uint8_t j_ = 0;
};

static_assert(sizeof(RC4) == 258);

}  // namespace zforms
