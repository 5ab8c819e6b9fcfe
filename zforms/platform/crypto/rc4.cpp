#include "zforms/platform/crypto/rc4.h"

#include <nettle/arcfour.h>

#include <algorithm>

#include "zforms/platform/crypto/secret.h"

namespace zforms {

RC4::RC4(std::string_view key) {
  static_assert(sizeof(arcfour_ctx) <= sizeof(state_));
  if (key.empty()) key = std::string_view("\0", 1);
  arcfour_set_key(reinterpret_cast<arcfour_ctx*>(state_.data()), std::min<size_t>(key.size(), ARCFOUR_MAX_KEY_SIZE),
                  reinterpret_cast<const uint8_t*>(key.data()));
}

RC4::RC4(const RC4& other) = default;
RC4& RC4::operator=(const RC4& other) = default;
RC4::~RC4() { WipeBytes(state_.data(), state_.size()); }

void RC4::Apply(const char* in, char* out, size_t n) {
  arcfour_crypt(reinterpret_cast<arcfour_ctx*>(state_.data()), n, reinterpret_cast<uint8_t*>(out),
                reinterpret_cast<const uint8_t*>(in));
}

}  // namespace zforms
