#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>

#include "zforms/acroform/field_tree.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

// Adds to a form the fields that are found only on its pages: widgets in "/Annots" that "/Fields" does not lead to and
// that have a type ("/FT") or a parent. Some producers list only one of the radio buttons of a group; others lose
// fields when they join or split files. For this folder's sources.
class PageFieldFinder {
 public:
  // `fields` are the fields of the form that the builder has just built.
  PageFieldFinder(FieldTreeBuilder& builder, ZAcroFormFieldCollection& fields) : builder_(builder), fields_(fields) {}

  // Searches all pages. Returns the fields that were added, without those below them.
  PTableau<const ZAcroFormField*> Find(ZPDFNodeDictionary& catalog);

 private:
  // A field of the form, with its depth and the length of its full name.
  struct Place {
    ZAcroFormField* field = nullptr;
    size_t depth = 0;
    size_t name_length = 0;
  };

  void Add(ZPDFNodeDictionary* widget, const ZPDFNode* element);
  // The dictionary and its ancestors that are not in the form, from the bottom up. `*above` becomes the next ancestor
  // if there is one, which is in the form. Empty when there are too many, or when one of them could not be added
  // before.
  PTableau<ZPDFNodeDictionary*> ChainFrom(ZPDFNodeDictionary* dictionary, const ZPDFNodeDictionary** above);
  ZPDFNodeDictionary* ParentOf(ZPDFNodeDictionary& dictionary) const;
  Place PlaceOf(const ZPDFNodeDictionary* dictionary);
  void Index(ZAcroFormField& field, const Place& parent);

  FieldTreeBuilder& builder_;
  ZAcroFormFieldCollection& fields_;
  std::unordered_set<const ZPDFNodeArray*> lists_;
  // True when places_ is built. That is done when the first field is found.
  bool is_indexed_ = false;
  std::unordered_map<const ZPDFNodeDictionary*, Place> places_;
  // Dictionaries that could not be added as fields.
  std::unordered_set<const ZPDFNodeDictionary*> hopeless_;
  PTableau<const ZAcroFormField*> added_;
};

}  // namespace zforms
