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

  // The methods of the filters that "/StmF", "/StrF" and "/EFF" name. Without "/StmF", streams are not encrypted;
  // without "/StrF", strings are not. Without "/EFF", embedded files have the method of other streams.
  ZPDFCryptMethod ForStreams() const { return streams_; }
  ZPDFCryptMethod ForStrings() const { return strings_; }
  ZPDFCryptMethod ForEmbeddedFiles() const { return embedded_files_; }
  // The method of the filter with this name in "/CF": kNone for /Identity, kUnsupported when there is no such filter.
  ZPDFCryptMethod Named(const Chaine& name) const;
  // Of the methods for streams, strings and embedded files, in this order, the first that is not kNone; kNone when all
  // are.
  ZPDFCryptMethod Main() const;
  // False when a filter in use has an unknown method, or one that "/V" does not allow.
  bool AreSupported() const;

 private:
  std::map<Chaine, ZPDFCryptMethod> named_;
  uint32_t version_;
  ZPDFCryptMethod streams_ = ZPDFCryptMethod::kRC4;
  ZPDFCryptMethod strings_ = ZPDFCryptMethod::kRC4;
  ZPDFCryptMethod embedded_files_ = ZPDFCryptMethod::kRC4;
};

}  // namespace zforms
