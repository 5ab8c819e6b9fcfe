#include "pdf/writer/out_stream.h"

#include <algorithm>
#include <charconv>

#include "pdf/parser/char_class.h"

namespace zforms {
namespace {

constexpr size_t kLastColumn = 254;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Whether the last character of the piece begins an escape sequence: it is a
// backslash that no backslash before it has escaped.
bool EndsInsideEscape(std::string_view piece) {
  const size_t last_other = piece.find_last_not_of('\\');
  const size_t run = piece.size() - (last_other == std::string_view::npos ? 0 : last_other + 1);
  return run % 2 == 1;
}

}  // namespace

ZPDFOutStream::ZPDFOutStream(Chaine* target) : target_(target) {
  const std::string_view text = *target;
  const size_t line_end = text.find_last_of("\r\n");
  column_ = line_end == std::string_view::npos ? text.size() : text.size() - line_end - 1;
}

ZPDFOutStream::~ZPDFOutStream() = default;

void ZPDFOutStream::RemoveTrailingBlanks() {
  size_t length = target_->size();
  while (length > 0 && IsBlank((*target_)[length - 1])) length--;
  column_ -= std::min(column_, target_->size() - length);
  target_->Truncate(length);
}

void ZPDFOutStream::NewLine() {
  if (target_->IsEmpty() || Is(target_->Last(), kLineEnd)) return;
  if (IsBlank(target_->Last())) RemoveTrailingBlanks();
  target_->Append('\n');
  column_ = 0;
}

void ZPDFOutStream::Separate() {
  if (target_->IsEmpty()) return;
  const char last = target_->Last();
  if (Is(last, kDelimiter) || IsBlank(last) || Is(last, kLineEnd)) return;
  if (column_ >= kLastColumn) {
    NewLine();
  } else {
    target_->Append(' ');
    column_++;
  }
}

void ZPDFOutStream::WriteToken(std::string_view token) {
  if (!token.empty() && Is(token.front(), kOpening) && !target_->IsEmpty() && IsBlank(target_->Last())) {
    RemoveTrailingBlanks();
  }
  if (column_ + token.size() > kLastColumn) NewLine();
  target_->Append(token);
  column_ += token.size();
}

void ZPDFOutStream::WriteNumber(uint32_t value) {
  char digits[10];
  const auto written = std::to_chars(digits, digits + sizeof(digits), value);
  WriteToken({digits, static_cast<size_t>(written.ptr - digits)});
}

void ZPDFOutStream::WriteRaw(std::string_view bytes) {
  target_->Append(bytes);
  column_ = 0;
}

void ZPDFOutStream::ContinueString() {
  target_->Append("\\\r");
  column_ = 0;
}

void ZPDFOutStream::ContinueStringIfFull() {
  if (column_ >= kLastColumn) ContinueString();
}

void ZPDFOutStream::WriteStringBody(std::string_view body) {
  if (body.size() + column_ >= kLastColumn) {
    if (column_ != 0 && target_->Last() == '(') {
      ContinueString();
    } else {
      NewLine();
    }
  }
  while (!body.empty()) {
    size_t length = std::min(body.size(), kLastColumn - std::min(column_, kLastColumn - 1));
    if (length == kLastColumn && EndsInsideEscape(body.substr(0, length))) length--;
    target_->Append(body.substr(0, length));
    column_ += length;
    body.remove_prefix(length);
    if (!body.empty()) ContinueString();
  }
}

}  // namespace zforms
