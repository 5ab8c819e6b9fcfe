#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/pdf/syntax/char_class.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

// ZPDFOutStream (ZPDFWriter::OutStream) is the sink into which every PDF object
// writes its text. It appends to a Chaine that its caller owns and keeps the
// line layout: separators between tokens, line breaks before a line grows past
// 254 columns, continuations inside long strings. It lives for one run of
// writing; the column is found again from the target at construction.
class ZFORMS_API ZPDFOutStream {
 public:
  explicit ZPDFOutStream(Chaine* target);
  virtual ~ZPDFOutStream();
  ZPDFOutStream(const ZPDFOutStream&) = delete;
  ZPDFOutStream& operator=(const ZPDFOutStream&) = delete;

  // Spans several steps of writing, which then cost a store each: the target has
  // room claimed ahead, and is cut to what was written when the outermost ends. It
  // is not to be looked at before.
  class Run {
   public:
    explicit Run(ZPDFOutStream& out) : begun_(out.at_ == nullptr ? &out : nullptr) {
      if (begun_ != nullptr) begun_->Begin(0);
    }
    ~Run() {
      if (begun_ != nullptr) begun_->End();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

   private:
    ZPDFOutStream* begun_;
  };

  // Ends the line with one line feed, in place of trailing blanks, unless the
  // target is empty or already ends a line.
  void NewLine() {
    const Run run(*this);
    if (at_ == front_ || Is(at_[-1], kLineEnd)) return;
    RemoveTrailingBlanks();
    Put('\n');
    column_ = 0;
  }
  // One blank (a new line from column 254 on), unless the target is empty or
  // ends in white space or a delimiter.
  void Separate() {
    const Run run(*this);
    if (at_ == front_ || Is(at_[-1], kSelfDelimited)) return;
    if (column_ >= kLastColumn) return NewLine();
    Put(' ');
    column_++;
  }
  // The token, on a new line when it would reach column 255. Before an opening
  // delimiter trailing blanks go.
  void WriteToken(std::string_view token) {
    const Run run(*this);
    if (!token.empty() && Is(token.front(), kOpening)) RemoveTrailingBlanks();
    if (column_ + token.size() > kLastColumn) NewLine();
    Put(token);
    column_ += token.size();
  }
  void WriteChar(char c) { WriteToken({&c, 1}); }
  // The number in decimal, as a token.
  void WriteNumber(uint32_t value);
  // The bytes as they are; the column starts again at 0.
  void WriteRaw(std::string_view bytes);
  // The escaped body of a literal string, continued over lines with a backslash
  // and a carriage return; no escape sequence is cut.
  void WriteStringBody(std::string_view body);

  // Characters since the last line end.
  size_t Column() const { return column_; }
  // Continues a string on a new line when no more character fits on this one.
  void ContinueStringIfFull();

 private:
  static constexpr size_t kLastColumn = 254;
  static bool IsBlank(char c) { return c == ' ' || c == '\t'; }

  void Begin(size_t count);
  void End();
  void Put(char c) {
    if (at_ == limit_) Extend(1);
    *at_++ = c;
  }
  void Put(std::string_view bytes) {
    if (static_cast<size_t>(limit_ - at_) < bytes.size()) Extend(bytes.size());
    Chaine::CopyBytes(at_, bytes);
    at_ += bytes.size();
  }
  void Extend(size_t count);
  void RemoveTrailingBlanks() {
    while (at_ != front_ && IsBlank(at_[-1])) {
      if (at_ == written_) return RemoveOlderBlanks();
      at_--;
      if (column_ > 0) column_--;
    }
  }
  void RemoveOlderBlanks();
  void ContinueString();

  Chaine* target_;
  size_t column_;
  // Where the target's text begins, where this run began to write (what stands before
  // may be shared and is never written over), the end of the text and of its room;
  // null between two runs.
  char* front_ = nullptr;
  char* written_ = nullptr;
  char* at_ = nullptr;
  char* limit_ = nullptr;
};

}  // namespace zforms
