#include "zforms/acroform/form_infos.h"

#include <utility>

#include "zforms/acroform/node_access.h"

namespace zforms {

ZAcroFormFormInfos::~ZAcroFormFormInfos() = default;

bool ZAcroFormFormInfos::NeedAppearances() const { return dictionary_->GetBoolValue("/NeedAppearances"); }

void ZAcroFormFormInfos::SetNeedAppearances(bool need) { dictionary_->SetValue("/NeedAppearances", need); }

Chaine ZAcroFormFormInfos::DefaultDefaultAppearance() const { return dictionary_->GetStringValue("/DA"); }

int32_t ZAcroFormFormInfos::DefaultQuadding() const { return dictionary_->GetIntValue("/Q"); }

const ZPDFNodeDictionary* ZAcroFormFormInfos::DefaultResources() const {
  return DictionaryAt(std::as_const(*dictionary_), "/DR");
}

void ZAcroFormFormInfos::SetModified(bool modified) { dictionary_->SetModified(modified, false); }

}  // namespace zforms
