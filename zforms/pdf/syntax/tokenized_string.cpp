#include "zforms/pdf/syntax/tokenized_string.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/element_scan.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms {
namespace {

int64_t Position(size_t found) { return found == std::string_view::npos ? -1 : static_cast<int64_t>(found); }

size_t ReverseStart(int64_t start) { return start < 0 ? std::string_view::npos : static_cast<size_t>(start); }

}  // namespace

SousChaine::SousChaine(const Chaine& text, size_t start, size_t length)
    : text_(text), start_(std::min(start, text.size())), length_(std::min(length, text.size() - start_)) {}

ZPDFTokenizedString::ZPDFTokenizedString(const SousChaine& text)
    : text_(text.Text()), base_(text_.data()), begin_(text.Start()), end_(text.Start() + text.GetLength()) {}

ZPDFTokenizedString::ZPDFTokenizedString(const ZPDFTokenizedString& other) { *this = other; }

ZPDFTokenizedString& ZPDFTokenizedString::operator=(const ZPDFTokenizedString& other) {
  if (this == &other) return *this;
  text_ = other.text_;
  base_ = text_.data();  // a short text is stored inside the object
  begin_ = other.begin_;
  end_ = other.end_;
  clear_from_ = other.clear_from_;
  clear_to_ = other.clear_to_;
  origin_ = other.origin_;
  nesting_ = other.nesting_;
  searched_in_vain_ = other.searched_in_vain_;
  pool_ = other.pool_;
  white_ = other.white_;
  special_ = other.special_;
  diagnostics_ = other.diagnostics_;
  object_number_ = other.object_number_;
  object_generation_ = other.object_generation_;
  return *this;
}

ZPDFTokenizedString::~ZPDFTokenizedString() = default;

int64_t ZPDFTokenizedString::Find(std::string_view text, int64_t start) const {
  return Position(View().find(text, static_cast<size_t>(std::max<int64_t>(start, 0))));
}

int64_t ZPDFTokenizedString::FindOneOf(std::string_view set, int64_t start) const {
  return Position(View().find_first_of(set, static_cast<size_t>(std::max<int64_t>(start, 0))));
}

int64_t ZPDFTokenizedString::ReverseFind(std::string_view text, int64_t start) const {
  return Position(View().rfind(text, ReverseStart(start)));
}

int64_t ZPDFTokenizedString::ReverseFindOneOf(std::string_view set, int64_t start) const {
  return Position(View().find_last_of(set, ReverseStart(start)));
}

int64_t ZPDFTokenizedString::FindSpecialChar(int64_t start) const {
  const std::string_view view = View();
  for (size_t i = static_cast<size_t>(std::max<int64_t>(start, 0)); i < view.size(); i++) {
    if (Is(view[i], special_)) return static_cast<int64_t>(i);
  }
  return -1;
}

int64_t ZPDFTokenizedString::ReverseFindSpecialChar(int64_t start) const {
  const auto length = static_cast<int64_t>(GetLength());
  int64_t i = start < 0 ? length - 1 : std::min(start, length - 1);
  while (i >= 0 && !Is(base_[begin_ + static_cast<size_t>(i)], special_)) i--;
  return i;
}

int64_t ZPDFTokenizedString::ReverseFindSpecialForComment() const {
  const bool known = clear_from_ < clear_to_ && clear_from_ <= end_ && end_ <= clear_to_;
  if (!known) {
    size_t i = end_;
    while (i > begin_ && !Is(base_[i - 1], kCommentStop)) i--;
    clear_from_ = i;
    clear_to_ = end_;
  }
  return clear_from_ > begin_ ? static_cast<int64_t>(clear_from_ - 1 - begin_) : -1;
}

size_t ZPDFTokenizedString::GetFirstElementLength() const { return FirstElementLength(View(), ScanStop::kEndobj); }

char ZPDFTokenizedString::ExtractFirstChar() { return IsEmpty() ? '\0' : base_[begin_++]; }

char ZPDFTokenizedString::ExtractLastChar() { return IsEmpty() ? '\0' : base_[--end_]; }

SousChaine ZPDFTokenizedString::ExtractFirstChars(size_t count) { return Shared(TakeFirst(count)); }

SousChaine ZPDFTokenizedString::ExtractLastChars(size_t count) { return Shared(TakeLast(count)); }

SousChaine ZPDFTokenizedString::ExtractFirstToken() {
  const SousChaine token = Shared(TakeFirst(FirstTokenLength()));
  TrimComments();
  return token;
}

SousChaine ZPDFTokenizedString::ExtractLastToken() { return Shared(TakeLastToken()); }

void ZPDFTokenizedString::TrimLeftWhites() {
  while (begin_ < end_ && Is(base_[begin_], white_)) begin_++;
}

