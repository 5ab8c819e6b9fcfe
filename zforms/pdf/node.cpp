#include "zforms/pdf/node.h"

#include <algorithm>
#include <cstdlib>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/child_list.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/object_provider.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/pdf/unread_value.h"

namespace zforms {
namespace {

const Chaine& EmptyText() {
  static const Chaine empty;
  return empty;
}

}  // namespace

IPDFObjectProvider::~IPDFObjectProvider() = default;

ZPDFNode::ZPDFNode(IPDFObjectProvider* provider) : provider_(provider) {}

ZPDFNode::ZPDFNode(const ZPDFNode& other) : provider_(other.provider_), kind_(other.kind_), modified_(other.modified_) {
  ZPDFChildList* const from = other.children_;
  if (from == nullptr) return;
  children_ = from->keys == nullptr ? ZPDFChildList::Make(from->size) : ZPDFChildList::MakeKeyed(from->size);
  if (from->keys != nullptr) children_->CopyKeys(*from);
  for (uint32_t i = 0; i < from->size; i++) {
    ZPDFNode* child = from->items[i];
    if (child != nullptr && !ZPDFChildList::IsUnread(child)) child = child->Clone();
    children_->Append(child);
  }
}

void ZPDFNode::operator delete(ZPDFNode* node, std::destroying_delete_t) {
  const uint32_t pool_offset = node->pool_offset_;
  node->~ZPDFNode();
  if (pool_offset != 0) {
    ZPDFNodePool::GiveBack(node, pool_offset);
  } else {
    ::operator delete(node);
  }
}

ZPDFNode& ZPDFNode::operator=(const ZPDFNode& other) {
  if (this == &other || immutable_) return *this;
  // Drops the index of both nodes, because entries may now change through either node. Only dictionaries handle keyed
  // lists, so for another kind of node the list gets entry nodes.
  for (const ZPDFNode* node : {static_cast<const ZPDFNode*>(this), &other}) {
    if (const auto* dictionary = NodeCast<ZPDFNodeDictionary>(node)) dictionary->ForgetIndex();
  }
  if (kind_ != other.kind_ && other.children_ != nullptr && other.children_->keys != nullptr) other.MakeEntries();
  ZPDFChildList* given_up = children_;
  children_ = other.children_;
  if (children_ != nullptr && children_ != given_up) {
    children_->refs++;
    if (given_up != nullptr && !children_->Retire(given_up)) ReleaseChildren(given_up);
  } else if (children_ == nullptr && given_up != nullptr) {
    // There is no list to share: the old children are kept by a new, empty list.
    children_ = ZPDFChildList::Make(1);
    children_->Retire(given_up);
  }
  provider_ = other.provider_;
  modified_ = other.modified_;
  return *this;
}

ZPDFNode::~ZPDFNode() { ReleaseChildren(children_); }

void ZPDFNode::ReleaseChildren(ZPDFChildList* list) {
  while (list != nullptr) {
    if (--list->refs != 0) return;
    for (uint32_t i = 0; i < list->size; i++) {
      if (!ZPDFChildList::IsUnread(list->items[i])) Destroy(list->items[i]);
    }
    ZPDFChildList* retired = list->retired;
    ZPDFChildList::Free(list);
    list = retired;
  }
}

void ZPDFNode::Destroy(ZPDFNode* node) {
  if (node != nullptr && !node->immutable_) delete node;
}

void ZPDFNode::SetObjectProvider(IPDFObjectProvider* provider) {
  if (immutable_) return;
  provider_ = provider;
  for (size_t i = 0; i < Size(); i++) {
    ZPDFNode* const child = children_->items[i];
    if (child != nullptr && !ZPDFChildList::IsUnread(child)) child->SetObjectProvider(provider);
  }
}

ZPDFNode* ZPDFNode::GetTarget() { return this; }
const ZPDFNode* ZPDFNode::GetTarget() const { return this; }

// GetTarget never returns a reference, so these functions recurse only once.
const Chaine& ZPDFNode::GetStringValue() const {
  const ZPDFNode* target = GetTarget();
  return target == this ? EmptyText() : target->GetStringValue();
}

uint32_t ZPDFNode::GetUIntValue() const {
  const ZPDFNode* target = GetTarget();
  return target == this ? 0 : target->GetUIntValue();
}

int32_t ZPDFNode::GetIntValue() const {
  const ZPDFNode* target = GetTarget();
  return target == this ? 0 : target->GetIntValue();
}

bool ZPDFNode::GetBoolValue() const {
  const ZPDFNode* target = GetTarget();
  return target != this && target->GetBoolValue();
}

double ZPDFNode::GetDoubleValue() const {
  const ZPDFNode* target = GetTarget();
  return target == this ? 0 : target->GetDoubleValue();
}

const Chaine& ZPDFNode::GetIdentifier() const {
  const ZPDFNode* target = GetTarget();
  return target == this ? EmptyText() : target->GetIdentifier();
}

ZPDFChildList* ZPDFNode::EnsureChildren() {
  if (children_ == nullptr) children_ = ZPDFChildList::Make(2);
  return children_;
}

void ZPDFNode::AppendChild(ZPDFNode* node) { EnsureChildren()->Append(node); }

void ZPDFNode::PrependChild(ZPDFNode* node) { EnsureChildren()->Insert(0, node); }

void ZPDFNode::AdoptReversed(ZPDFNode* const* nodes, size_t count) {
  if (count == 0) return;
  if (children_ == nullptr) children_ = ZPDFChildList::Make(count);
  for (size_t i = count; i > 0; i--) children_->Append(nodes[i - 1]);
}

void ZPDFNode::ReplaceChild(size_t index, ZPDFNode* node) {
  ZPDFChildList* children = EnsureChildren();
  children->GrowTo(index + 1);
  if (children->items[index] == node && node != nullptr) return;
  if (!ZPDFChildList::IsUnread(children->items[index])) Destroy(children->items[index]);
  if (node == nullptr) {
    children->Remove(index);
  } else {
    children->items[index] = node;
  }
}

ZPDFNode* ZPDFNode::ReadChild(size_t index) const {
  ZPDFNode*& child = children_->items[index];
  if (ZPDFChildList::IsUnread(child)) {
    const ZPDFChildList::KeyedPart& keyed = children_->Keyed();
    child = ZPDFUnreadValue::Read(children_->UnreadText(index), keyed.source, provider_, keyed.pool.get());
  }
  return child;
}

bool ZPDFNode::SharesChildren() const { return children_ != nullptr && children_->refs > 1; }

void ZPDFNode::MakeEntries() const {
  std::vector<ZPDFNode*> entries(children_->size);
  for (uint32_t i = 0; i < children_->size; i++) {
    entries[i] = new ZPDFNodeDictionaryEntry(children_->KeyAt(i), ReadChild(i), provider_);
    if (!children_->IsMarked(i)) {
      entries[i]->SetModified(false, false);
      entries[i]->children_->items[0]->SetModified(false, false);
    }
  }
  children_->Unkey(entries.data());
}

size_t ZPDFNode::Size() const { return children_ == nullptr ? 0 : children_->size; }

ZPDFNode* ZPDFNode::GetDirectAt(size_t index) {
  if (children_ != nullptr && children_->keys != nullptr) MakeEntries();
  if (index >= Size() && !immutable_) EnsureChildren()->GrowTo(index + 1);
  return index < Size() ? children_->items[index] : nullptr;
}

const ZPDFNode* ZPDFNode::GetDirectAt(size_t index) const {
  if (children_ != nullptr && children_->keys != nullptr) MakeEntries();
  return index < Size() ? children_->items[index] : nullptr;
}

ZPDFNode* ZPDFNode::GetTargetAt(size_t index) {
  ZPDFNode* child = GetDirectAt(index);
  return child == nullptr ? nullptr : child->GetTarget();
}

const ZPDFNode* ZPDFNode::GetTargetAt(size_t index) const {
  const ZPDFNode* child = GetDirectAt(index);
  return child == nullptr ? nullptr : child->GetTarget();
}

void ZPDFNode::SetModified(bool modified, bool recursive) {
  if (immutable_) return;
  modified_ = modified;
  if (!recursive || children_ == nullptr) return;
  for (uint32_t i = 0; i < children_->size; i++) {
    if (children_->keys != nullptr) children_->SetMark(i, modified);
    ZPDFNode* const child = modified ? ReadChild(i) : children_->items[i];
    if (child == nullptr || ZPDFChildList::IsUnread(child)) continue;
    if (child->children_ != nullptr) {
      child->SetModified(modified, true);
    } else if (child->modified_ != modified && !child->immutable_) {
      child->modified_ = modified;
    }
  }
}

bool ZPDFNode::IsModified() const {
  if (modified_) return true;
  if (children_ == nullptr) return false;
  for (uint32_t i = 0; i < children_->size; i++) {
    const ZPDFNode* child = children_->items[i];
    if (child == nullptr) continue;
    if (children_->keys != nullptr && children_->IsMarked(i)) return true;
    if (ZPDFChildList::IsUnread(child)) continue;
    if (child->modified_ || (child->children_ != nullptr && child->IsModified())) return true;
  }
  return false;
}

ZPDFNode* ZPDFNode::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter) {
  text.TrimComments();
  if (text.IsEmpty()) return nullptr;
  const char last = text.LastChar();
  switch (last) {
    case '>':
      if (text.EndWith(">>")) return ZPDFNodeDictionary::BuildFrom(text, provider, encrypter);
      return ZPDFNodeHexaString::BuildFrom(text, provider, encrypter);
    case ']': return ZPDFNodeArray::BuildFrom(text, provider, encrypter);
    case ')': return ZPDFNodeLiteralString::BuildFrom(text, provider, encrypter);
    default: break;
  }
  const std::string_view token = text.PeekLastToken();
  if (token.starts_with('/')) return ZPDFNodeIdentifier::BuildFrom(text, provider, encrypter);
  if (Is(last, kDigit)) return ZPDFNodeNumeric::BuildFrom(text, provider, encrypter);
  if (token == "R") return ZPDFNodeIndirectReference::BuildFrom(text, provider, encrypter);
  if (text.EndWith("endstream") && ZPDFNodeStream::StandsAtFront(text)) {
    return ZPDFNodeStream::BuildFrom(text, provider, encrypter);
  }
  return ZPDFNodeIdentifier::BuildFrom(text, provider, encrypter);
}

void ZPDFNodeLeaf::GetReferencedObjects(ZPDFObjectMap&) const {}

void ZPDFNodeLeaf::AppendChild(ZPDFNode*) { std::abort(); }

void ZPDFNodeLeaf::PrependChild(ZPDFNode*) { std::abort(); }

}  // namespace zforms
