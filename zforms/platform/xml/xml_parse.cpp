#include <algorithm>
#include <cstring>
#include <pugixml.hpp>
#include <unordered_set>

#include "zforms/platform/base/hex.h"
#include "zforms/platform/xml/xml.h"
#include "zforms/platform/xml/xml_scanner.h"
#include "zforms/platform/xml/xml_tree_builder.h"

namespace zforms {

namespace {

// Keep white space and line ends unchanged; store text at the start of an element as its value.
constexpr unsigned kParseFlags = (pugi::parse_full & ~(pugi::parse_eol | pugi::parse_wconv_attribute)) |
                                 pugi::parse_ws_pcdata | pugi::parse_embed_pcdata | pugi::parse_fragment;

// The name of the entity when there is a reference at `at` to an entity that XML does not define, such as "nbsp" for
// "&nbsp;"; else empty. Entities that a document type declares are unknown too.
std::string_view UnknownEntity(std::string_view text, size_t at) {
  constexpr std::string_view kKnown[] = {"lt", "gt", "amp", "quot", "apos"};
  if (text.substr(at, 1) != "&") return {};
  const size_t end = text.find_first_of(" \t\r\n&<>\"'#;", at + 1);
  if (end == std::string_view::npos || text[end] != ';') return {};
  const std::string_view name = text.substr(at + 1, end - at - 1);
  return std::find(std::begin(kKnown), std::end(kKnown), name) == std::end(kKnown) ? name : std::string_view();
}

// True when the text at `at` is a reference to a character that does not exist, such as "&#0;".
bool IsBadCharacter(std::string_view text, size_t at) {
  if (text.substr(at, 2) != "&#") return false;
  const bool hex = text.substr(at + 2, 1) == "x";
  const int base = hex ? 16 : 10;
  constexpr uint32_t kLimit = 0x110000;
  uint32_t value = 0;
  size_t i = at + (hex ? 3 : 2);
  const size_t first = i;
  for (; i < text.size(); i++) {
    const int digit = HexDigit(text[i]);
    if (digit < 0 || digit >= base) break;
    value = std::min(value * static_cast<uint32_t>(base) + static_cast<uint32_t>(digit), kLimit);
  }
  return i > first && i < text.size() && text[i] == ';' && (value == 0 || value == kLimit);
}

// Markup in which "&" does not begin a reference: its start and its end.
struct Verbatim {
  std::string_view start;
  std::string_view end;
};
constexpr Verbatim kVerbatim[] = {
    {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"<!ENTITY", ">"}, {"<!ATTLIST", ">"}};

// The position of the first reference to a character that does not exist, where pugixml would cut the text short, or,
// with `entities_too`, to an unknown entity; npos when there is none. Comments, CDATA and instructions contain no
// references.
size_t FindBadReference(std::string_view text, bool entities_too) {
  bool suspicious = false;
  const auto is_bad = [=](size_t at) {
    return IsBadCharacter(text, at) || (entities_too && !UnknownEntity(text, at).empty());
  };
  for (size_t at = text.find('&'); at != std::string_view::npos && !suspicious; at = text.find('&', at + 1)) {
    suspicious = is_bad(at);
  }
  for (size_t at = 0; suspicious && (at = text.find_first_of("<&", at)) != std::string_view::npos; at++) {
    if (is_bad(at)) return at;
    for (const Verbatim& verbatim : kVerbatim) {
      if (text.substr(at, verbatim.start.size()) != verbatim.start) continue;
      const size_t end = text.find(verbatim.end, at + verbatim.start.size());
      if (end == std::string_view::npos) return end;
      at = end;
      break;
    }
  }
  return std::string_view::npos;
}

std::string Place(std::string_view text, size_t at) {
  const std::string_view before = text.substr(0, at);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const size_t line_start = before.rfind('\n') + 1;
  return "line " + std::to_string(line) + ", column " + std::to_string(before.size() - line_start + 1) + ": ";
}

// ZXMLParser turns a text into our tree. Simple XML, as programs write it, is read by the scanner; all other XML is
// parsed by pugixml and copied from its tree, at some 60 % of the speed.
class ZXMLParser {
 public:
  // Nodes are allocated in `memory`, or on the heap when it is null.
  explicit ZXMLParser(std::pmr::monotonic_buffer_resource* memory) : memory_(memory), builder_(memory) {}

