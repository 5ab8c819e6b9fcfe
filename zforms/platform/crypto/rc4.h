#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// The RC4 stream cipher. Encryption and decryption are the same operation. A plain value: a copy continues with the
// same key stream. The state is wiped when it is destroyed.
class RC4 {
 public:
  // Keys have 1 to 256 bytes; bytes after the 256th are ignored. An empty key counts as one zero byte.
  explicit RC4(std::string_view key);
  RC4(const RC4& other);
  RC4& operator=(const RC4& other);
  ~RC4();

  // XORs `n` bytes with the next `n` bytes of the key stream. `out` may be `in`; otherwise the two must not overlap.
  void Apply(const char* in, char* out, size_t n);
  Chaine Apply(std::string_view bytes) {
    Chaine result;
    Apply(bytes.data(), result.AppendUninitialized(bytes.size()), bytes.size());
    return result;
  }

 private:
  // The state of the system's library: a permutation of the 256 byte values and two indices into it.
  alignas(8) std::array<std::byte, 264> state_;
};

}  // namespace zforms
