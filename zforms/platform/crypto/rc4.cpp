#include "zforms/platform/crypto/rc4.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <utility>

namespace zforms {
namespace {

// Loading a word just after storing it is faster than loading a byte, so for long runs it pays to copy the permutation
// to whole words and back.
constexpr size_t kWideFrom = 2048;

template <class Entry>
struct KeyStream {
  Entry* s;
  uint32_t i;
  uint32_t j;

  uint8_t Next() {
    i = (i + 1) & 0xff;
    const Entry a = s[i];
    j = (j + a) & 0xff;
    const Entry b = s[j];
    s[i] = b;
    s[j] = a;
    return static_cast<uint8_t>(s[(a + b) & 0xff]);
  }

  // Eight bytes of key stream, the first at the lowest address.
  template <size_t... kByte>
  uint64_t NextEight(std::index_sequence<kByte...>) {
    constexpr bool kLittle = std::endian::native == std::endian::little;
    uint64_t word = 0;
    ((word |= uint64_t{Next()} << 8 * (kLittle ? kByte : 7 - kByte)), ...);
    return word;
  }

  void Combine(const char* in, char* out, size_t n, uint8_t* last_i, uint8_t* last_j) {
    for (; n >= sizeof(uint64_t); n -= 8, in += 8, out += 8) {
      uint64_t word;
      std::memcpy(&word, in, sizeof(word));
      word ^= NextEight(std::make_index_sequence<8>());
      std::memcpy(out, &word, sizeof(word));
    }
    for (; n != 0; --n) *out++ = static_cast<char>(*in++ ^ Next());
    *last_i = static_cast<uint8_t>(i);
    *last_j = static_cast<uint8_t>(j);
  }
};

}  // namespace

RC4::RC4(std::string_view key) {
  if (key.empty()) key = std::string_view("\0", 1);
  std::iota(permutation_.begin(), permutation_.end(), uint8_t{0});
  uint8_t j = 0;
  for (size_t i = 0, k = 0; i < permutation_.size(); ++i) {
    j = static_cast<uint8_t>(j + permutation_[i] + static_cast<uint8_t>(key[k]));
    std::swap(permutation_[i], permutation_[j]);
    if (++k == key.size()) k = 0;
  }
}

void RC4::Apply(const char* in, char* out, size_t n) {
  if (n < kWideFrom) {
    KeyStream<uint8_t>{permutation_.data(), i_, j_}.Combine(in, out, n, &i_, &j_);
    return;
  }
  std::array<uint32_t, 256> wide;
  std::copy(permutation_.begin(), permutation_.end(), wide.begin());
  KeyStream<uint32_t>{wide.data(), i_, j_}.Combine(in, out, n, &i_, &j_);
  std::transform(wide.begin(), wide.end(), permutation_.begin(), [](uint32_t v) { return static_cast<uint8_t>(v); });
}

Chaine RC4::Apply(std::string_view bytes) {
  Chaine result;
  Apply(bytes.data(), result.AppendUninitialized(bytes.size()), bytes.size());
  return result;
}

}  // namespace zforms