void ZPDFTokenizedString::TrimRightWhites() {
  while (begin_ < end_ && Is(base_[end_ - 1], white_)) end_--;
}

void ZPDFTokenizedString::TrimLeftComments() {
  TrimLeftWhites();
  while (StartWith('%')) {
    while (begin_ < end_ && !Is(base_[begin_], kLineEnd)) begin_++;
    TrimLeftWhites();
  }
}

void ZPDFTokenizedString::TrimComments() {
  TrimLeftComments();
  TrimRightWhites();
  while (!IsEmpty()) {
    const int64_t stop = ReverseFindSpecialForComment();
    if (stop < 0 || (*this)[static_cast<size_t>(stop)] != '%') return;
    end_ = begin_ + static_cast<size_t>(stop);
    TrimRightWhites();
  }
}

size_t ZPDFTokenizedString::FirstTokenLength() const {
  if (IsEmpty()) return 0;
  switch ((*this)[0]) {
    case '(':
    case ')':
    case '[':
    case ']': return 1;
    case '<': return StartWith("<<") ? 2 : 1;
    case '>': return StartWith(">>") ? 2 : 1;
    default: break;
  }
  const int64_t special = FindSpecialChar(1);
  return special < 0 ? GetLength() : static_cast<size_t>(special);
}

size_t ZPDFTokenizedString::LastTokenLength() const {
  if (IsEmpty()) return 0;
  switch (LastChar()) {
    case '(':
    case ')':
    case '[':
    case ']': return 1;
    case '<': return EndWith("<<") ? 2 : 1;
    case '>': return EndWith(">>") ? 2 : 1;
    default: break;
  }
  const int64_t special = ReverseFindSpecialChar(-1);
  if (special < 0) return GetLength();
  const size_t after = GetLength() - static_cast<size_t>(special) - 1;
  // Takes also a special character that is a token itself ({ or }, stray blanks), so that there is always progress.
  return (*this)[static_cast<size_t>(special)] == '/' || after == 0 ? after + 1 : after;
}

std::string_view ZPDFTokenizedString::PeekLastToken() const { return View().substr(GetLength() - LastTokenLength()); }

std::string_view ZPDFTokenizedString::TakeLastToken() {
  const std::string_view token = TakeLast(LastTokenLength());
  TrimComments();
  return token;
}

std::string_view ZPDFTokenizedString::TakeFirstToken() {
  const std::string_view token = TakeFirst(FirstTokenLength());
  TrimLeftComments();
  return token;
}

std::string_view ZPDFTokenizedString::TakeFirst(size_t count) {
  const std::string_view taken = View().substr(0, count);
  begin_ += taken.size();
  return taken;
}

std::string_view ZPDFTokenizedString::TakeLast(size_t count) {
  const std::string_view taken = View().substr(GetLength() - std::min(count, GetLength()));
  end_ -= taken.size();
  return taken;
}

Chaine ZPDFTokenizedString::Share(std::string_view part) const {
  return text_.Mid(static_cast<size_t>(part.data() - base_), part.size());
}

SousChaine ZPDFTokenizedString::Shared(std::string_view part) const {
  return {text_, static_cast<size_t>(part.data() - base_), part.size()};
}

ZPDFTokenizedString ZPDFTokenizedString::Part(size_t offset, size_t length) const {
  ZPDFTokenizedString part(*this);
  part.begin_ = std::min(begin_ + offset, end_);
  part.end_ = std::min(part.begin_ + length, end_);
  return part;
}

ZPDFTokenizedString ZPDFTokenizedString::TakeFirstElement(ScanStop stop) {
  std::vector<std::pair<size_t, size_t>> comments;
  const size_t length = FirstElementLength(View(), stop, &comments);
  ZPDFTokenizedString element = Part(0, length);
  TakeFirst(length);
  if (comments.empty()) return element;
  Chaine copy;
  char* const bytes = copy.AppendUninitialized(length);
  std::memcpy(bytes, element.View().data(), length);
  for (const auto& [from, to] : comments) std::memset(bytes + from, ' ', to - from);
  element.text_ = copy;
  element.base_ = element.text_.data();
  element.origin_ += element.begin_;
  element.begin_ = 0;
  element.end_ = length;
  element.clear_to_ = element.clear_from_ = 0;
  return element;
}

void ZPDFTokenizedString::SetDocument(ZPDFNodePool* pool) {
  pool_ = pool;
  white_ = kBlank;
  special_ = kBlankOrSpecial;
}

void ZPDFTokenizedString::SetObject(uint32_t number, uint32_t generation) {
  object_number_ = number;
  object_generation_ = generation;
}

void ZPDFTokenizedString::Warn(std::string_view what) const {
  if (diagnostics_ != nullptr) diagnostics_->WarnObject(object_number_, object_generation_, what, origin_ + begin_);
}

}  // namespace zforms
