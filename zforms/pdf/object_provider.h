#pragma once

#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeIndirectObject;
class ZPDFObjectIdentifier;

// The interface through which a reference finds its target. Usually the document parser implements it; the provider
// owns the objects it returns.
class ZFORMS_API IPDFObjectProvider {
 public:
  // The indirect object with that identifier, or null when there is none.
  virtual ZPDFNodeIndirectObject* GetObject(const ZPDFObjectIdentifier& id) = 0;
  virtual ~IPDFObjectProvider();
};

}  // namespace zforms
