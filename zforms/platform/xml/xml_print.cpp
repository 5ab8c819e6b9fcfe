#include <array>

#include "zforms/platform/text/text.h"
#include "zforms/platform/xml/xml.h"

namespace zforms {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Bytes that must be escaped in text or attribute values.
constexpr std::array<bool, 256> SpecialBytes(std::string_view marks) {
  std::array<bool, 256> special{};
  for (size_t i = 0; i < 32; i++) special[i] = true;
  for (const char c : marks) special[static_cast<unsigned char>(c)] = true;
  return special;
}

constexpr auto kSpecialInText = [] {
  auto special = SpecialBytes("&<>");
  special['\t'] = special['\n'] = false;
  return special;
}();
constexpr auto kSpecialInAttribute = SpecialBytes("&<>\"");

Chaine WithoutCarriageReturns(std::string_view text) {
  Chaine result;
  for (const char c : text) {
    if (c != '\r') result += c;
  }
  return result;
}

bool Counts(const ZXMLNode* node) {
  return node->kind == ZXMLNode::Kind::kText || node->kind == ZXMLNode::Kind::kCData;
}

const Chaine& TextOf(const ZXMLNode* node) { return static_cast<const ZXMLTextNode*>(node)->text; }

}  // namespace

// ZXMLPrinter writes one tree to one stream.
class ZXMLPrinter {
 public:
  explicit ZXMLPrinter(ZXMLOptimizeFOStream* out)
      : out_(*out),
        raw_(out->HasOption(ZXMLOptimizeFOStream::eRawLineEnds)),
        short_empty_(out->HasOption(ZXMLOptimizeFOStream::eShortEmpty)) {}

  void PutDeclaration(const Chaine& version, const Chaine& standalone, const ZXMLElement& document) {
    out_.Put("<?xml version=\"");
    PutAttributeValue(version.IsEmpty() ? std::string_view("1.0") : version.View());
    out_.Put("\" encoding=\"UTF-8\"");
    if (!standalone.IsEmpty()) {
      out_.Put(" standalone=\"");
      PutAttributeValue(standalone);
      out_.Put('"');
    }
    out_.Put("?>");
    const ZXMLNode* first = document.first_;
    if (first->kind != ZXMLNode::Kind::kSpace || HoldsNothing(TextOf(first).View())) out_.Put('\n');
  }

  // Writes the content of `root` without recursion, so the depth of the tree does not matter.
  void PutContent(const ZXMLElement& root) {
    const ZXMLElement* element = &root;
    PutValueOf(root);
    const ZXMLNode* node = root.first_;
    while (node != nullptr || element != &root) {
      if (node == nullptr) {
        PutEndTag(*element);
        node = element->next;
        element = element->parent;
        values_.pop_back();
      } else if (node->kind != ZXMLNode::Kind::kElement) {
        PutNode(node);
        node = node->next;
      } else {
        const auto* child = static_cast<const ZXMLElement*>(node);
        const bool open = PutElement(*child);
        if (open) element = child;
        node = open ? child->first_ : child->next;
      }
    }
    values_.pop_back();
  }

  size_t Replaced() const { return replaced_; }

 private:
  // How the pieces of text of an open element are written.
  enum class Pieces : uint8_t { kAsRead, kValueFirst, kDropped };

  // Writes the start of an element. False when it has no child nodes and so was written completely.
  bool PutElement(const ZXMLElement& element) {
    out_.Put('<');
    out_.Put(element.name_);
    for (const ZXMLData::Attribute& attribute : element.Attribs()) {
      out_.Put(' ');
      out_.Put(attribute.name);
      out_.Put("=\"");
      PutVariant(attribute.value, [this](std::string_view text) { PutAttributeValue(text); });
      out_.Put('"');
    }
    if (element.first_ != nullptr) {
      out_.Put('>');
      PutValueOf(element);
      return true;
    }
    if (short_empty_ && HoldsNothing(element.Value())) {
      out_.Put("/>");
      return false;
    }
    out_.Put('>');
    PutVariant(element.Value(), [this](std::string_view text) { PutText(text); });
    PutEndTag(element);
    return false;
  }

  void PutEndTag(const ZXMLElement& element) {
    out_.Put("</");
    out_.Put(element.name_);
    out_.Put('>');
  }

  // True when the text is empty after carriage returns are dropped.
  bool HoldsNothing(std::string_view text) const {
    return text.empty() || (raw_ && text.find_first_not_of('\r') == std::string_view::npos);
  }
  bool HoldsNothing(const ZVariant& value) const {
    const Chaine* text = value.Text();
    return text == nullptr ? value.IsEmpty() : HoldsNothing(text->View());
  }

  // Writes a changed value in place of the pieces of text that were read.
  void PutValueOf(const ZXMLElement& element) {
    const Chaine value = element.Value().AsChaine();
    size_t at = 0;
    bool same = true;
    bool has_pieces = false;
    for (const ZXMLNode* node = element.first_; node != nullptr && same; node = node->next) {
      if (!Counts(node)) continue;
      has_pieces = true;
      const Chaine& piece = TextOf(node);
      same = value.View().substr(at, piece.size()) == piece.View();
      at += piece.size();
    }
    same = same && at == value.size();
    if (same || has_pieces) {
      values_.push_back({same ? Pieces::kAsRead : Pieces::kValueFirst, same ? Chaine() : value});
    } else {
      PutText(value);
      values_.push_back({Pieces::kDropped, Chaine()});
    }
  }

