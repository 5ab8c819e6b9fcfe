#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// The MD5 message digest (RFC 1321). Input may be added in pieces of any size. A plain value: a copy continues
// independently from the same state, which is wiped when it is destroyed.
class ZFORMS_API MD5 {
 public:
  using Bytes = std::array<uint8_t, 16>;

  MD5();
  MD5(const MD5& other);
  MD5& operator=(const MD5& other);
  ~MD5();

  void Update(std::string_view bytes);
  // The digest of everything added so far; more may be added afterwards.
  Bytes Digest() const;

 private:
  // The state of the system's library.
  alignas(8) std::array<std::byte, 104> state_;
};

// The 16 bytes of the digest of `bytes`.
ZFORMS_API Chaine MD5Of(std::string_view bytes);

}  // namespace zforms
