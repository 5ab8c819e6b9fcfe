#pragma once

#include <cstdint>

#include "zforms/acroform/appearance_characteristics.h"
#include "zforms/acroform/appearances.h"
#include "zforms/acroform/lazy_wrapper.h"
#include "zforms/acroform/rect.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeDictionary;

// The widget annotation that shows a field on a page (ISO 32000-1 12.5.6.19). A view onto its dictionary, which the
// document owns; it shares the wrappers that it returns with its copies. Setters write only changes. One thread at a
// time.
class ZFORMS_API ZAcroFormAnnotation {
 public:
  virtual ~ZAcroFormAnnotation();
  ZAcroFormAnnotation(const ZAcroFormAnnotation&) = default;
  ZAcroFormAnnotation& operator=(const ZAcroFormAnnotation&) = default;

  // "/F", 0 when absent (ISO 32000-1 table 165).
  uint32_t Flags() const;
  bool HasFlags() const;
  void SetFlags(uint32_t flags);
  // The flag Hidden, bit 2.
  bool IsHidden() const;
  void Hide(bool hide);
  // The flag ReadOnly of the annotation, bit 7; not the same as the read-only flag of the field.
  bool IsReadOnly() const;
  void SetReadOnly(bool read_only);

  // "/AP", "/MK" and "/Rect"; null when absent or of another kind.
  ZAcroFormAppearances* GetAppearances();
  const ZAcroFormAppearances* GetAppearances() const;
  bool HasAppearances() const;
  ZAcroFormAppearanceCharacteristics* GetAppearanceCharacteristics();
  const ZAcroFormAppearanceCharacteristics* GetAppearanceCharacteristics() const;
  bool HasAppearanceCharacteristics() const;
  ZAcroFormRect* GetRect();
  const ZAcroFormRect* GetRect() const;
  bool HasRect() const;

  // A button's captions as PDF text strings; creates "/MK" when it is absent.
  void SetNormalCaption(const Chaine& caption);
  void SetRolloverCaption(const Chaine& caption);
  void SetAlternateCaption(const Chaine& caption);

 protected:
  friend class LazyWrapper<ZAcroFormAnnotation>;
  explicit ZAcroFormAnnotation(ZPDFNodeDictionary* dictionary) : dictionary_(dictionary) {}

 private:
  void SetFlag(uint32_t flag, bool on);
  ZAcroFormAppearanceCharacteristics& EnsureCharacteristics();

  ZPDFNodeDictionary* dictionary_;
  LazyWrapper<ZAcroFormAppearanceCharacteristics> characteristics_;
  LazyWrapper<ZAcroFormAppearances> appearances_;
  LazyWrapper<ZAcroFormRect> rect_;
};

}  // namespace zforms
