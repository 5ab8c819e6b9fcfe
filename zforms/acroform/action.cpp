#include "zforms/acroform/action.h"

#include "zforms/acroform/node_access.h"

namespace zforms {

ZAcroFormAction::~ZAcroFormAction() = default;

Chaine ZAcroFormAction::Type() const { return dictionary_->GetIdentifier("/S"); }

bool ZAcroFormAction::IsSubmitForm() const { return Type() == "/SubmitForm"; }

bool ZAcroFormAction::HasNext() const { return HasEntry(*dictionary_, "/Next"); }

bool ZAcroFormAction::HasFile() const { return HasEntry(*dictionary_, "/F"); }

ZAcroFormFileSpec* ZAcroFormAction::File() { return file_.Over(DictionaryAt(*dictionary_, "/F")); }

const ZAcroFormFileSpec* ZAcroFormAction::File() const { return file_.Over(DictionaryAt(*dictionary_, "/F")); }

bool ZAcroFormAction::HasURL() const {
  const ZAcroFormFileSpec* file = File();
  return file != nullptr && file->IsURL();
}

ZInetURL ZAcroFormAction::URL() const {
  const ZAcroFormFileSpec* file = File();
  return file == nullptr ? ZInetURL() : file->URL();
}

void ZAcroFormAction::SetURL(const ZInetURL& url) {
  if (File() == nullptr) dictionary_->SetValue("/F", new ZPDFNodeDictionary(dictionary_->ObjectProvider()));
  File()->SetURL(url);
}

}  // namespace zforms