  // Parses a document: one root, and around it only comments, instructions, a document type and white space. Otherwise
  // returns null with a reason.
  std::unique_ptr<ZXMLElement> Document(const Chaine& text, size_t levels) {
    is_document_ = true;
    auto document = Content(text, levels);
    if (document == nullptr) return document;
    size_t roots = 0;
    bool has_text = false;
    for (const ZXMLNode* node = ZXMLTreeBuilder::FirstNode(*document); node != nullptr; node = node->next) {
      if (node->kind == ZXMLNode::Kind::kElement) roots++;
      if (node->kind == ZXMLNode::Kind::kText || node->kind == ZXMLNode::Kind::kCData) has_text = true;
    }
    if (roots != 1) {
      return Fail(roots == 0 ? "the XML document has no root element"
                             : "the XML document has more than one root element");
    }
    if (has_text) return Fail("the XML document has text outside the root element");
    return document;
  }

  // Parses the text into an element without name.
  std::unique_ptr<ZXMLElement> Content(const Chaine& text, size_t levels) {
    const size_t zero = text.View().find('\0');
    if (zero != std::string_view::npos) return Fail(Place(text, zero) + "a zero byte");
    auto content = std::make_unique<ZXMLElement>(Chaine());
    ZXMLScanner scanner(text, levels, &builder_);
    if (scanner.Scan(content.get())) {
      version_ = scanner.Version();
      standalone_ = scanner.Standalone();
      return content;
    }
    ZXMLTreeBuilder::Clear(content.get());
    if (memory_ != nullptr) memory_->release();
    return Parse(text, levels, content.get()) ? std::move(content) : nullptr;
  }

  const std::string& Error() const { return error_; }
  const Chaine& Version() const { return version_; }
  const Chaine& Standalone() const { return standalone_; }

 private:
  std::unique_ptr<ZXMLElement> Fail(std::string reason) {
    error_ = std::move(reason);
    return nullptr;
  }

  bool Parse(std::string_view text, size_t levels, ZXMLElement* into) {
    const size_t bad = FindBadReference(text, is_document_);
    if (bad != std::string_view::npos) {
      const std::string entity(UnknownEntity(text, bad));
      error_ = Place(text, bad) + (entity.empty() ? "a reference to a character that does not exist"
                                                  : "the entity \"&" + entity + ";\" is not defined");
      return false;
    }
    pugi::xml_document source;
    // pugixml parses this copy in place. It writes a zero over the last byte, so the copy is one byte longer.
    const size_t size = text.size() + 1;
    bytes_.Clear();
    bytes_.Reserve(size);
    char* buffer = bytes_.AppendUninitialized(size);
    buffer[text.copy(buffer, text.size())] = '\0';
    const pugi::xml_parse_result parsed = source.load_buffer_inplace(buffer, size, kParseFlags, pugi::encoding_utf8);
    if (!parsed) {
      const size_t at = std::min(static_cast<size_t>(std::max<ptrdiff_t>(parsed.offset, 0)), text.size());
      error_ = Place(text, at) + parsed.description();
      return false;
    }
    if (Build(source, into, levels)) return true;
    error_ = repeated_ == nullptr ? "elements are nested too deeply"
                                  : Place(text, static_cast<size_t>(repeated_ - bytes_.data())) +
                                        "a second attribute \"" + repeated_ + "\" in one element";
    return false;
  }

  // A text of pugixml's tree. Long texts are windows onto the parsed copy.
  Chaine Share(const char* text) const {
    const size_t length = std::strlen(text);
    return length == 0 ? Chaine() : bytes_.Mid(static_cast<size_t>(text - bytes_.data()), length);
  }

  // False when two attributes have one name (XML 1.0, 3.1).
  bool CopyAttributes(const pugi::xml_node& node, ZXMLElement* into) {
    std::unordered_set<std::string_view> names;
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
      if ((a.next_attribute() || !names.empty()) && !names.insert(a.name()).second) {
        repeated_ = a.name();
        return false;
      }
      builder_.AddAttribute(Share(a.name()), Share(a.value()), into);
    }
    return true;
  }

  // Walks pugixml's tree without recursion. False when it is deeper than `levels`, or when an attribute is repeated.
  bool Build(const pugi::xml_node& top, ZXMLElement* into, size_t levels) {
    pugi::xml_node from = top;
    pugi::xml_node node = Open(from, into);
    while (true) {
      if (!node) {
        between_elements_.pop_back();
        if (between_elements_.empty()) return true;
        node = from.next_sibling();
        from = from.parent();
        into = into->parent;
      } else if (node.type() != pugi::node_element) {
        CopyText(node, into);
        node = node.next_sibling();
      } else {
        if (between_elements_.size() > levels) return false;
        ZXMLElement* child = builder_.AddElement(Share(node.name()), into);
        if (!CopyAttributes(node, child)) return false;
        if (!node.first_child()) {
          if (*node.value() != '\0') child->Value() = ZVariant(Share(node.value()));
          node = node.next_sibling();
        } else {
          from = node;
          into = child;
          node = Open(node, child);
        }
      }
    }
  }

