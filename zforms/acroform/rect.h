#pragma once

#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeArray;
template <class Wrapper>
class LazyWrapper;

// A widget's rectangle, "/Rect" (ISO 32000-1 7.9.5), in points. A view onto the array, which the document owns. Nothing
// is normalised: a rectangle with swapped corners has a negative width or height. Missing elements read as 0.
class ZFORMS_API ZAcroFormRect {
 public:
  virtual ~ZAcroFormRect();
  ZAcroFormRect(const ZAcroFormRect&) = default;
  ZAcroFormRect& operator=(const ZAcroFormRect&) = default;

  double LowerLeftX() const { return At(0); }
  double LowerLeftY() const { return At(1); }
  double UpperRightX() const { return At(2); }
  double UpperRightY() const { return At(3); }
  double Width() const { return At(2) - At(0); }
  double Height() const { return At(3) - At(1); }

 protected:
  friend class LazyWrapper<ZAcroFormRect>;
  explicit ZAcroFormRect(ZPDFNodeArray* array) : array_(array) {}

 private:
  double At(unsigned index) const;

  ZPDFNodeArray* array_;
};

}  // namespace zforms
