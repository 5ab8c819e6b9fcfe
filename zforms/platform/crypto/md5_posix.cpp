#include <nettle/md5.h>

#include <cstring>

#include "zforms/platform/base/os_memory.h"
#include "zforms/platform/crypto/md5.h"

namespace zforms {
namespace {

const uint8_t* AsBytes(std::string_view text) { return reinterpret_cast<const uint8_t*>(text.data()); }

}  // namespace

MD5::MD5() : state_{} {
  static_assert(sizeof(md5_ctx) <= sizeof(state_));
  md5_init(reinterpret_cast<md5_ctx*>(state_.data()));
}

MD5::MD5(const MD5& other) = default;
MD5& MD5::operator=(const MD5& other) = default;
MD5::~MD5() { WipeBytes(state_.data(), state_.size()); }

void MD5::Update(std::string_view bytes) {
  md5_update(reinterpret_cast<md5_ctx*>(state_.data()), bytes.size(), AsBytes(bytes));
}

MD5::Bytes MD5::Digest() const {
  md5_ctx context;
  std::memcpy(&context, state_.data(), sizeof(context));
  Bytes digest;
  md5_digest(&context, digest.size(), digest.data());
  WipeBytes(&context, sizeof(context));
  return digest;
}

Chaine MD5Of(std::string_view bytes) {
  md5_ctx context;
  md5_init(&context);
  md5_update(&context, bytes.size(), AsBytes(bytes));
  Chaine digest;
  md5_digest(&context, MD5_DIGEST_SIZE, reinterpret_cast<uint8_t*>(digest.AppendUninitialized(MD5_DIGEST_SIZE)));
  WipeBytes(&context, sizeof(context));  // it contains the last bytes of the input
  return digest;
}

}  // namespace zforms
