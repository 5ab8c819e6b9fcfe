#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/pdf/syntax/char_class.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

// ZPDFOutStream (ZPDFWriter::OutStream) is the output to which every PDF object writes its text. It appends to a Chaine
// that its caller owns and takes care of the line layout: separators between tokens, line breaks before a line grows
// past 254 columns, continuations inside long strings. It is used for one run of writing by one thread; the constructor
// takes the column from the end of the target.
class ZFORMS_API ZPDFOutStream {
 public:
  explicit ZPDFOutStream(Chaine* target);
  virtual ~ZPDFOutStream();
  ZPDFOutStream(const ZPDFOutStream&) = delete;
  ZPDFOutStream& operator=(const ZPDFOutStream&) = delete;

  // Makes several writing steps fast: while it lives, free room in the target is reserved, so that a step only stores
  // bytes. When the outermost Run ends, the target is shortened to the bytes written. Do not read the target before.
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

  // Ends the line with one line feed, which replaces trailing blanks, unless the target is empty or already ends a
  // line.
  void NewLine() {
    const Run run(*this);
    if (at_ == front_ || Is(at_[-1], kLineEnd)) return;
    RemoveTrailingBlanks();
    Put('\n');
    column_ = 0;
  }
  // Writes one blank (a line feed from column 254 on), unless the target is empty or ends in white space or a
  // delimiter.
  void Separate() {
    const Run run(*this);
    if (at_ == front_ || Is(at_[-1], kSelfDelimited)) return;
    if (column_ >= kLastColumn) return NewLine();
    Put(' ');
    column_++;
  }
  // Writes the token, on a new line when it would reach column 255. Removes trailing blanks before an opening
  // delimiter.
  void WriteToken(std::string_view token) {
    const Run run(*this);
    if (!token.empty() && Is(token.front(), kOpening)) RemoveTrailingBlanks();
    if (column_ + token.size() > kLastColumn) NewLine();
    Put(token);
    column_ += token.size();
  }
  void WriteChar(char c) { WriteToken({&c, 1}); }
  // Writes the number in decimal, as a token.
  void WriteNumber(uint32_t value);
  // Used during a Run for text whose lines the caller breaks. Room returns the address of at least `count` free bytes
  // at the end of the target. Accept takes the number of bytes written there, and the new column.
  char* Room(size_t count) {
    if (static_cast<size_t>(limit_ - at_) < count) Extend(count);
    return at_;
  }
  void Accept(size_t count, size_t column) {
    at_ += count;
    column_ = column;
  }
  // Writes the bytes unchanged; the column becomes 0.
  void WriteRaw(std::string_view bytes);
  // Writes the escaped body of a literal string; continues it on the next line with a backslash and a carriage return,
  // never inside an escape sequence.
  void WriteStringBody(std::string_view body);
  // Writes the digits of a hexadecimal string, with line breaks between bytes only. Precondition: their number is even.
  void WriteDigitPairs(std::string_view digits);

  // The number of characters since the last line end.
  size_t Column() const { return column_; }
  // Continues a string on a new line when this line is full.
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
  // Places in the target's text; null between two runs.
  char* front_ = nullptr;    // its start
  char* written_ = nullptr;  // where this run began to write; the text before it may be shared and is never overwritten
  char* at_ = nullptr;       // the end of the text
  char* limit_ = nullptr;    // the end of the room for the text
};

}  // namespace zforms
