#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeDictionary;
template <class Wrapper>
class LazyWrapper;

// A widget's appearance characteristics, "/MK" (ISO 32000-1 12.5.6.19); the form model reads only a button's captions.
// A view onto the dictionary, which the document owns. Captions are PDF text strings, empty when absent.
class ZFORMS_API ZAcroFormAppearanceCharacteristics {
 public:
  virtual ~ZAcroFormAppearanceCharacteristics();
  ZAcroFormAppearanceCharacteristics(const ZAcroFormAppearanceCharacteristics&) = default;
  ZAcroFormAppearanceCharacteristics& operator=(const ZAcroFormAppearanceCharacteristics&) = default;

  // "/CA".
  Chaine NormalCaption() const;
  bool HasNormalCaption() const;
  void SetNormalCaption(const Chaine& caption);
  // "/RC", shown while the pointer is over the button.
  Chaine RolloverCaption() const;
  bool HasRolloverCaption() const;
  void SetRolloverCaption(const Chaine& caption);
  // "/AC", shown while the button is pressed.
  Chaine AlternateCaption() const;
  bool HasAlternateCaption() const;
  void SetAlternateCaption(const Chaine& caption);

 protected:
  friend class LazyWrapper<ZAcroFormAppearanceCharacteristics>;
  explicit ZAcroFormAppearanceCharacteristics(ZPDFNodeDictionary* dictionary) : dictionary_(dictionary) {}

 private:
  ZPDFNodeDictionary* dictionary_;
};

}  // namespace zforms
