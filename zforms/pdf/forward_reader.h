#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/pdf/child_list.h"
#include "zforms/pdf/node_stack.h"
#include "zforms/pdf/syntax/char_class.h"

namespace zforms {

class Chaine;
class IPDFObjectProvider;
class ZPDFEncrypter;
class ZPDFNode;
class ZPDFNodePool;
class ZPDFTokenizedString;

// Reads one value of a document in one pass, from the front of its text (ISO 32000-1 7.3). Used once, by one thread.
// (The functions BuildFrom of the node classes read a value from the end of its text. For well-formed text without
// backslash, "#", NUL and comments, both give the same tree.)
//
// For malformed text it makes the best possible node, with a warning for each guess: an unclosed array or dictionary
// ends where the enclosing one or the object ends; an unmatched closing delimiter is skipped; a key without a value
// gets null; a value without a key is dropped.
class ZPDFForwardReader {
 public:
  // Reads from the front of the text, without changing it.
  ZPDFForwardReader(const ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  ZPDFForwardReader(const ZPDFForwardReader&) = delete;
  ZPDFForwardReader& operator=(const ZPDFForwardReader&) = delete;

  // The value, owned by the caller; null when the object ends before a value begins.
  ZPDFNode* Read();
  // The number of bytes read.
  size_t Length() const { return static_cast<size_t>(at_ - begin_); }
  // The number of further bytes that were examined, for example to find the end of a string that is not closed.
  size_t SearchedInVain() const { return searched_in_vain_; }

 private:
  struct NameToken {
    const char* text;
    uint32_t length;
    bool plain;  // the name is written without escapes
  };

  // Reads any value; null, with nothing read, when no value begins here.
  ZPDFNode* Value(int depth);
  ZPDFNode* Dictionary(int depth);
  ZPDFNode* Array(int depth);
  ZPDFNode* LeaveOut();
  ZPDFNode* Literal();
  ZPDFNode* UnclosedLiteral();
  ZPDFNode* MakeLiteral(std::string_view body, bool as_it_stands);
  ZPDFNode* Hexadecimal();
  ZPDFNode* IrregularHexadecimal();
  ZPDFNode* MakeHexadecimal(Chaine stored);
  ZPDFNode* Name();
  ZPDFNode* Number();
  ZPDFNode* Reference(std::string_view number);
  ZPDFNode* Keyword();
  ZPDFNode* Word();
  ZPDFNode* MakeNumber(std::string_view number);
  ZPDFNode* MakeKeyword(std::string_view word);

  ZPDFChildList::Key KeyFor(const NameToken& name, const char* dictionary, ZPDFChildList* list);
  void ReadEntries(int depth, const char* dictionary);
  ZPDFNode* UnreadValue(const char* dictionary);
  ZPDFNode* EntryValue(const NameToken& key, int depth);
  ZPDFNode* MissedValue(const NameToken& key, int depth);
  bool PassKeyless(int depth);
  bool PassStray();
  bool BeginsNextObject();
  void TellRepeated(const ZPDFChildList& list);

  bool TakeName(NameToken* name);
  std::string_view TakeDigits();
  Chaine NameText(const NameToken& name);
  Chaine DecodedName(std::string_view text);
  Chaine Text(std::string_view part) const;
  Chaine Deciphered(Chaine text);
  // Skips white space and comments.
  void SkipBlanks() {
    at_ = SkipClass(at_, end_, kBlank);
    if (at_ != end_ && *at_ == '%') SkipComments();
  }
  void SkipComments();
  bool AtSpecial() const { return at_ == end_ || Is(*at_, kBlankOrSpecial); }
  bool StandsHere(std::string_view word) const;
  // True when the next two characters are these.
  bool StandsHere(char first, char second) const { return end_ - at_ >= 2 && at_[0] == first && at_[1] == second; }
  void Warn(std::string_view what);
  void WarnOfName(std::string_view name, std::string_view what);

  const ZPDFTokenizedString& text_;
  IPDFObjectProvider* provider_;
  const ZPDFEncrypter* encrypter_;  // null when nothing is encrypted
  ZPDFNodePool* pool_;              // null means the heap
  const char* begin_;
  const char* at_;
  const char* end_;
  int open_arrays_ = 0;
  int open_dictionaries_ = 0;
  int warnings_ = 0;
  size_t searched_in_vain_ = 0;
  // The values of the open arrays and dictionaries, outermost first, and the keys of the open dictionaries.
  ZPDFSmallStack<ZPDFNode*, 64> nodes_;
  ZPDFSmallStack<NameToken, 64> keys_;
};

// Reads the value at the front of the text and removes it, with the blanks and comments after it.
ZPDFNode* ReadForward(ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);

}  // namespace zforms
