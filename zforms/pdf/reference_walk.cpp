#include "zforms/pdf/reference_walk.h"

#include <algorithm>
#include <typeinfo>

#include "zforms/pdf/child_list.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/unread_value.h"

namespace zforms {

bool ZPDFNode::MayBeOfHost() const {
  if (kind_ == Kind::kOther) return true;
  if (pool_offset_ != 0) return false;
  switch (kind_) {
    case Kind::kIdentifier: return typeid(*this) != typeid(ZPDFNodeIdentifier);
    case Kind::kNumeric: return typeid(*this) != typeid(ZPDFNodeNumeric);
    case Kind::kLiteralString: return typeid(*this) != typeid(ZPDFNodeLiteralString);
    case Kind::kHexaString: return typeid(*this) != typeid(ZPDFNodeHexaString);
    default: return false;
  }
}

namespace {

bool IsWithoutReference(const ZPDFChildList& list, uint32_t at) {
  const ZPDFNode* const item = list.items[at];
  return item == nullptr || (ZPDFChildList::IsUnread(item) && !ZPDFUnreadValue::MayRefer(list.UnreadText(at)));
}

}  // namespace

void ZPDFReferenceWalk::From(const ZPDFNode& node) {
  if (const auto* reference = NodeCast<ZPDFNodeIndirectReference>(&node)) {
    pending_.push_back(reference);
  } else {
    AddBelow(node);
  }
  Follow();
}

void ZPDFReferenceWalk::AddBelow(const ZPDFNode& node) {
  const ZPDFChildList* const children = node.Children();
  for (uint32_t i = 0; children != nullptr && i < children->size; i++) {
    if (IsWithoutReference(*children, i)) continue;
    const ZPDFNode* child = node.ReadChild(i);
    if (child->kind_ == ZPDFNode::Kind::kReference) {
      pending_.push_back(static_cast<const ZPDFNodeIndirectReference*>(child));
    } else if (child->MayBeOfHost()) {
      AskHost(*child);
    } else if (child->children_ != nullptr) {
      AddBelow(*child);
    }
  }
}

bool ZPDFReferenceWalk::Collect(const ZPDFNode& node, std::vector<const ZPDFNodeIndirectReference*>* found) {
  const ZPDFChildList* const children = node.Children();
  bool is_complete = true;
  for (uint32_t i = 0; children != nullptr && i < children->size; i++) {
    if (IsWithoutReference(*children, i)) continue;
    const ZPDFNode* child = node.ReadChild(i);
    if (const auto* reference = NodeCast<ZPDFNodeIndirectReference>(child)) found->push_back(reference);
    if (child->MayBeOfHost()) is_complete = false;
    if (child->children_ != nullptr) is_complete = Collect(*child, found) && is_complete;
  }
  return is_complete;
}

void ZPDFReferenceWalk::Follow() {
  while (!pending_.empty()) {
    const ZPDFNodeIndirectReference* reference = pending_.back();
    pending_.pop_back();
    const ZPDFObjectIdentifier& id = reference->GetID();
    const ZPDFNodeIndirectObject*& object = found_[id];
    if (object != nullptr || (!map_.empty() && map_.contains(id))) continue;
    object = reference->GetObject();
    if (object == nullptr) {
      missing_.push_back(id);
      continue;
    }
    if (has_map_) map_.emplace(id, object);
    AddBelow(*object);
  }
}

// Calls a node of a host's class, which adds its objects to the map. The map must contain everything found before, or
// the class would follow a cycle of references forever.
void ZPDFReferenceWalk::AskHost(const ZPDFNode& node) {
  if (!has_map_) {
    for (const auto& [id, object] : found_.List()) map_.emplace(id, object);
    has_map_ = true;
  }
  node.GetReferencedObjects(map_);
}

ZPDFObjectList ZPDFReferenceWalk::List() const {
  return has_map_ ? ZPDFObjectList(map_.begin(), map_.end()) : found_.List();
}

PTableau<ZPDFObjectIdentifier> ZPDFReferenceWalk::Missing() const {
  PTableau<ZPDFObjectIdentifier> missing = missing_;
  std::sort(missing.begin(), missing.end());
  missing.erase(std::unique(missing.begin(), missing.end()), missing.end());
  return missing;
}

void ZPDFReferenceWalk::Finish() {
  if (has_map_) return;
  for (const auto& [id, object] : found_.List()) map_.emplace_hint(map_.end(), id, object);
}

ZPDFObjectList ZPDFNode::ReferencedObjects(PTableau<ZPDFObjectIdentifier>* missing) const {
  ZPDFObjectMap map;
  if (MayBeOfHost()) {
    GetReferencedObjects(map);
    return ZPDFObjectList(map.begin(), map.end());
  }
  ZPDFReferenceWalk walk(map);
  walk.From(*this);
  if (missing != nullptr) *missing = walk.Missing();
  return walk.List();
}

void ZPDFNode::GetReferencedObjects(ZPDFObjectMap& map) const {
  ZPDFReferenceWalk walk(map);
  walk.From(*this);
  walk.Finish();
}

void ZPDFNodeIndirectReference::GetReferencedObjects(ZPDFObjectMap& map) const {
  ZPDFReferenceWalk walk(map);
  walk.From(*this);
  walk.Finish();
}

}  // namespace zforms
