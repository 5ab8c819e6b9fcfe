#include "zforms/appearance/field_removal.h"

#include <string>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/change_rules.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/parser.h"

namespace zforms {
namespace {

ZPDFNodeArray* ArrayAt(ZPDFNodeDictionary& holder, const char* key) {
  return NodeCast<ZPDFNodeArray>(holder.GetTarget(key));
}

bool IsEmpty(const ZPDFNodeArray* array) { return array == nullptr || array->Size() == 0; }

class TreePruner {
 public:
  explicit TreePruner(DictionarySet* gone) : gone_(gone) {}

  // Removes the fields of the set at this level and below it, and the groups that become empty. `listed` is the array
  // that lists this level. True when a field of this level stays.
  bool Prune(ZAcroFormFieldCollection& fields, ZPDFNodeArray* listed) {
    bool any_stays = false;
    for (uint32_t i = 0; i < fields.Size(); i++) {
      ZAcroFormField& field = *fields.GetAt(i);
      ZPDFNodeDictionary& dictionary = *field.Dico();
      if (gone_->contains(&dictionary)) continue;
      ZPDFNodeArray* kids = ArrayAt(dictionary, "/Kids");
      if (field.Size() > 0 && !Prune(field, kids) && IsEmpty(kids)) {
        gone_->insert(&dictionary);
        continue;
      }
      any_stays = true;
      has_signature_ |= field.IsSignature();
    }
    RemoveElements(listed, *gone_);
    return any_stays;
  }
  bool HasSignature() const { return has_signature_; }

 private:
  DictionarySet* gone_;
  bool has_signature_ = false;
};

// Removes the form. A form dictionary that is a direct value in the catalog is only emptied, since wrappers still point
// to it.
void RemoveForm(ZPDFNodeDictionary& catalog, ZPDFNodeDictionary& infos) {
  if (catalog.GetDirect("/AcroForm") != &infos) {
    catalog.RemoveValue("/AcroForm");
    return;
  }
  for (size_t i = infos.Size(); i > 0; i--) {
    const std::string key(infos.KeyAt(i - 1));
    if (key != "/Fields") infos.RemoveValue(key);
  }
}

void RemoveCertification(ZPDFNodeDictionary& catalog) {
  auto* permissions = NodeCast<ZPDFNodeDictionary>(catalog.GetTarget("/Perms"));
  if (permissions == nullptr || !permissions->Exist("/DocMDP")) return;
  permissions->RemoveValue("/DocMDP");
  if (permissions->Size() == 0) catalog.RemoveValue("/Perms");
}

}  // namespace

void RemoveFields(ZAcroForm& form, DictionarySet* gone, bool keeps_fonts) {
  ZPDFNodeDictionary& catalog = *form.Parser()->Root();
  ZPDFNodeDictionary& infos = *form.Infos()->Dico();
  ZPDFNodeArray* order = ArrayAt(infos, "/CO");
  RemoveElements(order, *gone);
  TreePruner pruner(gone);
  const bool any_stays = pruner.Prune(form.Fields(), ArrayAt(infos, "/Fields"));
  if (order != nullptr && order->Size() == 0) infos.RemoveValue("/CO");
  if (!pruner.HasSignature()) {
    infos.RemoveValue("/SigFlags");
    RemoveCertification(catalog);
  }
  if (any_stays) return;
  ZAcroFormChangeRules::DropXFA(form);
  infos.RemoveValue("/NeedAppearances");
  infos.RemoveValue("/CO");
  RemoveElements(ArrayAt(infos, "/Fields"), [](const ZPDFNode&) { return true; });
  if (!keeps_fonts) RemoveForm(catalog, infos);
}

}  // namespace zforms
