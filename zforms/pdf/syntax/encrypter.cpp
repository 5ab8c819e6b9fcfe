#include "zforms/pdf/syntax/encrypter.h"

namespace zforms {

ZPDFEncrypter::~ZPDFEncrypter() = default;

Chaine ZPDFEncrypter::Decrypt(const Chaine& data) const { return Encrypt(data); }

Chaine ZPDFEncrypter::DecryptChecked(const Chaine& data, std::string*) const { return Decrypt(data); }

bool ZPDFEncrypter::TellsStreamsApart() const { return false; }

std::unique_ptr<ZPDFEncrypter> ZPDFEncrypter::ForStream(const ZPDFStreamTraits&) const { return nullptr; }

void ZPDFEncrypter::Rest() const {}

ZPDFEncrypterNeutral* ZPDFEncrypterNeutral::Clone() const { return new ZPDFEncrypterNeutral; }

Chaine ZPDFEncrypterNeutral::Encrypt(const Chaine& data) const { return data; }

const ZPDFEncrypterNeutral* ZPDFEncrypterNeutral::Default() {
  // Never destroyed, so that objects with static lifetime may still write.
  static const auto* const shared = new ZPDFEncrypterNeutral;
  return shared;
}

}  // namespace zforms
