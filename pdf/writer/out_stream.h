#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/chaine.h"

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

  // Ends the line with one line feed, in place of trailing blanks, unless the
  // target is empty or already ends a line.
  void NewLine();
  // One blank (a new line from column 254 on), unless the target is empty or
  // ends in white space or a delimiter.
  void Separate();
  // The token, on a new line when it would reach column 255. Before an opening
  // delimiter trailing blanks go.
  void WriteToken(std::string_view token);
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
  void RemoveTrailingBlanks();
  void ContinueString();

  Chaine* target_;
  size_t column_;
};

}  // namespace zforms
