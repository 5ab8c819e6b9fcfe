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

// A node between the tags of an element: an element, or text and markup kept as read. Nodes are owned by their parent
// element.
struct ZXMLNode {
  enum class Kind : uint8_t {
    kElement,
    kText,
    kSpace,  // white space between elements, not part of a value
    kCData,
    kComment,
    kInstruction,
    kDoctype,
  };

  explicit ZXMLNode(Kind kind_of_node) : kind(kind_of_node) {}

  Kind kind;
  bool in_shared_memory = false;  // allocated in the document's memory, which is freed as a whole
  ZXMLElement* parent = nullptr;
  ZXMLNode* previous = nullptr;
  ZXMLNode* next = nullptr;
};

// Every node except elements. An instruction's text starts with its name.
struct ZXMLTextNode : ZXMLNode {
  ZXMLTextNode(Kind kind_of_node, Chaine content) : ZXMLNode(kind_of_node), text(std::move(content)) {}

  Chaine text;
};

// ZXMLData is the data of an element itself: its attributes and value. An attribute's name includes its prefix, as in
// "xml:space".
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

  // The text of the element itself, without the text of child elements and without white space that only separates
  // elements. A changed value is written in the place of the first piece of text, and the other pieces are dropped.
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

// ZXMLElement is an element of a tree. It owns its child nodes; pointers and references to elements are valid until the
// element is removed. A child is found by its name and its position among the children of this name; a loop over
// all positions takes linear time. No function recurses. Reading moves an internal cursor, so even const use is limited
// to one thread at a time.
class ZFORMS_API ZXMLElement : public ZXMLNode, public ZXMLData {
 public:
  explicit ZXMLElement(Chaine name);
  ZXMLElement(const ZXMLElement&) = delete;
  ZXMLElement& operator=(const ZXMLElement&) = delete;
  ~ZXMLElement();

  // The shared empty element, returned in place of a missing one.
  static const ZXMLElement& None();

  // The name with its prefix.
  const Chaine& Name() const { return name_; }
  void SetName(const Chaine& name);

  // The first child of the name; appended when there is none.
  ZXMLElement& operator[](std::string_view name);
  // The first child of the name, or an empty element when there is none.
  const ZXMLElement& operator[](std::string_view name) const;
  // Appends a new child.
  ZXMLElement& Add(std::string_view name);
  // The child at this position among the children of this name, or null.
  ZXMLElement* Sub(std::string_view name, size_t index = 0) { return Locate(name, index); }
  const ZXMLElement* Get(std::string_view name, size_t index = 0) const { return Locate(name, index); }
  // The number of children of the name.
  size_t Size(std::string_view name) const;
  bool Exist(std::string_view name, size_t index = 0) const { return Locate(name, index) != nullptr; }
  // Removes the child at this position among the children of this name; -1 means the first. False when there is no such
  // child.
  bool Remove(std::string_view name, int index = -1);
  void Remove(ZXMLElement& child);
  void RemoveAll(std::string_view name);

  // The first child element of any name; null when there is none.
  ZXMLElement* FirstChild() { return ElementFrom(first_); }
  const ZXMLElement* FirstChild() const { return ElementFrom(first_); }
  // The next element of any name with the same parent; null at the end.
  ZXMLElement* NextSibling() { return ElementFrom(next); }
  const ZXMLElement* NextSibling() const { return ElementFrom(next); }

  // The content between the tags, as XML text.
  Chaine AsChaine() const;
  // Replaces the content by parsed XML text; an XML declaration at its start is dropped. When it is not XML or is
  // nested too deeply, returns false and changes nothing.
  bool FromChaine(const Chaine& markup);
  // Replaces attributes, value and content by copies from the other element.
  void CopyContentOf(const ZXMLElement& other);
  std::unique_ptr<ZXMLElement> Clone() const;

 private:
  friend class ZXMLTreeBuilder;
  friend class ZXMLPrinter;
  struct Cursor;

  // Uses memory that is shared by the nodes of a document and outlives the element.
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
  size_t count_ = 0;  // number of nodes
  mutable std::unique_ptr<Cursor> cursor_;
};

}  // namespace zforms
