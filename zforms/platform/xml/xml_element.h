#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string_view>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/data/variant.h"

namespace zforms {

class ZXMLElement;

// What stands between the tags of an element: elements, and what is kept as it
// was read. Nodes are owned by the element they stand in.
struct ZXMLNode {
  enum class Kind : uint8_t {
    kElement,
    kText,
    kSpace,  // white space between elements, no part of a value
    kCData,
    kComment,
    kInstruction,
    kDoctype,
  };

  explicit ZXMLNode(Kind kind_of_node) : kind(kind_of_node) {}

  Kind kind;
  bool in_shared_memory = false;  // that goes with the whole document
  ZXMLElement* parent = nullptr;
  ZXMLNode* previous = nullptr;
  ZXMLNode* next = nullptr;
};

// Every node but elements. An instruction's text starts with its name.
struct ZXMLTextNode : ZXMLNode {
  ZXMLTextNode(Kind kind_of_node, Chaine content) : ZXMLNode(kind_of_node), text(std::move(content)) {}

  Chaine text;
};

// ZXMLData is what an element carries itself: attributes and a value. An
// attribute's name has its prefix, as in "xml:space".
class ZFORMS_API ZXMLData {
 public:
  struct Attribute {
    Chaine name;
    ZVariant value;
  };

  bool HasAttrib(std::string_view name) const { return FindAttrib(name) != nullptr; }
  // Empty when absent.
  const ZVariant& Attrib(std::string_view name) const;
  // Replaces the value, or adds the attribute after the others.
  void SetAttrib(std::string_view name, const ZVariant& value);
  void SetAttrib(std::string_view prefix, std::string_view name, const ZVariant& value);
  void RemoveAttrib(std::string_view name);
  const std::pmr::vector<Attribute>& Attribs() const { return attribs_; }

  // The text of the element itself, without that of the elements in it and
  // without white space that only separates elements. A value that is changed
  // is written where the first piece of text stood, and the other pieces go.
  const ZVariant& Value() const { return value_; }
  ZVariant& Value() { return value_; }

 protected:
  ZXMLData() = default;
  explicit ZXMLData(std::pmr::memory_resource* memory) : attribs_(memory) {}
  ~ZXMLData() = default;
  ZXMLData(const ZXMLData&) = default;
  ZXMLData& operator=(const ZXMLData&) = default;

 private:
  friend class ZXMLTreeBuilder;

  const Attribute* FindAttrib(std::string_view name) const;

  std::pmr::vector<Attribute> attribs_;
  ZVariant value_;
};

// ZXMLElement is an element of a tree. It owns what stands in it; pointers and
// references to elements hold until the element is removed. Children are found
// by name and position among those of that name; walking through all of them by
// position takes time in proportion to their number. Nothing here recurses.
// Reading moves a cursor inside: even const use belongs to one thread at a time.
class ZFORMS_API ZXMLElement : public ZXMLNode, public ZXMLData {
 public:
  explicit ZXMLElement(Chaine name);
  ZXMLElement(const ZXMLElement&) = delete;
  ZXMLElement& operator=(const ZXMLElement&) = delete;
  ~ZXMLElement();

  // The empty element that stands for one that does not exist.
  static const ZXMLElement& None();

  // With its prefix.
  const Chaine& Name() const { return name_; }
  void SetName(const Chaine& name);

  // The first child of the name, appended when there is none.
  ZXMLElement& operator[](std::string_view name);
  // The first child of the name, or an empty element when there is none.
  const ZXMLElement& operator[](std::string_view name) const;
  // A new child after all others.
  ZXMLElement& Add(std::string_view name);
  // The child at that position among those of the name, or null.
  ZXMLElement* Sub(std::string_view name, size_t index = 0) { return Locate(name, index); }
  const ZXMLElement* Get(std::string_view name, size_t index = 0) const { return Locate(name, index); }
  // How many children have the name.
  size_t Size(std::string_view name) const;
  bool Exist(std::string_view name, size_t index = 0) const { return Locate(name, index) != nullptr; }
  // Removes the child at that position among those of the name; -1 is the first.
  // False when there is none.
  bool Remove(std::string_view name, int index = -1);
  void Remove(ZXMLElement& child);
  void RemoveAll(std::string_view name);

  // The first child element, the one after this element, whatever their names;
  // null at the end.
  ZXMLElement* FirstChild() { return ElementFrom(first_); }
  const ZXMLElement* FirstChild() const { return ElementFrom(first_); }
  ZXMLElement* NextSibling() { return ElementFrom(next); }
  const ZXMLElement* NextSibling() const { return ElementFrom(next); }

  // What stands between the tags, as XML text.
  Chaine AsChaine() const;
  // Replaces what stands between the tags by what the XML text holds; an XML
  // declaration at its start is dropped. False when it is no XML or nests too
  // deep; nothing changes then.
  bool FromChaine(const Chaine& markup);
  // Replaces attributes, value and content by copies of the other's.
  void CopyContentOf(const ZXMLElement& other);
  std::unique_ptr<ZXMLElement> Clone() const;

 private:
  friend class ZXMLTreeBuilder;
  friend class ZXMLPrinter;
  struct Cursor;

  // In memory that is shared by the nodes of a document, and outlives the element.
  ZXMLElement(Chaine name, std::pmr::memory_resource* memory);

  static ZXMLElement* ElementFrom(ZXMLNode* node);
  ZXMLElement* Locate(std::string_view name, size_t index) const;
  ZXMLElement* LocateNear(std::string_view name, size_t index) const;
  Cursor& CursorFor(std::string_view name) const;
  void Append(ZXMLNode* node);
  void Unlink(ZXMLNode* node);
  void Delete(ZXMLNode* node);
  static void DestroyNode(ZXMLNode* node);
  void ForgetPlaceOf(const ZXMLElement& child);
  void TakeContentOf(ZXMLElement& other);
  void Clear();

  Chaine name_;
  ZXMLNode* first_ = nullptr;
  ZXMLNode* last_ = nullptr;
  size_t count_ = 0;  // of nodes
  mutable std::unique_ptr<Cursor> cursor_;
};

}  // namespace zforms
