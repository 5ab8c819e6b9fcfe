#include "zforms/appearance/fonts/added_objects.h"

#include <algorithm>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"

namespace zforms {

ZPDFNodeIndirectObject* AddedObjects::Add() {
  if (used_ == objects_.size()) {
    objects_.push_back(document_->AddIndirectObject());
    return objects_[used_++];
  }
  ZPDFNodeIndirectObject* const object = objects_[used_++];
  object->SetModified(true, false);
  // Sets "/Size" to the same value as AddIndirectObject.
  ZPDFNodeDictionary& trailer = *document_->TrailerDico();
  trailer.SetValue("/Size", std::max(trailer.GetUIntValue("/Size"), object->GetID().Number()) + 1);
  return object;
}

void AddedObjects::Restart() {
  for (ZPDFNodeIndirectObject* object : Used()) {
    object->SetChild(nullptr);
    object->SetModified(false, true);
  }
  used_ = 0;
}

}  // namespace zforms