  // Starts an element that has child nodes; returns the first of them.
  pugi::xml_node Open(const pugi::xml_node& from, ZXMLElement* into) {
    const pugi::xml_node first = from.first_child();
    pugi::xml_node node = first;
    while (node && node.type() != pugi::node_element) node = node.next_sibling();
    between_elements_.push_back(!node.empty());
    if (from.type() == pugi::node_element && *from.value() != '\0') AddText(from.value(), into);
    return first;
  }

  void AddText(const char* text, ZXMLElement* into) { builder_.AddText(Share(text), between_elements_.back(), into); }

  void CopyText(const pugi::xml_node& node, ZXMLElement* into) {
    switch (node.type()) {
      case pugi::node_pcdata: return AddText(node.value(), into);
      case pugi::node_cdata: return builder_.AddPiece(ZXMLNode::Kind::kCData, Share(node.value()), into);
      case pugi::node_comment: return builder_.AddNode(ZXMLNode::Kind::kComment, Share(node.value()), into);
      case pugi::node_doctype: return builder_.AddNode(ZXMLNode::Kind::kDoctype, Share(node.value()), into);
      case pugi::node_pi: {
        Chaine text(node.name());
        if (*node.value() != '\0') text += Chaine(" ") + node.value();
        return builder_.AddNode(ZXMLNode::Kind::kInstruction, text, into);
      }
      case pugi::node_declaration:
        // The declaration is generated when writing. One that is not at the start of the document is dropped.
        if (ZXMLTreeBuilder::FirstNode(*into) != nullptr || into->parent != nullptr) return;
        version_ = node.attribute("version").value();
        standalone_ = node.attribute("standalone").value();
        return;
      default: return;
    }
  }

  std::pmr::monotonic_buffer_resource* memory_;
  ZXMLTreeBuilder builder_;
  // For each open element: true when it has child elements.
  std::vector<bool> between_elements_;
  Chaine bytes_;
  std::string error_;
  const char* repeated_ = nullptr;  // the name of an attribute that its element has already, in bytes_
  Chaine version_;
  Chaine standalone_;
  // False for a fragment: its unknown entities are kept, because the document that contains it may define them.
  bool is_document_ = false;
};

// An estimate of the nodes' memory for each byte of dense XML. It is allocated as one block, which the allocator keeps
// for the next document instead of returning its pages one by one.
constexpr size_t kNodeBytesPerByte = 6;
constexpr size_t kLargestBlock = size_t{16} << 20;

}  // namespace

bool ZXMLElement::FromChaine(const Chaine& markup) {
  size_t depth = 0;
  for (const ZXMLElement* element = this; element != nullptr; element = element->parent) depth++;
  ZXMLParser parser(nullptr);
  const auto content = parser.Content(markup, ZXMLReader::kMaxDepth - std::min(depth, ZXMLReader::kMaxDepth));
  if (content == nullptr) return false;
  TakeContentOf(*content);
  return true;
}

ZXMLElement* ZXMLReader::Read(ZInetIStream* in, ZInetEncodedBuffer::eType encoding) {
  const Chaine bytes = in->ReadAll();
  const std::string error = in->Error();
  if (error.empty()) return Read(bytes, encoding);
  Clear();
  last_error_ = error;
  return nullptr;
}

ZXMLElement* ZXMLReader::Read(const Chaine& text, ZInetEncodedBuffer::eType encoding) {
  Clear();
  Chaine decoded;
  if (!ToUTF8(text, encoding, &decoded, &last_error_)) return nullptr;
  // Some programs also send the terminating zero byte of their text.
  while (!decoded.IsEmpty() && decoded.Last() == '\0') decoded.Truncate(decoded.size() - 1);
  auto memory = std::make_unique<std::pmr::monotonic_buffer_resource>(
      std::clamp<size_t>(decoded.size() * kNodeBytesPerByte, 512, kLargestBlock));
  ZXMLParser parser(memory.get());
  memory_ = std::move(memory);
  document_ = parser.Document(decoded, kMaxDepth);
  if (document_ == nullptr) {
    last_error_ = parser.Error();
    memory_.reset();
    return nullptr;
  }
  version_ = parser.Version();
  standalone_ = parser.Standalone();
  return Data();
}

}  // namespace zforms
