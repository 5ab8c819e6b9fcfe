#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/xml/xml_tree_builder.h"

namespace zforms {

// ZXMLScanner reads simple XML, as programs write data: a declaration, elements, attributes, text and references, each
// well-formed. It scans the text once and keeps windows onto it. At anything else (comments, CDATA, instructions,
// document types, any fault) it gives up, and the XML parser must read the text. For XML that the scanner can
// read, the scanner and the parser give the same tree. Used once, by one thread.
class ZXMLScanner {
 public:
  // The text must not contain a zero byte. `levels` is the deepest nesting of elements allowed.
  ZXMLScanner(const Chaine& text, size_t levels, ZXMLTreeBuilder* builder)
      : source_(text), at_(source_.begin()), end_(source_.end()), levels_(levels), builder_(*builder) {}

  // Adds the parsed content to `top`. False when it gave up; `top` is then incomplete.
  bool Scan(ZXMLElement* top);

  // "version" and "standalone" in the XML declaration; empty without a declaration.
  const Chaine& Version() const { return version_; }
  const Chaine& Standalone() const { return standalone_; }

 private:
  bool ScanDeclaration();
  bool ScanText();
  bool ScanStartTag();
  bool ScanEndTag();
  bool ScanAttribute(ZXMLElement* into);
  std::string_view ScanName();
  template <class Ends>
  bool ScanCharacters(Ends ends, Chaine* text);
  bool AppendReference();
  bool AppendCharacter();
  void SkipBlanks();
  bool Take(char c) {
    if (at_ == end_ || *at_ != c) return false;
    at_++;
    return true;
  }
  // The part as a Chaine; a long part is a window onto the source.
  Chaine Share(std::string_view part) const {
    if (part.size() <= Chaine::kInlineCapacity) return Chaine(part);
    return source_.Mid(static_cast<size_t>(part.data() - source_.data()), part.size());
  }

  const Chaine source_;
  const char* at_;
  const char* end_;
  const size_t levels_;
  ZXMLTreeBuilder& builder_;
  ZXMLElement* top_ = nullptr;
  ZXMLElement* into_ = nullptr;  // the innermost open element
  size_t depth_ = 0;
  std::string unescaped_;
  Chaine version_;
  Chaine standalone_;
};

}  // namespace zforms
