#include <nettle/aes.h>
#include <nettle/cbc.h>

#include "zforms/platform/crypto/aes.h"
#include "zforms/platform/crypto/secret.h"

namespace zforms {
namespace {

// nettle's functions of one key length and direction.
struct Functions {
  void (*set_key)(void*, const uint8_t*);
  nettle_cipher_func* crypt;
};

template <auto kSetKey, auto kCrypt, class Context>
constexpr Functions Make() {
  return {[](void* context, const uint8_t* key) { kSetKey(static_cast<Context*>(context), key); },
          [](const void* context, size_t n, uint8_t* out, const uint8_t* in) {
            kCrypt(static_cast<const Context*>(context), n, out, in);
          }};
}

Functions FunctionsFor(AES::Direction direction, bool is_long) {
  if (direction == AES::Direction::kEncrypt) {
    return is_long ? Make<aes256_set_encrypt_key, aes256_encrypt, aes256_ctx>()
                   : Make<aes128_set_encrypt_key, aes128_encrypt, aes128_ctx>();
  }
  return is_long ? Make<aes256_set_decrypt_key, aes256_decrypt, aes256_ctx>()
                 : Make<aes128_set_decrypt_key, aes128_decrypt, aes128_ctx>();
}

const uint8_t* AsBytes(const char* bytes) { return reinterpret_cast<const uint8_t*>(bytes); }
uint8_t* AsBytes(char* bytes) { return reinterpret_cast<uint8_t*>(bytes); }

}  // namespace

AES::AES(Direction direction, std::string_view key) : direction_(direction), is_long_(key.size() == 32) {
  static_assert(sizeof(aes256_ctx) <= sizeof(state_) && sizeof(aes128_ctx) <= sizeof(state_));
  FunctionsFor(direction_, is_long_).set_key(state_.data(), AsBytes(key.data()));
}

AES::~AES() { WipeBytes(state_.data(), state_.size()); }

void AES::CBC(Block* iv, const char* in, char* out, size_t n) const {
  const Functions functions = FunctionsFor(direction_, is_long_);
  const auto run = direction_ == Direction::kEncrypt ? cbc_encrypt : cbc_decrypt;
  run(state_.data(), functions.crypt, kBlock, AsBytes(iv->data()), n, AsBytes(out), AsBytes(in));
}

void AES::ECB(const char* in, char* out, size_t n) const {
  FunctionsFor(direction_, is_long_).crypt(state_.data(), n, AsBytes(out), AsBytes(in));
}

}  // namespace zforms
