#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>

#include "zforms/acroform/field_tree.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

// Adds to a form the fields that its pages alone know: widgets among the annotations
// ("/Annots") that "/Fields" does not lead to, though they have a type ("/FT") or a
// parent. Some producers list one of the radio buttons of a group alone, others
// lose fields when they join or cut files. For this folder's sources.
class PageFieldFinder {
 public:
  // The fields of the form as the builder has just built them.
  PageFieldFinder(FieldTreeBuilder& builder, ZAcroFormFieldCollection& fields) : builder_(builder), fields_(fields) {}

  // The fields that were added, without those below them.
  PTableau<const ZAcroFormField*> Find(ZPDFNodeDictionary& catalog);

 private:
  // A field of the form, with the levels down to it and the bytes of its full name.
  struct Place {
    ZAcroFormField* field = nullptr;
    size_t depth = 0;
    size_t name_length = 0;
  };

  void Add(ZPDFNodeDictionary* widget, const ZPDFNode* element);
  // What stands above the dictionary and is not in the form, itself first; empty when
  // that leads nowhere. `above` becomes the dictionary of the form that comes next.
  PTableau<ZPDFNodeDictionary*> ChainFrom(ZPDFNodeDictionary* dictionary, const ZPDFNodeDictionary** above);
  ZPDFNodeDictionary* ParentOf(ZPDFNodeDictionary& dictionary) const;
  Place PlaceOf(const ZPDFNodeDictionary* dictionary);
  void Index(ZAcroFormField& field, const Place& parent);

  FieldTreeBuilder& builder_;
  ZAcroFormFieldCollection& fields_;
  std::unordered_set<const ZPDFNodeArray*> lists_;
  // Built when the first field is found.
  bool is_indexed_ = false;
  std::unordered_map<const ZPDFNodeDictionary*, Place> places_;
  // What was looked at in vain.
  std::unordered_set<const ZPDFNodeDictionary*> hopeless_;
  PTableau<const ZAcroFormField*> added_;
};

}  // namespace zforms
