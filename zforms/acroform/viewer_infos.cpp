#include "zforms/acroform/viewer_infos.h"

#include "zforms/pdf/dictionary_node.h"

namespace zforms {

ZAcroFormViewerInfos::~ZAcroFormViewerInfos() = default;

bool ZAcroFormViewerInfos::Get(std::string_view key) const { return dictionary_->GetBoolValue(key); }

void ZAcroFormViewerInfos::Set(std::string_view key, bool value) const {
  if (value != Get(key)) dictionary_->SetValue(key, value);
}

bool ZAcroFormViewerInfos::IsModified() const { return dictionary_->IsModified(); }

void ZAcroFormViewerInfos::SetModified(bool modified) { dictionary_->SetModified(modified, false); }

}  // namespace zforms
