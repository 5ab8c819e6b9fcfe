#include "zforms/acroform/page_fields.h"

#include "zforms/acroform/field.h"
#include "zforms/acroform/node_access.h"
#include "zforms/pdf/pages.h"

namespace zforms {

PTableau<const ZAcroFormField*> PageFieldFinder::Find(ZPDFNodeDictionary& catalog) {
  for (ZPDFNodeDictionary* page : PagesOf(catalog)) {
    ZPDFNodeArray* annotations = ArrayAt(*page, "/Annots");
    // Several pages may share one array of annotations.
    if (!lists_.insert(annotations).second) continue;
    for (size_t i = 0; annotations != nullptr && i < annotations->Size(); i++) {
      auto* annotation = NodeCast<ZPDFNodeDictionary>(annotations->GetTargetAt(i));
      if (annotation == nullptr || builder_.HasMet(annotation)) continue;
      if (annotation->GetIdentifier("/Subtype") == "/Widget") Add(annotation, annotations->GetDirectAt(i));
    }
  }
  return std::move(added_);
}

void PageFieldFinder::Add(ZPDFNodeDictionary* widget, const ZPDFNode* element) {
  if (!HasEntry(*widget, "/FT") && ParentOf(*widget) == nullptr) return;
  const ZPDFNodeDictionary* above = nullptr;
  PTableau<ZPDFNodeDictionary*> chain = ChainFrom(widget, &above);
  Place place = PlaceOf(above);
  bool is_top = true;
  // Adds from the top down: adding a field also adds its kids.
  while (!chain.empty() && (above == nullptr || place.field != nullptr)) {
    above = chain.back();
    if (!builder_.HasMet(above)) {
      ZAcroFormFieldCollection& into = place.field == nullptr ? fields_ : *place.field;
      ZAcroFormField* field =
          builder_.AddBelow(into, chain.back(), element, place.field, place.depth, place.name_length);
      if (field == nullptr) break;
      Index(*field, place);
      if (is_top) added_.push_back(field);
      is_top = false;
    }
    place = PlaceOf(above);
    chain.pop_back();
  }
  hopeless_.insert(chain.begin(), chain.end());
}

// Null when there is no parent, or when "/Parent" is not a field: in some files it is the page of the widget.
ZPDFNodeDictionary* PageFieldFinder::ParentOf(ZPDFNodeDictionary& dictionary) const {
  ZPDFNodeDictionary* parent = DictionaryAt(dictionary, "/Parent");
  const bool is_field =
      parent != nullptr && (builder_.HasMet(parent) || HasEntry(*parent, "/T") || HasEntry(*parent, "/FT"));
  return is_field ? parent : nullptr;
}

PTableau<ZPDFNodeDictionary*> PageFieldFinder::ChainFrom(ZPDFNodeDictionary* dictionary,
                                                         const ZPDFNodeDictionary** above) {
  PTableau<ZPDFNodeDictionary*> chain;
  for (ZPDFNodeDictionary* at = dictionary; at != nullptr; at = ParentOf(*at)) {
    if (builder_.HasMet(at)) {
      *above = at;
      return chain;
    }
    chain.push_back(at);
    if (chain.size() <= FieldTreeBuilder::kMaxDepth && !hopeless_.contains(at)) continue;
    hopeless_.insert(chain.begin(), chain.end());
    return {};
  }
  return chain;
}

PageFieldFinder::Place PageFieldFinder::PlaceOf(const ZPDFNodeDictionary* dictionary) {
  if (dictionary == nullptr) return {};
  if (!is_indexed_) {
    is_indexed_ = true;
    for (uint32_t i = 0; i < fields_.Size(); i++) Index(*fields_.GetAt(i), Place());
  }
  const auto found = places_.find(dictionary);
  return found == places_.end() ? Place() : found->second;
}

void PageFieldFinder::Index(ZAcroFormField& field, const Place& parent) {
  const Place place{&field, parent.depth + 1, parent.name_length + field.Name().size() + 1};
  places_.emplace(field.Dico(), place);
  for (uint32_t i = 0; i < field.Size(); i++) Index(*field.GetAt(i), place);
}

}  // namespace zforms
