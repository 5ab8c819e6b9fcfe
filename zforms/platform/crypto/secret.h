#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "zforms/platform/base/os_memory.h"

namespace zforms {

// Fills `out` with random bytes of the operating system, fit for keys and initialization vectors. Throws
// std::system_error when the system gives none, which does not happen in practice.
void FillRandom(char* out, size_t n);

// Whether the bytes are equal. For equal lengths the time does not depend on the bytes.
bool EqualsInConstantTime(std::string_view a, std::string_view b);

// A buffer for a key or a password, wiped when it is destroyed.
template <size_t kSize>
class SecretBytes {
 public:
  SecretBytes() = default;
  SecretBytes(const SecretBytes&) = delete;
  SecretBytes& operator=(const SecretBytes&) = delete;
  ~SecretBytes() { WipeBytes(bytes_.data(), kSize); }

  char* data() { return bytes_.data(); }
  const char* data() const { return bytes_.data(); }
  std::string_view View(size_t start = 0, size_t length = kSize) const {
    return std::string_view(bytes_.data(), kSize).substr(start, length);
  }

 private:
  std::array<char, kSize> bytes_ = {};
};

}  // namespace zforms
