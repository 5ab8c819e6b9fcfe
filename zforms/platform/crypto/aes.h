#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zforms {

// The AES block cipher with one key for one direction (FIPS 197; the modes are those of NIST SP 800-38A). The length of
// the data is a multiple of the block size: the caller pads them. The key is wiped when it is destroyed. Any number of
// threads may use one at the same time.
class AES {
 public:
  enum class Direction : uint8_t { kEncrypt, kDecrypt };
  static constexpr size_t kBlock = 16;
  using Block = std::array<char, kBlock>;

  static bool IsKeyLength(size_t bytes) { return bytes == 16 || bytes == 32; }
  // Precondition: IsKeyLength(key.size()).
  AES(Direction direction, std::string_view key);
  AES(const AES&) = delete;
  AES& operator=(const AES&) = delete;
  ~AES();

  // Cipher block chaining (CBC). `*iv` is the initialization vector, and becomes the one for the blocks that follow.
  // `out` may be `in`; otherwise the two must not overlap. Precondition: n is a multiple of kBlock.
  void CBC(Block* iv, const char* in, char* out, size_t n) const;
  // Encrypts or decrypts each block by itself, without chaining (ECB).
  void ECB(const char* in, char* out, size_t n) const;

 private:
  Direction direction_;
  bool is_long_;  // the key has 32 bytes
  // The prepared key of the system's library.
  alignas(8) std::array<std::byte, 240> state_;
};

}  // namespace zforms
