#pragma once

#include <cstdint>
#include <map>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeDictionary;

// How strings or streams are encrypted (ISO 32000-1 table 25, ISO 32000-2 table 25).
enum class ZPDFCryptMethod : uint8_t { kNone, kRC4, kAESV2, kAESV3, kUnsupported };

// The methods of the crypt filters of an encryption dictionary. "/V" 1 and 2 have no crypt filters and use RC4 for
// everything.
class ZPDFCryptFilters {
 public:
  explicit ZPDFCryptFilters(const ZPDFNodeDictionary& encryption);

  // "/StmF" and "/StrF"; /Identity, which encrypts nothing, when absent. "/EFF"; that of other streams when absent.
  ZPDFCryptMethod ForStreams() const { return streams_; }
  ZPDFCryptMethod ForStrings() const { return strings_; }
  ZPDFCryptMethod ForEmbeddedFiles() const { return embedded_files_; }
  // The filter of that name in "/CF"; kUnsupported when there is none.
  ZPDFCryptMethod Named(const Chaine& name) const;
  // The method that encrypts most: of streams, else of strings, else of embedded files.
  ZPDFCryptMethod Main() const;
  // False when a filter in use has a method that cannot be read, or that "/V" does not allow.
  bool AreSupported() const;

 private:
  std::map<Chaine, ZPDFCryptMethod> named_;
  uint32_t version_;
  ZPDFCryptMethod streams_ = ZPDFCryptMethod::kRC4;
  ZPDFCryptMethod strings_ = ZPDFCryptMethod::kRC4;
  ZPDFCryptMethod embedded_files_ = ZPDFCryptMethod::kRC4;
};

}  // namespace zforms
