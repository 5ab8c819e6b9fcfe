#include "zforms/pdf/crypt/encrypter_by_filter.h"

#include <utility>

#include "zforms/pdf/crypt/encrypter_aes.h"
#include "zforms/pdf/crypt/encrypter_standard.h"
#include "zforms/pdf/crypt/object_key.h"

namespace zforms {

ZPDFFilterKeys::ZPDFFilterKeys(ZPDFCryptFilters filters, const Chaine& file_key, bool encrypts_metadata)
    : filters_(std::move(filters)), file_key_(file_key), encrypts_metadata_(encrypts_metadata) {}

ZPDFFilterKeys::ZPDFFilterKeys(ZPDFCryptFilters filters, const SecretBytes<32>& file_key, bool encrypts_metadata)
    : filters_(std::move(filters)),
      encrypts_metadata_(encrypts_metadata),
      aes_256_(std::make_unique<ZPDFEncrypterAES>(file_key.View())) {}

ZPDFFilterKeys::~ZPDFFilterKeys() = default;

ZPDFCryptMethod ZPDFFilterKeys::MethodOf(const ZPDFStreamTraits& stream) const {
  if (stream.type == "/XRef") return ZPDFCryptMethod::kNone;
  if (stream.has_crypt_filter) return filters_.Named(stream.crypt_filter);
  if (stream.type == "/Metadata" && !encrypts_metadata_) return ZPDFCryptMethod::kNone;
  return stream.type == "/EmbeddedFile" ? filters_.ForEmbeddedFiles() : filters_.ForStreams();
}

std::unique_ptr<ZPDFEncrypter> ZPDFFilterKeys::Make(ZPDFCryptMethod method, const ZPDFObjectIdentifier& id) const {
  const bool has_short_key = aes_256_ == nullptr;
  if (method == ZPDFCryptMethod::kRC4 && has_short_key) return std::make_unique<ZPDFEncrypterStandard>(file_key_, id);
  if (method == ZPDFCryptMethod::kAESV2 && has_short_key) {
    const SecretText key = ObjectKeyOf(file_key_, id, true);
    if (key.size() == 16) return std::make_unique<ZPDFEncrypterAES>(ZPDFEncrypterAES::ForOneObject(key));
  }
  if (method == ZPDFCryptMethod::kAESV3 && aes_256_ != nullptr) return std::make_unique<ZPDFEncrypterAES>(*aes_256_);
  return std::make_unique<ZPDFEncrypterNeutral>();
}

ZPDFEncrypterByFilter::ZPDFEncrypterByFilter(std::shared_ptr<const ZPDFFilterKeys> keys, const ZPDFObjectIdentifier& id)
    : keys_(std::move(keys)), id_(id) {}

ZPDFEncrypterByFilter::~ZPDFEncrypterByFilter() = default;

ZPDFEncrypterByFilter* ZPDFEncrypterByFilter::Clone() const { return new ZPDFEncrypterByFilter(keys_, id_); }

const ZPDFEncrypter& ZPDFEncrypterByFilter::ForStrings() const {
  if (strings_ == nullptr) strings_ = keys_->Make(keys_->Filters().ForStrings(), id_);
  return *strings_;
}

Chaine ZPDFEncrypterByFilter::Encrypt(const Chaine& data) const { return ForStrings().Encrypt(data); }

Chaine ZPDFEncrypterByFilter::Decrypt(const Chaine& data) const { return ForStrings().Decrypt(data); }

Chaine ZPDFEncrypterByFilter::DecryptChecked(const Chaine& data, std::string* fault) const {
  return ForStrings().DecryptChecked(data, fault);
}

std::unique_ptr<ZPDFEncrypter> ZPDFEncrypterByFilter::ForStream(const ZPDFStreamTraits& stream) const {
  return keys_->Make(keys_->MethodOf(stream), id_);
}

}  // namespace zforms
