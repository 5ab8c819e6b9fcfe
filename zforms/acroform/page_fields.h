#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>

#include "zforms/acroform/field_tree.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

// Adds the fields to a form that are found only on its pages: widgets among the annotations ("/Annots") that "/Fields"
// does not lead to, and that have a type ("/FT") or a parent. Some producers list only one of the radio buttons of a
// group; others lose fields when they join or split files. For this folder's sources.
class PageFieldFinder {
 public:
  // `fields` are the fields of the form that the builder has just built.
  PageFieldFinder(FieldTreeBuilder& builder, ZAcroFormFieldCollection& fields) : builder_(builder), fields_(fields) {}

  // Returns the fields that were added, without those below them.
  PTableau<const ZAcroFormField*> Find(ZPDFNodeDictionary& catalog);

 private:
  // A field of the form, with its depth and the length of its full name.
  struct Place {
    ZAcroFormField* field = nullptr;
    size_t depth = 0;
    size_t name_length = 0;
  };

  void Add(ZPDFNodeDictionary* widget, const ZPDFNode* element);
  // The dictionary and its ancestors that are not in the form, itself first; empty when these lead nowhere. `above`
  // becomes the next ancestor, which is in the form.
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
  // Dictionaries that turned out to be no fields.
  std::unordered_set<const ZPDFNodeDictionary*> hopeless_;
  PTableau<const ZAcroFormField*> added_;
};

}  // namespace zforms
