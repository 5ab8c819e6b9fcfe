#include "zforms/platform/crypto/md5.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace zforms {
namespace {

constexpr size_t kSteps = 64;

// floor(2^32 * abs(sin(step + 1))), RFC 1321 section 3.4.
constexpr std::array<uint32_t, kSteps> kSines = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// By round and by step within its cycle of four.
constexpr int kRotations[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
// The message word of a round's step i is (factor * i + offset) % 16.
constexpr size_t kWordFactor[4] = {1, 5, 3, 7};
constexpr size_t kWordOffset[4] = {0, 1, 5, 0};

using Words = std::array<uint32_t, 16>;
using State = std::array<uint32_t, 4>;

// Optimized order of additions: only the last added term depends on b, the result of the step before.
template <size_t kRound>
uint32_t Mixed(uint32_t sum, uint32_t b, uint32_t c, uint32_t d) {
  if constexpr (kRound == 0) return sum + (d ^ (b & (c ^ d)));
  if constexpr (kRound == 1) return sum + (c & ~d) + (b & d);
  if constexpr (kRound == 2) return sum + ((c ^ d) ^ b);
  if constexpr (kRound == 3) return sum + (c ^ (b | ~d));
}

// The roles of a, b, c and d rotate by one place with each step. All indices are compile-time constants, so the state
// stays in four registers.
template <size_t kStep>
void Step(State& s, const Words& words) {
  constexpr size_t kRound = kStep / 16;
  constexpr size_t kWord = (kWordFactor[kRound] * (kStep % 16) + kWordOffset[kRound]) % 16;
  constexpr size_t a = (kSteps - kStep) % 4;
  constexpr size_t b = (a + 1) % 4;
  constexpr size_t c = (a + 2) % 4;
  constexpr size_t d = (a + 3) % 4;
  const uint32_t sum = s[a] + words[kWord] + kSines[kStep];
  s[a] = s[b] + std::rotl(Mixed<kRound>(sum, s[b], s[c], s[d]), kRotations[kRound][kStep % 4]);
}

template <size_t... kStep>
void AllSteps(State& s, const Words& words, std::index_sequence<kStep...>) {
  (Step<kStep>(s, words), ...);
}

uint32_t LoadLittleEndian(const char* bytes) {
  const auto byte = [bytes](size_t i) { return uint32_t{static_cast<uint8_t>(bytes[i])}; };
  return byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
}

}  // namespace

void MD5::Compress(const char* blocks, size_t count) {
  State state = state_;
  for (; count != 0; --count, blocks += kBlockSize) {
    Words words;
    for (size_t i = 0; i < words.size(); ++i) words[i] = LoadLittleEndian(blocks + 4 * i);
    const State before = state;
    AllSteps(state, words, std::make_index_sequence<kSteps>());
    for (size_t i = 0; i < state.size(); ++i) state[i] += before[i];
  }
  state_ = state;
}

void MD5::Update(std::string_view bytes) {
  if (bytes.empty()) return;
  const size_t held = length_ % kBlockSize;
  length_ += bytes.size();
  if (held != 0) {
    const size_t taken = std::min(kBlockSize - held, bytes.size());
    std::memcpy(pending_.data() + held, bytes.data(), taken);
    bytes.remove_prefix(taken);
    if (held + taken < kBlockSize) return;
    Compress(pending_.data(), 1);
  }
  const size_t whole = bytes.size() / kBlockSize;
  Compress(bytes.data(), whole);
  bytes.remove_prefix(whole * kBlockSize);
  if (!bytes.empty()) std::memcpy(pending_.data(), bytes.data(), bytes.size());
}

MD5::Bytes MD5::Digest() const {
  // The padding: a one bit, zeros up to eight bytes before a block's end, then the length in bits.
  char padding[kBlockSize + 8] = {static_cast<char>(0x80)};
  const size_t held = length_ % kBlockSize;
  const size_t fill = (held < kBlockSize - 8 ? kBlockSize - 8 : 2 * kBlockSize - 8) - held;
  for (size_t i = 0; i < 8; ++i) padding[fill + i] = static_cast<char>(length_ << 3 >> (8 * i) & 0xff);

  MD5 last = *this;
  last.Update({padding, fill + 8});
  Bytes digest;
  for (size_t i = 0; i < digest.size(); ++i) {
    digest[i] = static_cast<uint8_t>(last.state_[i / 4] >> (8 * (i % 4)) & 0xff);
  }
  return digest;
}

Chaine MD5Of(std::string_view bytes) {
  MD5 md5;
  md5.Update(bytes);
  const MD5::Bytes digest = md5.Digest();
  return {reinterpret_cast<const char*>(digest.data()), digest.size()};
}

}  // namespace zforms
