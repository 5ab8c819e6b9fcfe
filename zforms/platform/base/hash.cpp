#include "zforms/platform/base/hash.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <random>

namespace zforms {
namespace {

struct Key {
  uint64_t first;
  uint64_t second;
};

const Key& ProcessKey() {
  static const Key key = [] {
    std::random_device source;
    const auto draw = [&source] { return (uint64_t{source()} << 32) | source(); };
    const uint64_t first = draw();
    return Key{first, draw()};
  }();
  return key;
}

class SipState {
 public:
  explicit SipState(const Key& key)
      : v0_(key.first ^ 0x736f6d6570736575U),
        v1_(key.second ^ 0x646f72616e646f6dU),
        v2_(key.first ^ 0x6c7967656e657261U),
        v3_(key.second ^ 0x7465646279746573U) {}

  void Add(uint64_t word) {
    v3_ ^= word;
    Round();
    v0_ ^= word;
  }
  uint64_t Finish() {
    v2_ ^= 0xff;
    for (int i = 0; i < 3; i++) Round();
    return v0_ ^ v1_ ^ v2_ ^ v3_;
  }

 private:
  void Round() {
    v0_ += v1_;
    v2_ += v3_;
    v1_ = std::rotl(v1_, 13) ^ v0_;
    v3_ = std::rotl(v3_, 16) ^ v2_;
    v0_ = std::rotl(v0_, 32);
    v2_ += v1_;
    v0_ += v3_;
    v1_ = std::rotl(v1_, 17) ^ v2_;
    v3_ = std::rotl(v3_, 21) ^ v0_;
    v2_ = std::rotl(v2_, 32);
  }

  uint64_t v0_, v1_, v2_, v3_;
};

}  // namespace

uint64_t KeyedHash(std::string_view text) {
  SipState state(ProcessKey());
  const char* at = text.data();
  size_t left = text.size();
  for (; left >= 8; left -= 8, at += 8) {
    uint64_t word;
    std::memcpy(&word, at, 8);
    state.Add(word);
  }
  // The last word contains the remaining bytes and, in its top byte, the length.
  uint64_t last = uint64_t{text.size()} << 56;
  for (size_t i = 0; i < left; i++) last |= uint64_t{static_cast<unsigned char>(at[i])} << (8 * i);
  state.Add(last);
  return state.Finish();
}

}  // namespace zforms
