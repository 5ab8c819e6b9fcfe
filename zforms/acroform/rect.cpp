#include "zforms/acroform/rect.h"

#include <utility>

#include "zforms/pdf/array_node.h"

namespace zforms {

ZAcroFormRect::~ZAcroFormRect() = default;

double ZAcroFormRect::At(unsigned index) const {
  const ZPDFNode* number = std::as_const(*array_).GetTargetAt(index);
  return number == nullptr ? 0 : number->GetDoubleValue();
}

}  // namespace zforms
