#include "zforms/acroform/file_spec.h"

#include "zforms/pdf/dictionary_node.h"

namespace zforms {

ZAcroFormFileSpec::~ZAcroFormFileSpec() = default;

bool ZAcroFormFileSpec::IsURL() const { return dictionary_->GetIdentifier("/FS") == "/URL"; }

ZInetURL ZAcroFormFileSpec::URL() const { return {dictionary_->GetStringValue("/F")}; }

void ZAcroFormFileSpec::SetURL(const ZInetURL& url) {
  dictionary_->SetIdentifier("/FS", "/URL");
  dictionary_->SetValue("/F", url.AsChaine(false, false));
}

}  // namespace zforms
