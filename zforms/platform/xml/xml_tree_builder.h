#pragma once

#include <algorithm>
#include <memory_resource>
#include <utility>

#include "zforms/platform/xml/xml_element.h"

namespace zforms {

inline bool IsXMLWhiteSpace(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

// ZXMLTreeBuilder builds a tree of elements: ZXMLScanner and ZXMLParser call it for each element, attribute and text
// that they read. Nodes are allocated in `memory`, which must outlive the tree; without `memory`, on the heap.
class ZXMLTreeBuilder {
 public:
  explicit ZXMLTreeBuilder(std::pmr::memory_resource* memory) : memory_(memory) {}

  ZXMLElement* AddElement(Chaine name, ZXMLElement* into) {
    ZXMLElement* element = nullptr;
    if (memory_ == nullptr) {
      element = new ZXMLElement(std::move(name));
    } else {
      element =
          new (memory_->allocate(sizeof(ZXMLElement), alignof(ZXMLElement))) ZXMLElement(std::move(name), memory_);
    }
    into->Append(element);
    return element;
  }
  // Does not check whether an attribute of that name exists.
  void AddAttribute(Chaine name, Chaine value, ZXMLElement* into) {
    into->attribs_.push_back({std::move(name), ZVariant(std::move(value))});
  }
  // Adds a node that is not part of a value.
  void AddNode(ZXMLNode::Kind kind, Chaine text, ZXMLElement* into) {
    if (memory_ == nullptr) {
      into->Append(new ZXMLTextNode(kind, std::move(text)));
      return;
    }
    auto* node =
        new (memory_->allocate(sizeof(ZXMLTextNode), alignof(ZXMLTextNode))) ZXMLTextNode(kind, std::move(text));
    node->in_shared_memory = true;
    into->Append(node);
  }
  // Adds a piece of the element's value.
  void AddPiece(ZXMLNode::Kind kind, const Chaine& text, ZXMLElement* into) {
    AddNode(kind, text, into);
    Chaine value = into->Value().AsChaine();
    value += text;
    into->Value() = ZVariant(std::move(value));
  }
  // Adds text; white space between elements is not part of the value.
  void AddText(Chaine text, bool between_elements, ZXMLElement* into) {
    if (between_elements && IsXMLWhiteSpace(text)) {
      AddNode(ZXMLNode::Kind::kSpace, std::move(text), into);
    } else {
      AddPiece(ZXMLNode::Kind::kText, text, into);
    }
  }
  static void Clear(ZXMLElement* element) {
    element->Clear();
    element->Value() = ZVariant();
  }

  static const ZXMLNode* FirstNode(const ZXMLElement& element) { return element.first_; }

 private:
  std::pmr::memory_resource* memory_;
};

}  // namespace zforms
