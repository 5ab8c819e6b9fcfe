#include "zforms/pdf/forward_reader.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/child_list.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/pdf/unread_value.h"
#include "zforms/platform/base/hex.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

uint32_t NumberOf(std::string_view digits) {
  if (digits.size() > 9) return ParseUInt(digits);
  uint32_t value = 0;
  for (const char c : digits) value = value * 10 + static_cast<uint32_t>(c - '0');
  return value;
}

}  // namespace

ZPDFForwardReader::ZPDFForwardReader(const ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                     const ZPDFEncrypter* encrypter)
    : text_(text),
      provider_(provider),
      encrypter_(encrypter == ZPDFEncrypterNeutral::Default() ? nullptr : encrypter),
      pool_(text.Pool()),
      begin_(text.View().data()),
      at_(begin_),
      end_(begin_ + text.GetLength()) {}

ZPDFNode* ZPDFForwardReader::Read() {
  for (SkipBlanks(); !BeginsNextObject(); SkipBlanks()) {
    if (ZPDFNode* const value = Value(0)) return value;
    if (!PassStray()) return nullptr;
  }
  return nullptr;
}

ZPDFNode* ZPDFForwardReader::Value(int depth) {
  if (at_ == end_) return nullptr;
  switch (*at_) {
    case '/': return Name();
    case '(': return Literal();
    case '[': return depth < ZPDFTokenizedString::kMaxNesting ? Array(depth) : LeaveOut();
    case '<':
      if (!StandsHere('<', '<')) return Hexadecimal();
      return depth < ZPDFTokenizedString::kMaxNesting ? Dictionary(depth) : LeaveOut();
    case 't':
    case 'f':
    case 'n': return Keyword();
    default: return Number();
  }
}

ZPDFNode* ZPDFForwardReader::Dictionary(int depth) {
  const char* const start = at_;
  at_ += 2;
  const size_t first_node = nodes_.Size();
  const size_t first_key = keys_.Size();
  open_dictionaries_++;
  ReadEntries(depth, start);
  open_dictionaries_--;
  auto* const dictionary = ZPDFNode::MakeParsed<ZPDFNodeDictionary>(pool_, provider_);
  const size_t count = nodes_.Size() - first_node;
  if (count == 0) return dictionary;
  ZPDFChildList* const list =
      pool_ == nullptr ? ZPDFChildList::MakeKeyed(count) : ZPDFChildList::MakeKeyed(count, *pool_);
  list->Keyed().source = text_.Share({start, static_cast<size_t>(at_ - start)});
  for (size_t i = 0; i < count; i++) {
    const NameToken& key = keys_.Data()[first_key + i];
    list->AppendRead(KeyFor(key, start, list), nodes_.Data()[first_node + i], key.plain);
  }
  nodes_.Shrink(first_node);
  keys_.Shrink(first_key);
  if (pool_ != nullptr && std::any_of(list->items, list->items + count, ZPDFChildList::IsUnread)) {
    list->Keyed().pool = pool_->Share();
  }
  TellRepeated(*list);
  dictionary->AdoptChildren(list);
  if (encrypter_ != nullptr) {
    dictionary->DecipherContents([this](const Chaine& text) { return Deciphered(text); });
  }
  return dictionary;
}

// The key for the list of a dictionary that begins at `dictionary`.
ZPDFChildList::Key ZPDFForwardReader::KeyFor(const NameToken& name, const char* dictionary, ZPDFChildList* list) {
  const auto offset = static_cast<size_t>(name.text - dictionary);
  if (!name.plain || offset > UINT32_MAX) return list->AddKey(NameText(name));
  return {static_cast<uint32_t>(offset), name.length & INT32_MAX, 0};
}

// Reads the entries of a dictionary onto the stacks of keys and values, and the ">>" after them.
void ZPDFForwardReader::ReadEntries(int depth, const char* dictionary) {
  for (SkipBlanks(); !StandsHere('>', '>'); SkipBlanks()) {
    NameToken key;
    if (TakeName(&key)) {
      SkipBlanks();
      ZPDFNode* value = UnreadValue(dictionary);
      if (value == nullptr) value = encrypter_ == nullptr ? Value(depth + 1) : EntryValue(key, depth);
      keys_.Push(key);
      nodes_.Push(value != nullptr ? value : MissedValue(key, depth));
    } else if (!PassKeyless(depth)) {
      Warn("a dictionary is not closed");
      return;
    }
  }
  at_ += 2;
}

