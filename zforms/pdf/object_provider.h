#pragma once

#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeIndirectObject;
class ZPDFObjectIdentifier;

// Through this interface a reference finds its target. The document parser is
// the usual provider; the provider owns what it returns.
class ZFORMS_API IPDFObjectProvider {
 public:
  // The indirect object with that identifier, or null when there is none.
  virtual ZPDFNodeIndirectObject* GetObject(const ZPDFObjectIdentifier& id) = 0;
  virtual ~IPDFObjectProvider();
};

}  // namespace zforms
