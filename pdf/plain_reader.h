#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "pdf/node_stack.h"

namespace zforms {

class Chaine;
class IPDFObjectProvider;
class ZPDFEncrypter;
class ZPDFNode;
class ZPDFNodePool;
class ZPDFTokenizedString;

// Reads the value of an indirect object from its front, in one pass, when its text
// is as plain as nearly all texts are. It gives exactly the tree that the node
// factories give, which read from the end; whatever they might take otherwise than
// a reader from the front (comments, stray tokens, a missing value, doubled
// backslashes, nesting beyond 100 levels) it leaves to them.
class ZPDFPlainReader {
 public:
  // Reads at the front of the text, which stays as it is. Precondition: the text has a pool.
  ZPDFPlainReader(const ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  ~ZPDFPlainReader();
  ZPDFPlainReader(const ZPDFPlainReader&) = delete;
  ZPDFPlainReader& operator=(const ZPDFPlainReader&) = delete;

  // The value, owned by the caller, or null for a text that is not plain.
  ZPDFNode* Read();
  // How many bytes the value took.
  size_t Length() const { return static_cast<size_t>(at_ - begin_); }

 private:
  struct NameToken {
    const char* text;
    uint32_t length;
    bool plain;  // it is written as it stands
  };

  ZPDFNode* Value(int depth);
  ZPDFNode* Dictionary(int depth);
  ZPDFNode* Array(int depth);
  ZPDFNode* Literal();
  ZPDFNode* Hexadecimal();
  ZPDFNode* Name();
  ZPDFNode* Number();
  ZPDFNode* Keyword();
  ZPDFNode* Reference(std::string_view number);
  bool TakeName(NameToken* name);
  std::string_view TakeDigits();
  Chaine NameText(const NameToken& name) const;
  Chaine Text(std::string_view part) const;
  Chaine Deciphered(Chaine text) const;
  void SkipWhites();
  bool AtSpecial() const;
  bool StandsHere(std::string_view word) const;
  // Whether these two characters stand here.
  bool StandsHere(char first, char second) const { return end_ - at_ >= 2 && at_[0] == first && at_[1] == second; }

  const ZPDFTokenizedString& text_;
  IPDFObjectProvider* provider_;
  const ZPDFEncrypter* encrypter_;  // null when nothing is enciphered
  ZPDFNodePool& pool_;
  const char* begin_;
  const char* at_;
  const char* end_;
  // The values of what is open, outermost first, and the keys of those in dictionaries.
  ZPDFSmallStack<ZPDFNode*, 64> nodes_;
  ZPDFSmallStack<NameToken, 64> keys_;
};

}  // namespace zforms
