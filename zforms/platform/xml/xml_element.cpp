#include "zforms/platform/xml/xml_element.h"

#include <limits>

namespace zforms {

namespace {

// With fewer nodes, a linear search is cheaper than a cursor.
constexpr size_t kFewNodes = 12;

// Destroys a node. Memory that the document's nodes share is freed later, with the document.
template <class Node>
void Destroy(Node* node) {
  if (node->in_shared_memory) {
    std::destroy_at(node);
  } else {
    delete node;
  }
}

}  // namespace

const ZXMLData::Attribute* ZXMLData::FindAttrib(std::string_view name) const {
  for (const Attribute& attribute : attribs_) {
    if (attribute.name == name) return &attribute;
  }
  return nullptr;
}

const ZVariant& ZXMLData::Attrib(std::string_view name) const {
  static const ZVariant empty;
  const Attribute* found = FindAttrib(name);
  return found == nullptr ? empty : found->value;
}

void ZXMLData::SetAttrib(std::string_view name, const ZVariant& value) {
  if (const Attribute* found = FindAttrib(name)) {
    attribs_[static_cast<size_t>(found - attribs_.data())].value = value;
  } else {
    attribs_.push_back({Chaine(name), value});
  }
}

void ZXMLData::SetAttrib(std::string_view prefix, std::string_view name, const ZVariant& value) {
  SetAttrib(Chaine(prefix) + ":" + name, value);
}

void ZXMLData::RemoveAttrib(std::string_view name) {
  if (const Attribute* found = FindAttrib(name)) attribs_.erase(attribs_.begin() + (found - attribs_.data()));
}

// The place where the last search by name ended.
struct ZXMLElement::Cursor {
  static constexpr size_t kUnknown = std::numeric_limits<size_t>::max();

