#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/pdf/syntax/char_class.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZDiagnostics;
class ZPDFNodePool;
enum class ScanStop;

// A part of a text: a shared Chaine, which it keeps alive, a start and a length.
class ZFORMS_API SousChaine {
 public:
  SousChaine() = default;
  SousChaine(const Chaine& text) : text_(text), length_(text.size()) {}
  SousChaine(const Chaine& text, size_t start, size_t length);

  size_t GetLength() const { return length_; }
  bool IsEmpty() const { return length_ == 0; }
  char operator[](size_t index) const { return View()[index]; }
  // The start of the part in the whole text, in bytes.
  size_t Start() const { return start_; }
  const Chaine& Text() const { return text_; }
  std::string_view View() const { return {text_.data() + start_, length_}; }
  operator std::string_view() const { return View(); }
  // The part as a separate string, which shares the bytes.
  Chaine AsChaine() const { return text_.Mid(start_, length_); }
  friend bool operator==(const SousChaine& a, std::string_view b) { return a.View() == b; }

 private:
  Chaine text_;
  size_t start_ = 0;
  size_t length_ = 0;
};

// ZPDFTokenizedString (ZPDFParser::TokenizedString) is the cursor over PDF text that every parsing step uses: a view
// onto a shared text that is consumed from either end. Consuming narrows the view and copies no byte; a copy of the
// cursor is consumed independently. One thread at a time.
//
// Positions are counted from the start of the view. Extracting from an empty view gives an empty token.
class ZFORMS_API ZPDFTokenizedString {
 public:
  explicit ZPDFTokenizedString(const SousChaine& text);
  ZPDFTokenizedString(const Chaine& text) : ZPDFTokenizedString(SousChaine(text)) {}
  ZPDFTokenizedString(const char* text) : ZPDFTokenizedString(Chaine(text)) {}
  ZPDFTokenizedString(const ZPDFTokenizedString& other);
  ZPDFTokenizedString& operator=(const ZPDFTokenizedString& other);
  virtual ~ZPDFTokenizedString();

  bool IsEmpty() const { return begin_ == end_; }
  size_t GetLength() const { return end_ - begin_; }
  char operator[](size_t index) const { return base_[begin_ + index]; }
  // Precondition for LastChar: not empty.
  char LastChar() const { return base_[end_ - 1]; }
  std::string_view View() const { return {base_ + begin_, end_ - begin_}; }
  // The start and end of the view in the whole text, in bytes.
  size_t Offset() const { return begin_; }
  size_t EndOffset() const { return end_; }

  bool StartWith(std::string_view text) const { return View().starts_with(text); }
  bool StartWith(char c) const { return View().starts_with(c); }
  bool EndWith(std::string_view text) const { return View().ends_with(text); }
  bool EndWith(char c) const { return View().ends_with(c); }

  // Positions in the view, -1 when not found. The reverse forms search from `start` towards the front; a negative
  // `start` means the last byte.
  int64_t Find(std::string_view text, int64_t start = 0) const;
  int64_t Find(char c, int64_t start = 0) const { return Find(std::string_view(&c, 1), start); }
  int64_t FindOneOf(std::string_view set, int64_t start = 0) const;
  int64_t ReverseFind(std::string_view text, int64_t start = -1) const;
  int64_t ReverseFind(char c, int64_t start = -1) const { return ReverseFind(std::string_view(&c, 1), start); }
  int64_t ReverseFindOneOf(std::string_view set, int64_t start = -1) const;

  // The length in bytes of the first complete PDF element at the front; see element_scan.h for the rules.
  size_t GetFirstElementLength() const;

  char ExtractFirstChar();
  char ExtractLastChar();
  SousChaine ExtractFirstChars(size_t count);
  SousChaine ExtractLastChars(size_t count);
  // Extracts one token, then removes comments and white space after it.
  SousChaine ExtractFirstToken();
  SousChaine ExtractLastToken();
  void TrimLeftWhites();
  void TrimRightWhites();
  // Removes white space and comments at both ends. At the end, a "%" begins a comment only when no ")" and no line end
  // follows it.
  void TrimComments();

  // Like the functions above, but for the node classes, which need no shared parts: the views are valid as long as the
  // text.
  std::string_view PeekLastToken() const;
  std::string_view TakeLastToken();
  std::string_view TakeFirstToken();
  std::string_view TakeFirst(size_t count);
  std::string_view TakeLast(size_t count);
  // Removes the first complete element and returns it as a separate cursor. When the element contains comments, the
  // cursor is over a copy in which blanks replace them, because a reader that starts at the end cannot distinguish
  // comments from strings.
  ZPDFTokenizedString TakeFirstElement(ScanStop stop);
  // Removes white space and comments at the front only.
  void TrimLeftComments();
  // The bytes as a string that shares the text. Precondition: `part` is inside the text.
  Chaine Share(std::string_view part) const;
  // A cursor over a part of this one, with the same diagnostics.
  ZPDFTokenizedString Part(size_t offset, size_t length) const;

  // The deepest nesting of arrays and dictionaries that is parsed.
  static constexpr int kMaxNesting = 500;
  bool EnterNesting() { return ++nesting_ <= kMaxNesting; }
  void LeaveNesting() { --nesting_; }
  bool IsNested() const { return nesting_ > 0; }

  // Counts bytes that were searched but not consumed. The owner of the text uses the sum to bound the cost of damaged
  // objects.
  void NoteSearchInVain(size_t count) { searched_in_vain_ += count; }
  size_t SearchedInVain() const { return searched_in_vain_; }

  // Marks this as the text of a document: values of indirect objects are read from the front (see forward_reader.h),
  // and the zero byte is white space. Their nodes are allocated in the pool, or on the heap when it is null.
  void SetDocument(ZPDFNodePool* pool = nullptr);
  bool IsDocument() const { return white_ == kBlank; }
  ZPDFNodePool* Pool() const { return pool_; }

  // Sets where faults are reported, with the object that is being parsed; null, the default, reports none.
  void SetDiagnostics(ZDiagnostics* diagnostics) { diagnostics_ = diagnostics; }
  ZDiagnostics* Diagnostics() const { return diagnostics_; }
  void SetObject(uint32_t number, uint32_t generation);
  void Warn(std::string_view what) const;

 protected:
  int64_t FindSpecialChar(int64_t start) const;
  int64_t ReverseFindSpecialChar(int64_t start) const;
  int64_t ReverseFindSpecialForComment() const;

 private:
  size_t LastTokenLength() const;
  size_t FirstTokenLength() const;
  SousChaine Shared(std::string_view part) const;

  Chaine text_;
  const char* base_;
  size_t begin_;
  size_t end_;
  // A cache for searching comments: the range [clear_from_, clear_to_) contains no line end, "%" or ")", and one of
  // these is just before it, unless it reaches the front. So a line of a million numbers is searched once, not once for
  // each token. Empty while nothing is known.
  mutable size_t clear_from_ = 0;
  mutable size_t clear_to_ = 0;
  size_t origin_ = 0;  // where the text starts in the file, for warnings
  int nesting_ = 0;
  size_t searched_in_vain_ = 0;
  ZPDFNodePool* pool_ = nullptr;
  CharClass white_ = kWhite;
  CharClass special_ = kSpecial;
  ZDiagnostics* diagnostics_ = nullptr;
  uint32_t object_number_ = 0;
  uint32_t object_generation_ = 0;
};

}  // namespace zforms
