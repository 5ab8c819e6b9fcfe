#include <nettle/sha2.h>

#include "zforms/platform/base/os_memory.h"
#include "zforms/platform/crypto/sha2.h"

namespace zforms {
namespace {

template <class Context>
void Digest(void (*init)(Context*), void (*update)(Context*, size_t, const uint8_t*),
            void (*digest)(Context*, size_t, uint8_t*), size_t length, std::string_view bytes, char* out) {
  Context context;
  init(&context);
  update(&context, bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
  digest(&context, length, reinterpret_cast<uint8_t*>(out));
  WipeBytes(&context, sizeof(context));  // it contains the last bytes of the input
}

}  // namespace

size_t SHA2Of(SHA2 kind, std::string_view bytes, char* out) {
  const auto length = static_cast<size_t>(kind);
  switch (kind) {
    case SHA2::k256: Digest(sha256_init, sha256_update, sha256_digest, length, bytes, out); break;
    case SHA2::k384: Digest(sha384_init, sha512_update, sha384_digest, length, bytes, out); break;
    case SHA2::k512: Digest(sha512_init, sha512_update, sha512_digest, length, bytes, out); break;
  }
  return length;
}

}  // namespace zforms
