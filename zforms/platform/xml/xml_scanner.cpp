#include "zforms/platform/xml/xml_scanner.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/hex.h"
#include "zforms/platform/text/text.h"

namespace zforms {

namespace {

// The most attributes of an element that are compared with each other.
constexpr size_t kMostCompared = 32;

enum : uint8_t { kBlank = 1, kNameStart = 2, kInName = 4 };

// Every byte that is not ASCII is allowed in a name.
constexpr std::array<uint8_t, 256> kClasses = [] {
  std::array<uint8_t, 256> classes{};
  for (const char c : {' ', '\t', '\r', '\n'}) classes[static_cast<unsigned char>(c)] = kBlank;
  for (size_t i = 0; i < 256; i++) {
    const char c = static_cast<char>(i);
    if (IsLetterASCII(c) || c == '_' || c == ':' || !IsASCII(c)) classes[i] = kNameStart | kInName;
    if (IsDigitASCII(c) || c == '-' || c == '.') classes[i] = kInName;
  }
  return classes;
}();

bool Is(char c, unsigned classes) { return (kClasses[static_cast<unsigned char>(c)] & classes) != 0; }

}  // namespace

bool ZXMLScanner::Scan(ZXMLElement* top) {
  into_ = top_ = top;
  if (!ScanDeclaration()) return false;
  bool any = false;
  while (at_ != end_) {
    bool scanned = false;
    if (*at_ != '<') {
      scanned = ScanText();
    } else if (end_ - at_ >= 2 && at_[1] == '/') {
      scanned = ScanEndTag();
    } else {
      scanned = any = ScanStartTag();
    }
    if (!scanned) return false;
  }
  return any && into_ == top_;
}

void ZXMLScanner::SkipBlanks() {
  while (at_ != end_ && Is(*at_, kBlank)) at_++;
}

// Reads a name; empty when the text here is not a name.
std::string_view ZXMLScanner::ScanName() {
  const char* const start = at_;
  if (at_ == end_ || !Is(*at_, kNameStart)) return {};
  while (at_ != end_ && Is(*at_, kInName)) at_++;
  return {start, static_cast<size_t>(at_ - start)};
}

bool ZXMLScanner::ScanDeclaration() {
  constexpr std::string_view kStart = "<?xml ";
  const std::string_view text(at_, static_cast<size_t>(end_ - at_));
  if (!text.starts_with(kStart)) return true;
  const size_t length = text.find("?>");
  if (length == std::string_view::npos) return false;
  ZXMLElement declaration{Chaine()};
  at_ += kStart.size();
  end_ = text.data() + length;
  for (SkipBlanks(); at_ != end_; SkipBlanks()) {
    if (!ScanAttribute(&declaration) || (at_ != end_ && !Is(*at_, kBlank))) return false;
  }
  version_ = declaration.Attrib("version").AsChaine();
  standalone_ = declaration.Attrib("standalone").AsChaine();
  at_ += 2;
  end_ = source_.end();
  return true;
}

bool ZXMLScanner::ScanText() {
  Chaine text;
  if (!ScanCharacters([](char c) { return c == '<'; }, &text)) return false;
  const bool before_end_tag = end_ - at_ >= 2 && at_[1] == '/';
  if (into_ == top_) {
    if (!IsXMLWhiteSpace(text)) return false;
    builder_.AddNode(ZXMLNode::Kind::kSpace, std::move(text), into_);
  } else if (before_end_tag && ZXMLTreeBuilder::FirstNode(*into_) == nullptr) {
    into_->Value() = ZVariant(std::move(text));
  } else {
    // The text is between elements: after a child element, or before a start tag.
    builder_.AddText(std::move(text), true, into_);
  }
  return true;
}

bool ZXMLScanner::ScanStartTag() {
  at_++;
  const std::string_view name = ScanName();
  if (name.empty() || ++depth_ > levels_) return false;
  ZXMLElement* element = builder_.AddElement(Share(name), into_);
  while (at_ != end_ && Is(*at_, kBlank)) {
    SkipBlanks();
    if (at_ != end_ && Is(*at_, kNameStart) && !ScanAttribute(element)) return false;
  }
  if (Take('>')) {
    into_ = element;
    return true;
  }
  depth_--;
  return Take('/') && Take('>');
}

// Reads an attribute. The caller checks that a blank or the end of the tag follows it.
bool ZXMLScanner::ScanAttribute(ZXMLElement* into) {
  const std::string_view name = ScanName();
  if (name.empty()) return false;
  SkipBlanks();
  if (!Take('=')) return false;
  SkipBlanks();
  if (at_ == end_ || (*at_ != '"' && *at_ != '\'')) return false;
  const char quote = *at_++;
  Chaine value;
  if (!ScanCharacters([quote](char c) { return c == quote; }, &value) || !Take(quote)) return false;
  // Leaves these cases to the full parser: it reports repeated attributes, and compares many attributes faster.
  if (into->Attribs().size() == kMostCompared || into->HasAttrib(name)) return false;
  builder_.AddAttribute(Share(name), std::move(value), into);
  return true;
}

bool ZXMLScanner::ScanEndTag() {
  at_ += 2;
  if (into_ == top_) return false;
  const std::string_view name = into_->Name();
  const auto left = static_cast<size_t>(end_ - at_);
  if (name.size() >= left || !std::equal(name.begin(), name.end(), at_)) return false;
  at_ += name.size();
  SkipBlanks();
  into_ = into_->parent;
  depth_--;
  return Take('>');
}

// Reads characters up to one for which `ends` is true, or up to the end. False at a malformed reference.
template <class Ends>
bool ZXMLScanner::ScanCharacters(Ends ends, Chaine* text) {
  const char* const start = at_;
  while (at_ != end_ && !ends(*at_) && *at_ != '&') at_++;
  if (at_ == end_ || *at_ != '&') {
    *text = Share({start, static_cast<size_t>(at_ - start)});
    return true;
  }
  unescaped_.assign(start, at_);
  while (at_ != end_ && !ends(*at_)) {
    if (*at_ != '&') {
      unescaped_ += *at_++;
    } else if (!AppendReference()) {
      return false;
    }
  }
  *text = Chaine(unescaped_);
  return true;
}

bool ZXMLScanner::AppendReference() {
  struct Entity {
    std::string_view name;
    char character;
  };
  static constexpr Entity kEntities[] = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
  const std::string_view rest(at_, static_cast<size_t>(end_ - at_));
  if (rest.starts_with("&#")) return AppendCharacter();
  for (const Entity& entity : kEntities) {
    if (!rest.starts_with(entity.name)) continue;
    unescaped_ += entity.character;
    at_ += entity.name.size();
    return true;
  }
  return false;
}

bool ZXMLScanner::AppendCharacter() {
  constexpr uint32_t kLimit = 0x110000;
  at_ += 2;
  const int base = Take('x') ? 16 : 10;
  uint32_t value = 0;
  for (; at_ != end_ && *at_ != ';'; at_++) {
    const int digit = HexDigit(*at_);
    if (digit < 0 || digit >= base) return false;
    value = std::min(value * static_cast<uint32_t>(base) + static_cast<uint32_t>(digit), kLimit);
  }
  if (value == 0 || value == kLimit) return false;
  Chaine character;
  AppendUTF8(&character, value);
  unescaped_ += character.View();
  return Take(';');
}

}  // namespace zforms
