#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/pdf/node_stack.h"
#include "zforms/pdf/syntax/char_class.h"

namespace zforms {

class Chaine;
class IPDFObjectProvider;
class ZPDFEncrypter;
class ZPDFNode;
class ZPDFNodePool;
class ZPDFTokenizedString;
struct ZPDFChildList;

// Reads one value of a document from its front, in one pass (ISO 32000-1 7.3). The
// node factories read from the end, as the text of a single node is read; where the
// text is sound and holds no backslash, "#", NUL or comment, both give the same tree.
//
// Whatever is not sound gives the best node that can be made of it, and each guess a
// warning: an array or dictionary that is not closed ends where the one around it, or
// the object, does; a closing delimiter that nothing opened is passed over; a key
// without a value has null, a value without a key is left out.
class ZPDFForwardReader {
 public:
  // Reads at the front of the text, which stays as it is.
  ZPDFForwardReader(const ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  ZPDFForwardReader(const ZPDFForwardReader&) = delete;
  ZPDFForwardReader& operator=(const ZPDFForwardReader&) = delete;

  // The value, owned by the caller; null when the object ends before one begins.
  ZPDFNode* Read();
  // How many bytes were read, and how many more were looked at.
  size_t Length() const { return static_cast<size_t>(at_ - begin_); }
  size_t SearchedInVain() const { return searched_in_vain_; }

 private:
  struct NameToken {
    const char* text;
    uint32_t length;
    bool plain;  // it is written as it stands
  };

  // Null, with nothing read, where no value begins.
  ZPDFNode* Value(int depth);
  ZPDFNode* Dictionary(int depth);
  ZPDFNode* Array(int depth);
  ZPDFNode* LeaveOut();
  ZPDFNode* Literal();
  ZPDFNode* UnclosedLiteral();
  ZPDFNode* MakeLiteral(std::string_view body, bool as_it_stands);
  ZPDFNode* Hexadecimal();
  ZPDFNode* OddHexadecimal();
  ZPDFNode* MakeHexadecimal(const Chaine& digits);
  ZPDFNode* Name();
  ZPDFNode* Number();
  ZPDFNode* Reference(std::string_view number);
  ZPDFNode* Keyword();
  ZPDFNode* Word();
  ZPDFNode* MakeNumber(std::string_view number);
  ZPDFNode* MakeKeyword(std::string_view word);

  void ReadEntries(int depth);
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
  Chaine Deciphered(Chaine text) const;
  // White space and comments.
  void SkipBlanks() {
    at_ = SkipClass(at_, end_, kBlank);
    if (at_ != end_ && *at_ == '%') SkipComments();
  }
  void SkipComments();
  bool AtSpecial() const { return at_ == end_ || Is(*at_, kBlankOrSpecial); }
  bool StandsHere(std::string_view word) const;
  // Whether these two characters stand here.
  bool StandsHere(char first, char second) const { return end_ - at_ >= 2 && at_[0] == first && at_[1] == second; }
  void Warn(std::string_view what);
  void WarnOfName(std::string_view name, std::string_view what);

  const ZPDFTokenizedString& text_;
  IPDFObjectProvider* provider_;
  const ZPDFEncrypter* encrypter_;  // null when nothing is enciphered
  ZPDFNodePool* pool_;              // null for the heap
  const char* begin_;
  const char* at_;
  const char* end_;
  int open_arrays_ = 0;
  int open_dictionaries_ = 0;
  int warnings_ = 0;
  size_t searched_in_vain_ = 0;
  // The values of what is open, outermost first, and the keys of those in dictionaries.
  ZPDFSmallStack<ZPDFNode*, 64> nodes_;
  ZPDFSmallStack<NameToken, 64> keys_;
};

// The value at the front of the text, removed there with the blanks and comments behind it.
ZPDFNode* ReadForward(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                 const ZPDFEncrypter* encrypter);

}  // namespace zforms