// Skips a simple value and returns its place in the text of its dictionary, without making a node. For another value,
// returns null and skips nothing.
ZPDFNode* ZPDFForwardReader::UnreadValue(const char* dictionary) {
  const size_t length = ZPDFUnreadValue::LengthAt(at_, end_, encrypter_ != nullptr);
  if (length == 0) return nullptr;
  ZPDFNode* const place = ZPDFChildList::MakeUnread(static_cast<size_t>(at_ - dictionary), length);
  if (place != nullptr) at_ += length;
  return place;
}

// Reads a value in a dictionary of an encrypted document. A string under "/Contents" is not decrypted yet: it is plain
// in the dictionary of a signature, which is recognized only when the whole dictionary is known.
ZPDFNode* ZPDFForwardReader::EntryValue(const NameToken& key, int depth) {
  const bool may_be_clear = at_ != end_ && (*at_ == '(' || (*at_ == '<' && !StandsHere('<', '<'))) &&
                            ZPDFNodeDictionary::IsContents(NameText(key));
  if (!may_be_clear) return Value(depth + 1);
  const ZPDFEncrypter* const encrypter = std::exchange(encrypter_, nullptr);
  ZPDFNode* const value = Value(depth + 1);
  encrypter_ = encrypter;
  return value;
}

ZPDFNode* ZPDFForwardReader::Array(int depth) {
  at_++;
  const size_t first = nodes_.Size();
  open_arrays_++;
  for (SkipBlanks(); at_ == end_ || *at_ != ']'; SkipBlanks()) {
    if (ZPDFNode* const element = Value(depth + 1)) {
      nodes_.Push(element);
    } else if (!PassStray()) {
      break;
    }
  }
  open_arrays_--;
  if (at_ != end_ && *at_ == ']') {
    at_++;
  } else {
    Warn("an array is not closed");
  }
  auto* const array = ZPDFNode::MakeParsed<ZPDFNodeArray>(pool_, provider_);
  const size_t count = nodes_.Size() - first;
  if (count == 0) return array;
  ZPDFChildList* const list = pool_ == nullptr ? ZPDFChildList::Make(count) : ZPDFChildList::Make(count, *pool_);
  std::copy_n(nodes_.Data() + first, count, list->items);
  list->size = static_cast<uint32_t>(count);
  nodes_.Shrink(first);
  array->AdoptChildren(list);
  return array;
}

ZPDFNode* ZPDFForwardReader::Literal() {
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
      as_it_stands = false;
      if (*at == '\\' && ++at == end_) break;
    }
  }
  if (at == end_) return UnclosedLiteral();
  at_ = at + 1;
  return MakeLiteral({start, static_cast<size_t>(at - start)}, as_it_stands);
}

ZPDFNode* ZPDFForwardReader::MakeLiteral(std::string_view body, bool as_it_stands) {
  Chaine value = Text(body);
  if (!as_it_stands) value = ZPDFNodeLiteralString::Decode(value);
  return ZPDFNode::MakeParsed<ZPDFNodeLiteralString>(pool_, Deciphered(std::move(value)), provider_);
}

// Short strings are decoded while their end is searched; longer ones are decoded after it is found.
ZPDFNode* ZPDFForwardReader::Hexadecimal() {
  const char* const start = at_ + 1;
  const char* at = start;
  std::array<char, 128> bytes;
  size_t count = 0;
  for (; count < bytes.size() && end_ - at >= 2; at += 2) {
    const int byte = HexDigit(at[0]) * 16 | HexDigit(at[1]);
    if (byte < 0) break;
    bytes[count++] = static_cast<char>(byte);
  }
  const bool is_decoded = at != end_ && *at == '>';
  while (at != end_ && HexDigit(*at) >= 0) at++;
  if (at == end_ || *at != '>') return IrregularHexadecimal();
  at_ = at + 1;
  if (is_decoded) return MakeHexadecimal(Chaine(std::string_view(bytes.data(), count)));
  return MakeHexadecimal(ZPDFNodeHexaString::Decode(Text({start, static_cast<size_t>(at - start)})));
}

ZPDFNode* ZPDFForwardReader::MakeHexadecimal(Chaine stored) {
  return ZPDFNode::MakeParsed<ZPDFNodeHexaString>(pool_, Deciphered(std::move(stored)), provider_);
}

ZPDFNode* ZPDFForwardReader::Name() {
  NameToken name;
  TakeName(&name);
  return ZPDFNode::MakeParsed<ZPDFNodeIdentifier>(pool_, NameText(name), provider_);
}

ZPDFNode* ZPDFForwardReader::MakeNumber(std::string_view number) {
  return ZPDFNode::MakeParsed<ZPDFNodeNumeric>(pool_, Text(number), provider_);
}

