#include "zforms/pdf/syntax/element_scan.h"

#include <algorithm>
#include <string>

#include "zforms/pdf/syntax/char_class.h"

namespace zforms {
namespace {

class ElementScan {
 public:
  using Comments = std::vector<std::pair<size_t, size_t>>;

  ElementScan(std::string_view text, ScanStop stop, Comments* comments)
      : text_(text), stop_(stop), comments_(comments) {}

  size_t Run() {
    while (!done_ && at_ < text_.size()) Step();
    return std::min(at_, text_.size());
  }

 private:
  void Step() {
    switch (text_[at_]) {
      case '<': OpenAngle(); break;
      case '[': Open('[', 1); break;
      case '(': SkipString(); break;
      case '>': CloseAngle(); break;
      case ']': CloseBracket(); break;
      case ')': Stray(); break;
      case '%': SkipComment(); break;
      case '/': at_ = FindFrom(at_ + 1, [](char c) { return Is(c, kSpecial); }); break;
      case '\\': at_ += 2; break;
      case 'e': Keyword("endobj", true); break;
      case 'o': Keyword("obj", stop_ == ScanStop::kEndobjOrObj && IsObjKeyword()); break;
      default: at_++; break;
    }
  }

  template <class Predicate>
  size_t FindFrom(size_t from, Predicate found) const {
    while (from < text_.size() && !found(text_[from])) from++;
    return from;
  }

  void Open(char kind, size_t length) {
    open_.push_back(kind);
    at_ += length;
  }

  void Close(size_t length) {
    at_ += length;
    if (!open_.empty()) open_.pop_back();
    done_ = open_.empty();
  }

  void SkipComment() {
    const size_t start = at_;
    at_ = FindFrom(at_ + 1, [](char c) { return Is(c, kLineEnd); });
    if (comments_ != nullptr) comments_->emplace_back(start, at_);
  }

  // Ends an element without children at `end`. At the outermost level, it is the whole element.
  void EndLeaf(size_t end) {
    at_ = end;
    done_ = open_.empty();
  }

  void Stray() {
    if (open_.empty()) {
      done_ = true;
    } else {
      at_++;
    }
  }

  void OpenAngle() {
    if (text_.substr(at_).starts_with("<<")) {
      Open('<', 2);
      return;
    }
    const size_t close = text_.find('>', at_);
    EndLeaf(close == std::string_view::npos ? text_.size() : close + 1);
  }

  void CloseAngle() {
    if (!open_.empty() && open_.back() == '<' && text_.substr(at_).starts_with(">>")) {
      Close(2);
    } else {
      Stray();
    }
  }

  void CloseBracket() {
    if (!open_.empty() && open_.back() == '[') {
      Close(1);
    } else {
      Stray();
    }
  }

  void SkipString() {
    size_t depth = 0;
    size_t i = at_ + 1;
    for (; i < text_.size(); i++) {
      const char c = text_[i];
      if (c == '\\') {
        i++;
      } else if (c == '(') {
        depth++;
      } else if (c == ')' && depth-- == 0) {
        i++;
        break;
      }
    }
    EndLeaf(std::min(i, text_.size()));
  }

  void Keyword(std::string_view word, bool ends) {
    if (ends && text_.substr(at_).starts_with(word)) {
      done_ = true;
    } else {
      at_++;
    }
  }

  bool IsObjKeyword() const {
    const size_t after = at_ + 3;
    return at_ > 0 && Is(text_[at_ - 1], kWhite) && (after >= text_.size() || Is(text_[after], kSpecial));
  }

  std::string_view text_;
  ScanStop stop_;
  Comments* comments_;
  size_t at_ = 0;
  bool done_ = false;
  std::string open_;  // the open delimiters, innermost last: '<' for a dictionary, '[' for an array
};

}  // namespace

size_t FirstElementLength(std::string_view text, ScanStop stop, std::vector<std::pair<size_t, size_t>>* comments) {
  return ElementScan(text, stop, comments).Run();
}

}  // namespace zforms
