#pragma once

#include <cstdint>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeDictionary;

// The document's interactive form dictionary, "/AcroForm" (ISO 32000-1 12.7.2), with the settings of the whole form. A
// view onto the dictionary, which the document owns.
class ZFORMS_API ZAcroFormFormInfos {
 public:
  virtual ~ZAcroFormFormInfos();
  ZAcroFormFormInfos(const ZAcroFormFormInfos&) = default;
  ZAcroFormFormInfos& operator=(const ZAcroFormFormInfos&) = default;

  // "/NeedAppearances": true when viewers must draw the fields' values again; false when absent.
  bool NeedAppearances() const;
  void SetNeedAppearances(bool need);
  // "/DA", the default appearance of the fields' texts; empty when absent.
  Chaine DefaultDefaultAppearance() const;
  // "/Q", 0 left, 1 centred, 2 right; 0 when absent.
  int32_t DefaultQuadding() const;
  // "/DR", the resources of the default appearances; null when absent.
  const ZPDFNodeDictionary* DefaultResources() const;

  ZPDFNodeDictionary* Dico() { return dictionary_; }
  const ZPDFNodeDictionary* Dico() const { return dictionary_; }
  // Marks only the dictionary itself, not the nodes below it.
  void SetModified(bool modified);

 protected:
  friend class ZAcroForm;
  explicit ZAcroFormFormInfos(ZPDFNodeDictionary* dictionary) : dictionary_(dictionary) {}

 private:
  ZPDFNodeDictionary* dictionary_;
};

}  // namespace zforms