ZPDFNode* ZPDFForwardReader::Number() {
  const char* const start = at_;
  const std::string_view digits = TakeDigits();
  if (AtSpecial()) {
    if (digits.empty()) return nullptr;
    if (ZPDFNode* const reference = Reference(digits)) return reference;
  } else {
    if (digits.empty() && (*at_ == '+' || *at_ == '-')) at_++;
    at_ = SkipClass(at_, end_, kDigit);
    if (at_ != end_ && *at_ == '.') at_ = SkipClass(at_ + 1, end_, kDigit);
    if (!Is(at_[-1], kDigit) || !AtSpecial()) {
      at_ = start;
      return Word();
    }
  }
  return MakeNumber({start, static_cast<size_t>(at_ - start)});
}

// Reads the generation and the "R" of a reference after its number. When they do not follow, returns null and reads
// nothing more.
ZPDFNode* ZPDFForwardReader::Reference(std::string_view number) {
  const char* const after_number = at_;
  SkipBlanks();
  const std::string_view generation = TakeDigits();
  if (!generation.empty()) {
    const char* const after_generation = at_;
    SkipBlanks();
    if (at_ != after_generation && at_ != end_ && *at_ == 'R') {
      at_++;
      if (AtSpecial()) {
        const ZPDFObjectIdentifier id(NumberOf(number), NumberOf(generation));
        return ZPDFNode::MakeParsed<ZPDFNodeIndirectReference>(pool_, id, provider_);
      }
    }
  }
  at_ = after_number;
  return nullptr;
}

ZPDFNode* ZPDFForwardReader::Keyword() {
  for (const std::string_view word : {"true", "false", "null"}) {
    if (!StandsHere(word)) continue;
    at_ += word.size();
    if (!AtSpecial()) {
      at_ -= word.size();
      break;
    }
    if (word == "null") return ZPDFNodeNull::Default();
    return ZPDFNode::MakeParsed<ZPDFNodeBoolean>(pool_, word == "true", provider_);
  }
  return Word();
}

// The loops use a local pointer, because the compiler would load the member `at_` again after every byte.
bool ZPDFForwardReader::TakeName(NameToken* name) {
  if (at_ == end_ || *at_ != '/') return false;
  const char* at = SkipClass(at_ + 1, end_, kPlainName);
  name->plain = at != at_ + 1;
  for (; at != end_ && !Is(*at, kBlankOrSpecial); at++) {
    name->plain = name->plain && Is(*at, kPlainName);
  }
  name->text = at_;
  name->length = static_cast<uint32_t>(at - at_);
  at_ = at;
  return true;
}

std::string_view ZPDFForwardReader::TakeDigits() {
  const char* const start = at_;
  at_ = SkipClass(start, end_, kDigit);
  return {start, static_cast<size_t>(at_ - start)};
}

Chaine ZPDFForwardReader::NameText(const NameToken& name) {
  const std::string_view text(name.text, name.length);
  return name.plain ? Text(text) : DecodedName(text);
}

// Replaces each "#" with two hexadecimal digits by their byte (ISO 32000-1 7.3.5). The byte is not decoded again.
Chaine ZPDFForwardReader::DecodedName(std::string_view text) {
  size_t escape = text.find('#');
  if (escape == std::string_view::npos) return Text(text);
  std::string name;
  size_t from = 0;
  for (; escape != std::string_view::npos; escape = text.find('#', from)) {
    name += text.substr(from, escape - from);
    const bool whole = text.size() - escape > 2 && HexDigit(text[escape + 1]) >= 0 && HexDigit(text[escape + 2]) >= 0;
    if (!whole) WarnOfName(text, "has a \"#\" that is not followed by two hexadecimal digits");
    name += whole ? static_cast<char>(HexByte(text.substr(escape + 1, 2))) : '#';
    from = escape + (whole ? 3 : 1);
  }
  name += text.substr(from);
  return name;
}

Chaine ZPDFForwardReader::Text(std::string_view part) const {
  return part.size() <= Chaine::kInlineCapacity ? Chaine(part) : text_.Share(part);
}

Chaine ZPDFForwardReader::Deciphered(Chaine text) {
  if (encrypter_ == nullptr) return text;
  std::string fault;
  Chaine plain = encrypter_->DecryptChecked(text, &fault);
  if (!fault.empty()) Warn("an encrypted string " + fault);
  return plain;
}

bool ZPDFForwardReader::StandsHere(std::string_view word) const {
  return static_cast<size_t>(end_ - at_) >= word.size() && std::string_view(at_, word.size()) == word;
}

ZPDFNode* ReadForward(ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter) {
  ZPDFForwardReader reader(text, provider, encrypter);
  ZPDFNode* const value = reader.Read();
  text.TakeFirst(reader.Length());
  text.NoteSearchInVain(reader.SearchedInVain());
  text.TrimLeftComments();
  return value;
}

}  // namespace zforms