  Chaine name;
  size_t count = kUnknown;       // of the children of this name; counted when it is first needed
  size_t index = 0;              // of the child found, among the children of this name
  ZXMLElement* found = nullptr;  // null when no place is known
};

ZXMLElement::ZXMLElement(Chaine name) : ZXMLNode(Kind::kElement), name_(std::move(name)) {}

ZXMLElement::ZXMLElement(Chaine name, std::pmr::memory_resource* memory)
    : ZXMLNode(Kind::kElement), ZXMLData(memory), name_(std::move(name)) {
  in_shared_memory = true;
}

ZXMLElement::~ZXMLElement() { Clear(); }

void ZXMLElement::SetName(const Chaine& name) {
  name_ = name;
  if (parent != nullptr) parent->cursor_.reset();
}

const ZXMLElement& ZXMLElement::None() {
  static const ZXMLElement element{Chaine()};
  return element;
}

ZXMLElement* ZXMLElement::ElementFrom(ZXMLNode* node) {
  while (node != nullptr && node->kind != Kind::kElement) node = node->next;
  return static_cast<ZXMLElement*>(node);
}

void ZXMLElement::Append(ZXMLNode* node) {
  node->parent = this;
  node->previous = last_;
  node->next = nullptr;
  (last_ == nullptr ? first_ : last_->next) = node;
  last_ = node;
  count_++;
}

void ZXMLElement::Unlink(ZXMLNode* node) {
  (node->previous == nullptr ? first_ : node->previous->next) = node->next;
  (node->next == nullptr ? last_ : node->next->previous) = node->previous;
  count_--;
}

void ZXMLElement::Delete(ZXMLNode* node) {
  Unlink(node);
  DestroyNode(node);
}

void ZXMLElement::DestroyNode(ZXMLNode* node) {
  if (node->kind == Kind::kElement) {
    Destroy(static_cast<ZXMLElement*>(node));
  } else {
    Destroy(static_cast<ZXMLTextNode*>(node));
  }
}

// Deletes the tree from the top: moves the contents of a child to the front of the list before deleting the child, so
// the depth of the tree does not matter.
void ZXMLElement::Clear() {
  cursor_.reset();
  while (first_ != nullptr) {
    ZXMLNode* const node = first_;
    if (node->kind == Kind::kElement) {
      auto* child = static_cast<ZXMLElement*>(node);
      if (child->first_ != nullptr) {
        child->last_->next = child->next;
        child->next = child->first_;
        child->first_ = nullptr;
      }
    }
    first_ = node->next;
    DestroyNode(node);
  }
  last_ = nullptr;
  count_ = 0;
}

ZXMLElement::Cursor& ZXMLElement::CursorFor(std::string_view name) const {
  if (cursor_ == nullptr) cursor_ = std::make_unique<Cursor>();
  if (cursor_->name != name || name.empty()) *cursor_ = Cursor{Chaine(name)};
  return *cursor_;
}

ZXMLElement* ZXMLElement::Locate(std::string_view name, size_t index) const {
  if (count_ > kFewNodes) return LocateNear(name, index);
  for (ZXMLElement* child = ElementFrom(first_); child != nullptr; child = child->NextSibling()) {
    if (child->name_ == name && index-- == 0) return child;
  }
  return nullptr;
}

// Searches from the child found last, or from the first when that is nearer.
ZXMLElement* ZXMLElement::LocateNear(std::string_view name, size_t index) const {
  Cursor& cursor = CursorFor(name);
  if (index >= cursor.count) return nullptr;
  ZXMLNode* node = first_;
  size_t at = 0;
  if (cursor.found != nullptr && index >= cursor.index / 2) {
    node = cursor.found;
    at = cursor.index;
  }
  const bool backwards = at > index;
  const auto matches = [&](const ZXMLNode* candidate) {
    return candidate->kind == Kind::kElement && static_cast<const ZXMLElement*>(candidate)->name_ == name;
  };
  for (; node != nullptr; node = backwards ? node->previous : node->next) {
    if (!matches(node)) continue;
    if (at == index) {
      cursor.index = index;
      cursor.found = static_cast<ZXMLElement*>(node);
      return cursor.found;
    }
    at = backwards ? at - 1 : at + 1;
  }
  // The search has passed the last child of the name, so the number of these children is known.
  cursor.count = at;
  return nullptr;
}

size_t ZXMLElement::Size(std::string_view name) const {
  size_t count = 0;
  if (count_ > kFewNodes) {
    Cursor& cursor = CursorFor(name);
    if (cursor.count == Cursor::kUnknown) LocateNear(name, Cursor::kUnknown - 1);
    count = cursor.count;
  } else {
    for (const ZXMLElement* child = FirstChild(); child != nullptr; child = child->NextSibling()) {
      if (child->name_ == name) count++;
    }
  }
  return count;
}

ZXMLElement& ZXMLElement::operator[](std::string_view name) {
  ZXMLElement* child = Locate(name, 0);
  return child == nullptr ? Add(name) : *child;
}

const ZXMLElement& ZXMLElement::operator[](std::string_view name) const {
  const ZXMLElement* child = Locate(name, 0);
  return child == nullptr ? None() : *child;
}

ZXMLElement& ZXMLElement::Add(std::string_view name) {
  auto* child = new ZXMLElement(Chaine(name));
  Append(child);
  if (cursor_ != nullptr && cursor_->name == name && cursor_->count != Cursor::kUnknown) cursor_->count++;
  return *child;
}

// Called before a child is deleted: the next child takes its place in the cursor.
void ZXMLElement::ForgetPlaceOf(const ZXMLElement& child) {
  if (cursor_ == nullptr || cursor_->name != child.name_) return;
  if (cursor_->count != Cursor::kUnknown) cursor_->count--;
  if (cursor_->found == &child) {
    do {
      cursor_->found = cursor_->found->NextSibling();
    } while (cursor_->found != nullptr && cursor_->found->name_ != cursor_->name);
  } else {
    cursor_->found = nullptr;
  }
}

void ZXMLElement::Remove(ZXMLElement& child) {
  ForgetPlaceOf(child);
  // Also deletes the white space before the child.
  if (child.previous != nullptr && child.previous->kind == Kind::kSpace) Delete(child.previous);
  Delete(&child);
}

bool ZXMLElement::Remove(std::string_view name, int index) {
  ZXMLElement* child = Locate(name, index < 0 ? 0 : static_cast<size_t>(index));
  if (child == nullptr) return false;
  Remove(*child);
  return true;
}

void ZXMLElement::RemoveAll(std::string_view name) {
  cursor_.reset();
  for (ZXMLElement* child = FirstChild(); child != nullptr;) {
    ZXMLElement* after = child->NextSibling();
    if (child->name_ == name) Remove(*child);
    child = after;
  }
}

void ZXMLElement::TakeContentOf(ZXMLElement& other) {
  Clear();
  for (ZXMLNode* node = other.first_; node != nullptr; node = node->next) node->parent = this;
  first_ = other.first_;
  last_ = other.last_;
  count_ = other.count_;
  Value() = std::move(other.Value());
  other.first_ = other.last_ = nullptr;
  other.count_ = 0;
  other.cursor_.reset();
}

std::unique_ptr<ZXMLElement> ZXMLElement::Clone() const {
  auto copy = std::make_unique<ZXMLElement>(name_);
  copy->ZXMLData::operator=(*this);
  // Copies `from` into `into`; `node` is the next child of `from`.
  const ZXMLElement* from = this;
  ZXMLElement* into = copy.get();
  const ZXMLNode* node = first_;
  while (true) {
    if (node == nullptr) {
      if (from == this) return copy;
      node = from->next;
      from = from->parent;
      into = into->parent;
    } else if (node->kind == Kind::kElement) {
      from = static_cast<const ZXMLElement*>(node);
      auto* child = new ZXMLElement(from->name_);
      child->ZXMLData::operator=(*from);
      into->Append(child);
      into = child;
      node = from->first_;
    } else {
      // The copy constructor would also copy the mark "in shared memory", so the node is made from its parts.
      into->Append(new ZXMLTextNode(node->kind, static_cast<const ZXMLTextNode*>(node)->text));
      node = node->next;
    }
  }
}

void ZXMLElement::CopyContentOf(const ZXMLElement& other) {
  if (this == &other) return;
  // The other element may be inside this one or contain it, so it is copied first.
  const std::unique_ptr<ZXMLElement> copy = other.Clone();
  ZXMLData::operator=(*copy);
  TakeContentOf(*copy);
}

}  // namespace zforms
