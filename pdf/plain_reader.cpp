#include "pdf/plain_reader.h"

#include <algorithm>
#include <new>

#include "pdf/array_node.h"
#include "pdf/child_list.h"
#include "pdf/crypt/encrypter.h"
#include "pdf/dictionary_node.h"
#include "pdf/hex.h"
#include "pdf/identifier_node.h"
#include "pdf/numeric_node.h"
#include "pdf/parser/char_class.h"
#include "pdf/parser/tokenized_string.h"
#include "pdf/reference_node.h"
#include "pdf/string_node.h"
#include "platform/number.h"

namespace zforms {
namespace {

constexpr int kMaxDepth = 100;

// The loops below walk with a pointer of their own: through the member, every byte
// read could be one of the member's, and would have it loaded anew.
const char* SkipClass(const char* at, const char* end, CharClass kind) {
  while (at != end && Is(*at, kind)) at++;
  return at;
}

uint32_t NumberOf(std::string_view digits) {
  if (digits.size() > 9) return ParseUInt(digits);
  uint32_t value = 0;
  for (const char c : digits) value = value * 10 + static_cast<uint32_t>(c - '0');
  return value;
}

}  // namespace

ZPDFPlainReader::ZPDFPlainReader(const ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                 const ZPDFEncrypter* encrypter)
    : text_(text),
      provider_(provider),
      encrypter_(encrypter == ZPDFEncrypterNeutral::Default() ? nullptr : encrypter),
      pool_(*text.Pool()),
      begin_(text.View().data()),
      at_(begin_),
      end_(begin_ + text.GetLength()) {}

ZPDFPlainReader::~ZPDFPlainReader() {
  // What was read before the text turned out not to be plain.
  for (size_t i = 0; i < nodes_.Size(); i++) ZPDFNode::Destroy(nodes_.Data()[i]);
}

ZPDFNode* ZPDFPlainReader::Read() {
  if (at_ == end_) return nullptr;
  const bool ends_itself = *at_ == '<' || *at_ == '[' || *at_ == '(';
  ZPDFNode* const value = Value(0);
  if (value == nullptr) return nullptr;
  const char* const value_end = at_;
  SkipWhites();
  // Before "obj", what was read last is the header of the next object.
  const bool plain = ends_itself ? !StandsHere("obj") && !StandsHere("%") : StandsHere("endobj");
  at_ = value_end;
  if (plain) return value;
  ZPDFNode::Destroy(value);
  return nullptr;
}

ZPDFNode* ZPDFPlainReader::Value(int depth) {
  if (at_ == end_ || depth > kMaxDepth) return nullptr;
  switch (*at_) {
    case '/': return Name();
    case '(': return Literal();
    case '[': return Array(depth);
    case '<': return StandsHere('<', '<') ? Dictionary(depth) : Hexadecimal();
    case 't':
    case 'f':
    case 'n': return Keyword();
    default: return Number();
  }
}

ZPDFNode* ZPDFPlainReader::Dictionary(int depth) {
  at_ += 2;
  const size_t first_node = nodes_.Size();
  const size_t first_key = keys_.Size();
  for (SkipWhites(); !StandsHere('>', '>'); SkipWhites()) {
    NameToken key;
    if (!TakeName(&key)) return nullptr;
    SkipWhites();
    ZPDFNode* const value = Value(depth + 1);
    if (value == nullptr) return nullptr;
    keys_.Push(key);
    nodes_.Push(value);
  }
  at_ += 2;
  auto* const dictionary = ZPDFNode::MakeParsed<ZPDFNodeDictionary>(&pool_, provider_);
  const size_t count = nodes_.Size() - first_node;
  if (count == 0) return dictionary;
  ZPDFChildList* const list = ZPDFChildList::MakeKeyed(count, pool_);
  for (size_t i = 0; i < count; i++) {
    const NameToken& key = keys_.Data()[first_key + i];
    list->AppendKeyedInRoom(NameText(key), nodes_.Data()[first_node + i], key.plain, false);
  }
  nodes_.Shrink(first_node);
  keys_.Shrink(first_key);
  dictionary->AdoptChildren(list);
  if (encrypter_ != nullptr) dictionary->RestoreSignature(encrypter_);
  return dictionary;
}

ZPDFNode* ZPDFPlainReader::Array(int depth) {
  at_++;
  const size_t first = nodes_.Size();
  for (SkipWhites(); at_ != end_ && *at_ != ']'; SkipWhites()) {
    ZPDFNode* const element = Value(depth + 1);
    if (element == nullptr) return nullptr;
    nodes_.Push(element);
  }
  if (at_ == end_) return nullptr;
  at_++;
  auto* const array = ZPDFNode::MakeParsed<ZPDFNodeArray>(&pool_, provider_);
  const size_t count = nodes_.Size() - first;
  if (count == 0) return array;
  ZPDFChildList* const list = ZPDFChildList::Make(count, pool_);
  std::copy_n(nodes_.Data() + first, count, list->items);
  list->size = static_cast<uint32_t>(count);
  nodes_.Shrink(first);
  array->AdoptChildren(list);
  return array;
}

ZPDFNode* ZPDFPlainReader::Literal() {
  const char* const start = at_ + 1;
  const char* at = start;
  bool as_it_stands = true;
  for (size_t depth = 0; at != end_; at++) {
    if (!Is(*at, kInString)) continue;
    if (*at == '(') {
      depth++;
    } else if (*at == ')') {
      if (depth-- == 0) break;
    } else {
      // From the end, a parenthesis behind two backslashes reads otherwise.
      if (*at == '\\' && (++at == end_ || *at == '\\')) return nullptr;
      as_it_stands = false;
    }
  }
  if (at == end_) return nullptr;
  at_ = at + 1;
  Chaine value = Text({start, static_cast<size_t>(at - start)});
  if (!as_it_stands) value = ZPDFNodeLiteralString::Decode(value);
  return ZPDFNode::MakeParsed<ZPDFNodeLiteralString>(&pool_, Deciphered(std::move(value)), provider_);
}

ZPDFNode* ZPDFPlainReader::Hexadecimal() {
  const char* const start = ++at_;
  const char* at = start;
  while (at != end_ && HexDigit(*at) >= 0) at++;
  at_ = at;
  if (at_ == end_ || *at_ != '>') return nullptr;
  const Chaine digits = Text({start, static_cast<size_t>(at_ - start)});
  at_++;
  return ZPDFNode::MakeParsed<ZPDFNodeHexaString>(&pool_, Deciphered(ZPDFNodeHexaString::Decode(digits)), provider_);
}

ZPDFNode* ZPDFPlainReader::Name() {
  NameToken name;
  if (!TakeName(&name)) return nullptr;
  return ZPDFNode::MakeParsed<ZPDFNodeIdentifier>(&pool_, NameText(name), provider_);
}

ZPDFNode* ZPDFPlainReader::Number() {
  const char* const start = at_;
  const std::string_view digits = TakeDigits();
  if (AtSpecial() && !digits.empty()) {
    if (ZPDFNode* const reference = Reference(digits)) return reference;
  } else {
    while (at_ != end_ && (Is(*at_, kDigit) || *at_ == '.' || *at_ == '-' || *at_ == '+')) at_++;
    if (at_ == start || !Is(at_[-1], kDigit) || !AtSpecial()) return nullptr;
  }
  return ZPDFNode::MakeParsed<ZPDFNodeNumeric>(&pool_, Text({start, static_cast<size_t>(at_ - start)}), provider_);
}

// The reference whose number has just been taken; null, with nothing more taken,
// when a generation and an "R" do not follow.
ZPDFNode* ZPDFPlainReader::Reference(std::string_view number) {
  const char* const after_number = at_;
  SkipWhites();
  const std::string_view generation = TakeDigits();
  if (!generation.empty()) {
    const char* const after_generation = at_;
    SkipWhites();
    if (at_ != after_generation && at_ != end_ && *at_ == 'R') {
      at_++;
      if (AtSpecial()) {
        const ZPDFObjectIdentifier id(NumberOf(number), NumberOf(generation));
        return ZPDFNode::MakeParsed<ZPDFNodeIndirectReference>(&pool_, id, provider_);
      }
    }
  }
  at_ = after_number;
  return nullptr;
}

ZPDFNode* ZPDFPlainReader::Keyword() {
  for (const std::string_view word : {"true", "false", "null"}) {
    if (!StandsHere(word)) continue;
    at_ += word.size();
    if (!AtSpecial()) return nullptr;
    if (word == "null") return ZPDFNodeNull::Default();
    return ZPDFNode::MakeParsed<ZPDFNodeBoolean>(&pool_, word == "true", provider_);
  }
  return nullptr;
}

bool ZPDFPlainReader::TakeName(NameToken* name) {
  if (at_ == end_ || *at_ != '/') return false;
  const char* at = SkipClass(at_ + 1, end_, kPlainName);
  name->plain = true;
  for (; at != end_ && !Is(*at, kSpecial); at++) {
    // A parenthesis behind it would read otherwise from the end.
    if (*at == '\\') return false;
    name->plain = name->plain && Is(*at, kPlainName);
  }
  name->text = at_;
  name->length = static_cast<uint32_t>(at - at_);
  at_ = at;
  return at != end_ && name->length > 1;
}

std::string_view ZPDFPlainReader::TakeDigits() {
  const char* const start = at_;
  at_ = SkipClass(start, end_, kDigit);
  return {start, static_cast<size_t>(at_ - start)};
}

Chaine ZPDFPlainReader::NameText(const NameToken& name) const {
  Chaine text = Text({name.text, name.length});
  return name.plain ? text : ZPDFNodeIdentifier::Decode(text);
}

Chaine ZPDFPlainReader::Text(std::string_view part) const {
  return part.size() <= Chaine::kInlineCapacity ? Chaine(part) : text_.Share(part);
}

Chaine ZPDFPlainReader::Deciphered(Chaine text) const {
  return encrypter_ == nullptr ? std::move(text) : encrypter_->Decrypt(text);
}

void ZPDFPlainReader::SkipWhites() { at_ = SkipClass(at_, end_, kWhite); }

bool ZPDFPlainReader::AtSpecial() const { return at_ != end_ && Is(*at_, kSpecial); }

bool ZPDFPlainReader::StandsHere(std::string_view word) const {
  return static_cast<size_t>(end_ - at_) >= word.size() && std::string_view(at_, word.size()) == word;
}

}  // namespace zforms
