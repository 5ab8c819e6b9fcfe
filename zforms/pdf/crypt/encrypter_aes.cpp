#include "zforms/pdf/crypt/encrypter_aes.h"

#include <algorithm>
#include <cstring>

#include "zforms/platform/crypto/aes.h"
#include "zforms/platform/crypto/secret.h"

namespace zforms {
namespace {

const AES& Ready(std::shared_ptr<const AES>* cipher, AES::Direction direction, const Chaine& key) {
  if (*cipher == nullptr) *cipher = std::make_shared<const AES>(direction, key);
  return **cipher;
}

// The length of the padding, 0 when it is wrong. Precondition: there is at least a block.
size_t PaddingOf(const Chaine& plain) {
  const auto length = static_cast<unsigned char>(plain.Last());
  if (length == 0 || length > AES::kBlock) return 0;
  const std::string_view padding = plain.View().substr(plain.size() - length);
  return padding.find_first_not_of(static_cast<char>(length)) == std::string_view::npos ? length : 0;
}

}  // namespace

ZPDFEncrypterAES::ZPDFEncrypterAES() = default;

ZPDFEncrypterAES::ZPDFEncrypterAES(std::string_view key)
    : encrypt_(std::make_shared<const AES>(AES::Direction::kEncrypt, key)),
      decrypt_(std::make_shared<const AES>(AES::Direction::kDecrypt, key)) {}

ZPDFEncrypterAES ZPDFEncrypterAES::ForOneObject(const Chaine& key) {
  ZPDFEncrypterAES encrypter;
  encrypter.key_ = key;
  return encrypter;
}

ZPDFEncrypterAES::ZPDFEncrypterAES(const ZPDFEncrypterAES& other) = default;
ZPDFEncrypterAES::~ZPDFEncrypterAES() = default;

ZPDFEncrypterAES* ZPDFEncrypterAES::Clone() const { return new ZPDFEncrypterAES(*this); }

Chaine ZPDFEncrypterAES::Encrypt(const Chaine& data) const {
  const AES& cipher = Ready(&encrypt_, AES::Direction::kEncrypt, key_);
  const size_t whole = data.size() - data.size() % AES::kBlock;
  const size_t rest = data.size() - whole;
  Chaine result;
  char* const out = result.AppendUninitialized(AES::kBlock + whole + AES::kBlock);
  AES::Block start;
  FillRandom(start.data(), start.size());
  std::memcpy(out, start.data(), start.size());
  cipher.CBC(&start, data.data(), out + AES::kBlock, whole);
  AES::Block last;
  last.fill(static_cast<char>(AES::kBlock - rest));
  std::copy_n(data.data() + whole, rest, last.data());
  cipher.CBC(&start, last.data(), out + AES::kBlock + whole, AES::kBlock);
  return result;
}

Chaine ZPDFEncrypterAES::Decrypt(const Chaine& data) const {
  std::string ignored;
  return DecryptChecked(data, &ignored);
}

Chaine ZPDFEncrypterAES::DecryptChecked(const Chaine& data, std::string* fault) const {
  // Some writers do not encrypt empty strings.
  if (data.IsEmpty()) return data;
  if (data.size() < AES::kBlock) {
    *fault = "is too short for AES, and is read without decryption";
    return data;
  }
  const size_t stored = data.size() - AES::kBlock;
  const size_t whole = stored - stored % AES::kBlock;
  Chaine plain;
  if (whole > 0) {
    AES::Block start;
    std::memcpy(start.data(), data.data(), start.size());
    const AES& cipher = Ready(&decrypt_, AES::Direction::kDecrypt, key_);
    cipher.CBC(&start, data.data() + AES::kBlock, plain.AppendUninitialized(whole), whole);
  }
  if (whole < stored) {
    *fault = "ends within an AES block, which is left out";
    return plain;
  }
  const size_t padding = plain.IsEmpty() ? 0 : PaddingOf(plain);
  if (padding == 0 && !plain.IsEmpty()) *fault = "does not end with the padding of AES";
  plain.Truncate(plain.size() - padding);
  return plain;
}

}  // namespace zforms
