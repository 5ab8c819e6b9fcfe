#pragma once

#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeIndirectObject;
class ZPDFObjectIdentifier;

// The interface that gives a reference its target. Usually the document parser implements it. The provider owns the
// objects that it returns.
class ZFORMS_API IPDFObjectProvider {
 public:
  // The indirect object with that identifier, or null when there is none.
  virtual ZPDFNodeIndirectObject* GetObject(const ZPDFObjectIdentifier& id) = 0;
  virtual ~IPDFObjectProvider();
};

}  // namespace zforms
