#include "zforms/acroform/field_tree.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "zforms/acroform/field.h"
#include "zforms/acroform/field_collection.h"
#include "zforms/acroform/node_access.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms {
namespace {

// In total, fields may be listed again this many times, and once more for each field of the tree.
constexpr size_t kRepeatsAtLeast = 16;
// The largest length of all full names together, in bytes.
constexpr size_t kMaxNameBytes = size_t{64} << 20;

}  // namespace

FieldTreeBuilder::FieldTreeBuilder(const ZAcroFormFormInfos* form, ZDiagnostics* diagnostics)
    : form_(form), diagnostics_(diagnostics) {}

void FieldTreeBuilder::Build(ZAcroFormFieldCollection& into, ZPDFNodeArray* array, const ZAcroFormField* parent) {
  for (size_t i = 0; array != nullptr && i < array->Size(); i++) {
    auto* dictionary = NodeCast<ZPDFNodeDictionary>(array->GetTargetAt(i));
    if (dictionary == nullptr) continue;
    std::unique_ptr<ZAcroFormField> field = Make(dictionary, array->GetDirectAt(i), parent);
    if (field == nullptr) continue;
    if (!into.Append(std::move(field))) {
      const Chaine name = into.GetAt(into.Size() - 1)->FullNameUTF8();
      Warn(array->GetDirectAt(i),
           "another field has the same name, \"" + name + "\": both are filled with the same value");
    }
  }
}

std::unique_ptr<ZAcroFormField> FieldTreeBuilder::Make(ZPDFNodeDictionary* dictionary, const ZPDFNode* element,
                                                       const ZAcroFormField* parent) {
  if (!Admit(dictionary, element)) return nullptr;
  std::unique_ptr<ZAcroFormField> field(new ZAcroFormField(dictionary, form_, parent, ZAcroFormField::Bare()));
  if (ZPDFNodeArray* kids = ArrayAt(*dictionary, "/Kids")) {
    path_.push_back({dictionary, NameLength() + field->Name().size() + 1});
    Build(*field, kids, field.get());
    path_.pop_back();
  }
  return field;
}

ZAcroFormField* FieldTreeBuilder::AddBelow(ZAcroFormFieldCollection& into, ZPDFNodeDictionary* dictionary,
                                           const ZPDFNode* element, const ZAcroFormField* parent, size_t depth,
                                           size_t name_length) {
  levels_above_ = depth;
  name_length_above_ = name_length;
  std::unique_ptr<ZAcroFormField> field = Make(dictionary, element, parent);
  ZAcroFormField* const added = field.get();
  if (added != nullptr) into.Append(std::move(field), ZAcroFormFieldCollection::Naming::kKeep);
  return added;
}

bool FieldTreeBuilder::Admit(ZPDFNodeDictionary* dictionary, const ZPDFNode* element) {
  if (levels_above_ + path_.size() >= kMaxDepth)
    return Refuse(element, "the field is nested too deeply and is left out");
  if (!seen_.Add(dictionary)) {
    if (IsOnPath(dictionary))
      return Refuse(element, "the field is listed below itself in \"/Kids\"; this entry is left out");
    if (++repeated_ > seen_.Size() + kRepeatsAtLeast) {
      return Refuse(element, "too many fields are listed more than once; this entry is left out");
    }
    Warn(element, "the field is listed more than once in \"/Fields\" or \"/Kids\"");
  }
  name_bytes_ += dictionary->StringText("/T").size() + NameLength();
  return name_bytes_ <= kMaxNameBytes ||
         Refuse(element, "the names of all fields together are too long; this field is left out");
}

bool FieldTreeBuilder::IsOnPath(const ZPDFNodeDictionary* dictionary) const {
  return std::any_of(path_.begin(), path_.end(),
                     [dictionary](const Level& level) { return level.dictionary == dictionary; });
}

// Names the object in the warning when the element is a reference.
void FieldTreeBuilder::Warn(const ZPDFNode* element, const Chaine& text) {
  if (diagnostics_ == nullptr) return;
  if (const auto* reference = NodeCast<ZPDFNodeIndirectReference>(element)) {
    diagnostics_->WarnObject(reference->GetID().Number(), reference->GetID().Generation(), text);
  } else {
    diagnostics_->Warn(text);
  }
}

bool FieldTreeBuilder::Refuse(const ZPDFNode* element, const char* reason) {
  Warn(element, reason);
  return false;
}

}  // namespace zforms
