#include "zforms/appearance/marked_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zforms {
namespace {

// Walks over the tokens of a content stream. The first byte decides whether a token is an operand or an operator, which
// is enough here.
class ContentScan {
 public:
  explicit ContentScan(std::string_view content) : content_(content) {}

  // Moves to the next token; false at the end.
  bool Next() {
    SkipBlanks();
    start_ = at_;
    if (at_ >= content_.size()) return false;
    switch (content_[at_]) {
      case '(': SkipString(); break;
      case '<': SkipBracket('>'); break;
      case '/':
        at_++;
        SkipRegular();
        break;
      default:
        if (IsRegular(content_[at_])) {
          SkipRegular();
        } else {
          at_++;
        }
    }
    return true;
  }
  std::string_view Token() const { return content_.substr(start_, at_ - start_); }
  size_t Start() const { return start_; }
  size_t End() const { return at_; }

  // Call this after the token "ID": moves past the token "EI", which ends the image (8.9.7).
  void SkipImage() {
    for (size_t found = at_; (found = content_.find("EI", found)) != std::string_view::npos; found += 2) {
      const bool is_begun = found > 0 && IsBlank(content_[found - 1]);
      const bool is_ended = found + 2 >= content_.size() || !IsRegular(content_[found + 2]);
      if (!is_begun || !is_ended) continue;
      at_ = found + 2;
      return;
    }
    at_ = content_.size();
  }

 private:
  static bool IsBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == '\f' || c == '\0'; }
  static bool IsRegular(char c) {
    return !IsBlank(c) && std::string_view("()<>[]{}/%").find(c) == std::string_view::npos;
  }

  void SkipRegular() {
    while (at_ < content_.size() && IsRegular(content_[at_])) at_++;
  }
  void SkipBlanks() {
    while (at_ < content_.size()) {
      if (content_[at_] == '%') {
        at_ = std::min(content_.find_first_of("\r\n", at_), content_.size());
      } else if (IsBlank(content_[at_])) {
        at_++;
      } else {
        return;
      }
    }
  }
  void SkipString() {
    size_t depth = 0;
    for (; at_ < content_.size(); at_++) {
      const char c = content_[at_];
      if (c == '\\') {
        at_++;
      } else if (c == '(') {
        depth++;
      } else if (c == ')' && --depth == 0) {
        at_++;
        break;
      }
    }
    at_ = std::min(at_, content_.size());
  }
  // "<<" is one token; a single "<" begins a hexadecimal string.
  void SkipBracket(char closing) {
    at_++;
    if (at_ < content_.size() && content_[at_] == '<') {
      at_++;
    } else {
      at_ = std::min(content_.find(closing, at_), content_.size() - 1) + 1;
    }
  }

  std::string_view content_;
  size_t at_ = 0;
  size_t start_ = 0;
};

// Walks over the content and collects the parts outside the sections.
class MarkedTextRemover {
 public:
  explicit MarkedTextRemover(std::string_view content) : content_(content), scan_(content) {}

  std::optional<KeptContent> Run() {
    while (scan_.Next()) {
      const std::string_view token = scan_.Token();
      if (token.front() == '/') {
        if (!is_property_) tag_ = token, tag_start_ = scan_.Start();
        is_property_ = true;
        continue;
      }
      if (token == "ID") scan_.SkipImage();
      Take(token);
      // The properties of "BDC" may be a name or a dictionary, so a tag is remembered until the next operator.
      if (IsOperator(token.front())) is_property_ = false;
    }
    if (depth_ > 0 || (shows_text_ && !has_section_)) return std::nullopt;
    Keep(kept_from_, content_.size());
    return std::move(kept_);
  }

 private:
  static bool IsOperator(char first) {
    return (first >= 'A' && first <= 'Z') || (first >= 'a' && first <= 'z') || first == '\'' || first == '"';
  }

  void Take(std::string_view token) {
    if (depth_ == 0) {
      if (token == "BT") shows_text_ = true;
      if (token == "BMC" && tag_ == "/Tx") Open();
      return;
    }
    if (token == "BMC" || token == "BDC") depth_++;
    if (token == "q") saved_++;
    if (token == "Q") saved_--;
    if (token == "EMC" && --depth_ == 0 && saved_ == 0) kept_from_ = scan_.End();
    // A section cannot be removed when a graphics state is saved inside and restored outside, or the reverse. It then
    // counts as a section without end.
    if (depth_ == 0 && saved_ != 0) depth_ = 1, saved_ = 1;
  }
  void Open() {
    Keep(kept_from_, tag_start_);
    has_section_ = true;
    depth_ = 1;
    saved_ = 0;
  }
  void Keep(size_t from, size_t to) { (has_section_ ? kept_.after : kept_.before) += content_.substr(from, to - from); }

  std::string_view content_;
  ContentScan scan_;
  KeptContent kept_;
  std::string_view tag_;
  size_t tag_start_ = 0;
  bool is_property_ = false;
  bool has_section_ = false;
  bool shows_text_ = false;
  size_t depth_ = 0;
  int64_t saved_ = 0;
  size_t kept_from_ = 0;
};

}  // namespace

std::optional<KeptContent> WithoutMarkedText(std::string_view content) { return MarkedTextRemover(content).Run(); }

}  // namespace zforms
