#include "zforms/pdf/crypt/crypt_filters.h"

#include "zforms/pdf/dictionary_node.h"

namespace zforms {
namespace {

constexpr std::string_view kIdentity = "/Identity";

ZPDFCryptMethod MethodOf(const ZPDFNode* filter) {
  const auto* const entries = NodeCast<ZPDFNodeDictionary>(filter);
  if (entries == nullptr) return ZPDFCryptMethod::kUnsupported;
  const Chaine& method = entries->GetIdentifier("/CFM");
  if (!entries->Holds("/CFM") || method == "/None") return ZPDFCryptMethod::kNone;
  if (method == "/V2") return ZPDFCryptMethod::kRC4;
  if (method == "/AESV2") return ZPDFCryptMethod::kAESV2;
  return method == "/AESV3" ? ZPDFCryptMethod::kAESV3 : ZPDFCryptMethod::kUnsupported;
}

}  // namespace

ZPDFCryptFilters::ZPDFCryptFilters(const ZPDFNodeDictionary& encryption) : version_(encryption.GetUIntValue("/V")) {
  if (version_ < 4) return;
  if (const auto* const filters = NodeCast<ZPDFNodeDictionary>(encryption.GetTarget("/CF"))) {
    for (size_t i = 0; i < filters->Size(); i++) {
      const ZPDFNode* const filter = filters->ValueAt(i);
      if (filter != nullptr) named_.emplace(filters->KeyAt(i), MethodOf(filter->GetTarget()));
    }
  }
  const auto method_of = [&](const char* key, ZPDFCryptMethod otherwise) {
    return encryption.Exist(key) ? Named(encryption.GetIdentifier(key)) : otherwise;
  };
  streams_ = method_of("/StmF", ZPDFCryptMethod::kNone);
  strings_ = method_of("/StrF", ZPDFCryptMethod::kNone);
  embedded_files_ = method_of("/EFF", streams_);
}

ZPDFCryptMethod ZPDFCryptFilters::Named(const Chaine& name) const {
  // An entry in "/CF" cannot change the meaning of the standard name /Identity.
  if (name == kIdentity) return ZPDFCryptMethod::kNone;
  const auto found = named_.find(name);
  return found == named_.end() ? ZPDFCryptMethod::kUnsupported : found->second;
}

ZPDFCryptMethod ZPDFCryptFilters::Main() const {
  for (const ZPDFCryptMethod method : {streams_, strings_}) {
    if (method != ZPDFCryptMethod::kNone) return method;
  }
  return embedded_files_;
}

bool ZPDFCryptFilters::AreSupported() const {
  for (const ZPDFCryptMethod method : {streams_, strings_, embedded_files_}) {
    if (method == ZPDFCryptMethod::kUnsupported) return false;
    // "/V" 5 has a key of 256 bits, which only AESV3 uses; AESV3 needs that key.
    if (method != ZPDFCryptMethod::kNone && (method == ZPDFCryptMethod::kAESV3) != (version_ == 5)) return false;
  }
  return true;
}

}  // namespace zforms
