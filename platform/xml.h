#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/chaine.h"
#include "platform/export.h"
#include "platform/inet_stream.h"
#include "platform/variant.h"

namespace zforms {

class ZXMLElement;
class ZXMLOptimizeFOStream;

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
  const std::vector<Attribute>& Attribs() const { return attribs_; }

  // The text of the element itself, without that of the elements in it and
  // without white space that only separates elements. A value that is changed
  // is written where the first piece of text stood, and the other pieces go.
  const ZVariant& Value() const { return value_; }
  ZVariant& Value() { return value_; }

 protected:
  ZXMLData() = default;
  ~ZXMLData() = default;
  ZXMLData(const ZXMLData&) = default;
  ZXMLData& operator=(const ZXMLData&) = default;

 private:
  friend class ZXMLTreeBuilder;

  const Attribute* FindAttrib(std::string_view name) const;

  std::vector<Attribute> attribs_;
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

  static ZXMLElement* ElementFrom(ZXMLNode* node);
  ZXMLElement* Locate(std::string_view name, size_t index) const;
  ZXMLElement* LocateNear(std::string_view name, size_t index) const;
  Cursor& CursorFor(std::string_view name) const;
  void Append(ZXMLNode* node);
  void Unlink(ZXMLNode* node);
  void Delete(ZXMLNode* node);
  void ForgetPlaceOf(const ZXMLElement& child);
  void TakeContentOf(ZXMLElement& other);
  void Clear();

  Chaine name_;
  ZXMLNode* first_ = nullptr;
  ZXMLNode* last_ = nullptr;
  size_t count_ = 0;  // of nodes
  mutable std::unique_ptr<Cursor> cursor_;
};

// How the bytes of an XML text stand for characters.
struct ZInetEncodedBuffer {
  enum eType {
    eDetect = 0,  // by byte order mark, else by the XML declaration, else UTF-8
    eUTF8 = 1,
    eLatin1 = 2,  // ISO-8859-1
    eWindows1252 = 3,
    eUTF16LE = 4,
    eUTF16BE = 5,
  };
};

// ZXMLReader is an XML document: it reads one into a tree of elements that it
// owns, and writes the tree. In memory all text is UTF-8. Comments, CDATA,
// instructions and elements of any name come through. Line ends are not touched.
//
// Writing gives UTF-8 and a declaration that says so. Characters that XML has no
// place for (control characters but tab, line feed and carriage return) are
// written as U+FFFD; bytes that are not UTF-8 are written as they are.
class ZFORMS_API ZXMLReader {
 public:
  // The deepest nesting of elements that is read.
  static constexpr size_t kMaxDepth = 500;

  ZXMLReader() = default;
  ZXMLReader(const ZXMLReader& other);
  ZXMLReader(ZXMLReader&& other) noexcept = default;
  ZXMLReader& operator=(const ZXMLReader& other);
  ZXMLReader& operator=(ZXMLReader&& other) noexcept = default;

  // Replaces the document by a root of that name.
  ZXMLElement& Create(std::string_view root_name);
  // Replaces the document by what the stream holds. The root, or null with a
  // reason in LastError() and no document when it is no XML or nests too deep.
  ZXMLElement* Read(ZInetIStream* in, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  ZXMLElement* Read(const Chaine& text, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  // Writes the document, nothing when it has no root. `without_declaration`
  // leaves out "<?xml ...?>". When `replaced` is given it takes the number of
  // characters that XML has no place for. False when the stream fails.
  bool Write(ZInetOStream* out, bool without_declaration, size_t* replaced = nullptr) const;
  bool Write(ZXMLOptimizeFOStream* out, bool without_declaration, size_t* replaced = nullptr) const;
  void Clear();

  // The root, or null.
  ZXMLElement* Data();
  const ZXMLElement* Data() const;
  // Why the last Read gave no root, with line and column; empty after a success.
  const std::string& LastError() const { return last_error_; }

  // The text in UTF-8, without byte order mark; shares the bytes when it is UTF-8
  // already. False when the encoding is not known or the bytes are cut short.
  static bool ToUTF8(const Chaine& bytes, ZInetEncodedBuffer::eType encoding, Chaine* text, std::string* error);

 private:
  // The root with what stands before and after it.
  std::unique_ptr<ZXMLElement> document_;
  Chaine version_;     // of the declaration; empty means 1.0
  Chaine standalone_;  // of the declaration; empty when it had none
  std::string last_error_;
};

// ZXMLOptimizeFOStream gathers the small writes of XML into blocks, and says how
// the text is laid out.
class ZFORMS_API ZXMLOptimizeFOStream final : public ZInetFilterOStream {
 public:
  enum eOption : unsigned {
    // A carriage return is written as it is, for a filter behind this stream that
    // turns line ends. Without it, it is written as "&#13;", which XML readers
    // give back as it was.
    eRawLineEnds = 1,
    // An element without content is written "<a/>" instead of "<a></a>".
    eShortEmpty = 2,
  };

  explicit ZXMLOptimizeFOStream(ZInetOStream* target, unsigned options = eShortEmpty);
  // Passes on what is left; only Flush() tells whether it arrived.
  ~ZXMLOptimizeFOStream() override;

  bool HasOption(eOption option) const { return (options_ & option) != 0; }
  bool Write(const char* from, size_t size) override {
    Put(std::string_view(from, size));
    return ok_;
  }
  bool SetBuffering(bool on) override { return Flush() && Target()->SetBuffering(on); }
  void Put(char c) {
    if (count_ == kCapacity) Flush();
    block_[count_++] = c;
  }
  void Put(std::string_view text) {
    if (text.size() > kCapacity - count_) {
      PutLong(text);
      return;
    }
    text.copy(block_.get() + count_, text.size());
    count_ += text.size();
  }
  // Passes on what was gathered; false when any write so far failed.
  bool Flush();

 private:
  static constexpr size_t kCapacity = 64 * 1024;

  void PutLong(std::string_view text);

  std::unique_ptr<char[]> block_;
  size_t count_ = 0;
  unsigned options_;
  bool ok_ = true;
};

}  // namespace zforms