  void PutNode(const ZXMLNode* node) {
    const Chaine& text = TextOf(node);
    if (Counts(node) && values_.back().pieces != Pieces::kAsRead) {
      if (values_.back().pieces == Pieces::kValueFirst) PutText(values_.back().value);
      values_.back().pieces = Pieces::kDropped;
      return;
    }
    switch (node->kind) {
      case ZXMLNode::Kind::kCData: PutCData(text); break;
      case ZXMLNode::Kind::kComment: PutWhole("<!--", text, "-->"); break;
      case ZXMLNode::Kind::kInstruction: PutWhole("<?", text, "?>"); break;
      case ZXMLNode::Kind::kDoctype: PutWhole("<!DOCTYPE ", text, ">"); break;
      default: PutText(text);
    }
  }

  template <class Put>
  void PutVariant(const ZVariant& value, Put put) {
    if (const Chaine* text = value.Text()) {
      put(text->View());
    } else if (!value.IsEmpty()) {
      put(value.AsChaine().View());
    }
  }

  void PutText(std::string_view text) {
    size_t run = 0;
    for (size_t i = 0; i < text.size(); i++) {
      if (!kSpecialInText[static_cast<unsigned char>(text[i])] || (raw_ && text[i] == '\r')) continue;
      out_.Put(text.substr(run, i - run));
      PutSpecial(text[i]);
      run = i + 1;
    }
    out_.Put(text.substr(run));
  }

  // With raw line ends, CR LF is written unchanged, because it is a line end of the file. All other white space except
  // blanks needs a reference to survive reading.
  void PutAttributeValue(std::string_view text) {
    size_t run = 0;
    for (size_t i = 0; i < text.size(); i++) {
      if (!kSpecialInAttribute[static_cast<unsigned char>(text[i])]) continue;
      if (raw_ && text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
        i++;
        continue;
      }
      out_.Put(text.substr(run, i - run));
      PutSpecial(text[i]);
      run = i + 1;
    }
    out_.Put(text.substr(run));
  }

  void PutSpecial(char c) {
    switch (c) {
      case '&': return out_.Put("&amp;");
      case '<': return out_.Put("&lt;");
      case '>': return out_.Put("&gt;");
      case '"': return out_.Put("&quot;");
      case '\t': return out_.Put("&#9;");
      case '\n': return out_.Put("&#10;");
      case '\r': return out_.Put("&#13;");
      default: replaced_++; out_.Put(kReplacement);
    }
  }

  // Writes a CDATA section. With raw line ends, it drops carriage returns first: a filter that drops them later could
  // join a "]]>".
  void PutCData(const Chaine& text) {
    constexpr std::string_view kEnd = "]]>";
    const bool drop = raw_ && text.View().find('\r') != std::string_view::npos;
    const Chaine kept = drop ? WithoutCarriageReturns(text) : text;
    std::string_view rest = kept.View();
    out_.Put("<![CDATA[");
    for (size_t end; (end = rest.find(kEnd)) != std::string_view::npos; rest.remove_prefix(end + 2)) {
      out_.Put(rest.substr(0, end + 2));
      out_.Put("]]><![CDATA[");
    }
    out_.Put(rest);
    out_.Put(kEnd);
  }

  // Writes a node such as a comment. With raw line ends, carriage returns become line feeds, so that "-\r->" does not
  // end a comment when a filter drops the carriage return.
  void PutWhole(std::string_view start, const Chaine& text, std::string_view end) {
    out_.Put(start);
    out_.Put(raw_ && text.View().find('\r') != std::string_view::npos ? WithLineEnds(text, "\n").View() : text.View());
    out_.Put(end);
  }

  struct OpenValue {
    Pieces pieces;
    Chaine value;
  };

  ZXMLOptimizeFOStream& out_;
  const bool raw_;
  const bool short_empty_;
  size_t replaced_ = 0;
  std::vector<OpenValue> values_;  // one for each open element
};

Chaine ZXMLElement::AsChaine() const {
  Chaine text;
  ZInetChaineOStream target(text);
  ZXMLOptimizeFOStream out(&target);
  ZXMLPrinter(&out).PutContent(*this);
  out.Flush();
  return text;
}

bool ZXMLReader::Write(ZXMLOptimizeFOStream* out, bool without_declaration, size_t* replaced) const {
  ZXMLPrinter printer(out);
  if (Data() != nullptr) {
    if (!without_declaration) printer.PutDeclaration(version_, standalone_, *document_);
    printer.PutContent(*document_);
  }
  if (replaced != nullptr) *replaced = printer.Replaced();
  return out->Flush();
}

bool ZXMLReader::Write(ZInetOStream* out, bool without_declaration, size_t* replaced) const {
  ZXMLOptimizeFOStream gathered(out);
  return Write(&gathered, without_declaration, replaced);
}

}  // namespace zforms
