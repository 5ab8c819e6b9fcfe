#include "zforms/pdf/syntax/out_stream.h"

#include <algorithm>
#include <charconv>

namespace zforms {
namespace {

// The room that is reserved before writing.
constexpr size_t kRoom = 1024;

// True when the last character of the piece begins an escape sequence: it is a backslash that is not itself escaped.
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

void ZPDFOutStream::Begin(size_t count) {
  const size_t length = target_->size();
  const size_t room = std::max(count, kRoom);
  at_ = target_->AppendUninitialized(room);
  front_ = at_ - length;
  written_ = at_;
  limit_ = at_ + room;
}

void ZPDFOutStream::End() {
  target_->Truncate(static_cast<size_t>(at_ - front_));
  front_ = written_ = at_ = limit_ = nullptr;
}

void ZPDFOutStream::RemoveOlderBlanks() {
  End();
  size_t length = target_->size();
  while (length > 0 && IsBlank((*target_)[length - 1])) length--;
  column_ -= std::min(column_, target_->size() - length);
  target_->Truncate(length);
  Begin(0);
}

void ZPDFOutStream::Extend(size_t count) {
  End();
  Begin(count);
}

void ZPDFOutStream::WriteNumber(uint32_t value) {
  char digits[20];
  const auto written = std::to_chars(digits, digits + sizeof(digits), value);
  WriteToken({digits, static_cast<size_t>(written.ptr - digits)});
}

void ZPDFOutStream::WriteRaw(std::string_view bytes) {
  const Run run(*this);
  Put(bytes);
  column_ = 0;
}

void ZPDFOutStream::ContinueString() {
  const Run run(*this);
  Put("\\\r");
  column_ = 0;
}

void ZPDFOutStream::ContinueStringIfFull() {
  if (column_ >= kLastColumn) ContinueString();
}

void ZPDFOutStream::WriteStringBody(std::string_view body) {
  const Run run(*this);
  if (body.size() + column_ >= kLastColumn) {
    if (column_ != 0 && at_[-1] == '(') {
      ContinueString();
    } else {
      NewLine();
    }
  }
  while (!body.empty()) {
    size_t length = std::min(body.size(), kLastColumn - std::min(column_, kLastColumn - 1));
    if (length == kLastColumn && EndsInsideEscape(body.substr(0, length))) length--;
    Put(body.substr(0, length));
    column_ += length;
    body.remove_prefix(length);
    if (!body.empty()) ContinueString();
  }
}

void ZPDFOutStream::WriteDigitPairs(std::string_view digits) {
  const Run run(*this);
  while (!digits.empty()) {
    if (column_ + 2 > kLastColumn) NewLine();
    const size_t length = std::min(digits.size(), (kLastColumn - column_) / 2 * 2);
    Put(digits.substr(0, length));
    column_ += length;
    digits.remove_prefix(length);
  }
}

}  // namespace zforms
