// The part of the reader that handles malformed text.

#include <algorithm>
#include <string>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/child_list.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/element_scan.h"
#include "zforms/pdf/syntax/structure_word.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/hash.h"
#include "zforms/platform/base/hex.h"

namespace zforms {
namespace {

// An object gives at most this many warnings, so that a badly damaged one does not flood the list.
constexpr int kMostWarnings = 20;
// A warning shows at most this many bytes of a name.
constexpr size_t kMostOfName = 60;

// True for digits followed by a point, such as "5.", which are a number too (ISO 32000-1 7.3.3). The word becomes a
// keyword node, which has the value of the number.
bool IsNumberWithPoint(std::string_view word) {
  if (word.starts_with('+') || word.starts_with('-')) word.remove_prefix(1);
  return word.ends_with('.') && AllDigits(word.substr(0, word.size() - 1));
}

}  // namespace

// Looks for the value of a key when something else follows the key: skips stray delimiters. Without a value, returns
// the null node, with a warning.
ZPDFNode* ZPDFForwardReader::MissedValue(const NameToken& key, int depth) {
  while (PassStray()) {
    SkipBlanks();
    if (ZPDFNode* const value = Value(depth + 1)) return value;
  }
  WarnOfName({key.text, key.length}, "has no value");
  return ZPDFNodeNull::Default();
}

// Skips what is in the place of a key. False when it cannot be skipped, so that the dictionary ends here.
bool ZPDFForwardReader::PassKeyless(int depth) {
  if (BeginsNextObject()) return false;
  ZPDFNode* const value = Value(depth + 1);
  if (value == nullptr) return PassStray();
  ZPDFNode::Destroy(value);
  Warn("a dictionary holds a value without a key; the value is left out");
  return true;
}

// Skips an unmatched closing delimiter or a brace, with a warning. False before anything else, such as a delimiter that
// closes an open array, a structure word of the file, or the end.
bool ZPDFForwardReader::PassStray() {
  if (at_ == end_) return false;
  const size_t length = StandsHere('>', '>') ? 2 : 1;
  switch (*at_) {
    case ']':
      if (open_arrays_ > 0) return false;
      break;
    case '>':
      if (length == 2 && open_dictionaries_ > 0) return false;
      break;
    case ')':
    case '{':
    case '}': break;
    default: return false;
  }
  WarnOfName({at_, length}, "is unexpected here and is left out");
  at_ += length;
  return true;
}

// Returns an empty array or dictionary for one that is nested too deeply, and skips its contents.
ZPDFNode* ZPDFForwardReader::LeaveOut() {
  Warn("arrays or dictionaries are nested too deeply; the inner part is left out");
  const bool is_array = *at_ == '[';
  at_ += FirstElementLength({at_, static_cast<size_t>(end_ - at_)}, ScanStop::kEndobj);
  if (is_array) return ZPDFNode::MakeParsed<ZPDFNodeArray>(pool_, provider_);
  return ZPDFNode::MakeParsed<ZPDFNodeDictionary>(pool_, provider_);
}

// Reads a literal string that is not closed before the end of the file. It ends before the next "endobj".
ZPDFNode* ZPDFForwardReader::UnclosedLiteral() {
  Warn("a string is not closed");
  const std::string_view rest(at_ + 1, static_cast<size_t>(end_ - at_ - 1));
  std::string_view body = rest.substr(0, rest.find("endobj"));
  while (!body.empty() && Is(body.back(), kBlank)) body.remove_suffix(1);
  searched_in_vain_ += rest.size() - body.size();
  at_ += 1 + body.size();
  return MakeLiteral(body, false);
}

// Reads a hexadecimal string that contains blanks or other characters, or is not closed.
ZPDFNode* ZPDFForwardReader::IrregularHexadecimal() {
  const auto in_body = [](char c) { return HexDigit(c) >= 0 || Is(c, kBlank); };
  const std::string_view rest(at_ + 1, static_cast<size_t>(end_ - at_ - 1));
  auto sound = static_cast<size_t>(std::find_if_not(rest.begin(), rest.end(), in_body) - rest.begin());
  if (sound > 0 && rest.substr(sound - 1).starts_with("endobj")) sound--;
  size_t length = sound;
  bool closed = sound < rest.size() && rest[sound] == '>';
  if (!closed) {
    const size_t stop = std::min(rest.find_first_of("<>", sound), rest.size());
    closed = stop < rest.size() && rest[stop] == '>' && rest.substr(0, stop).find("endobj") == std::string_view::npos;
    length = closed ? stop : sound;
    searched_in_vain_ += stop - length;
    Warn(closed ? "a hexadecimal string has a character that is not a hexadecimal digit"
                : "a hexadecimal string is not closed");
  }
  Chaine digits;
  for (const char c : rest.substr(0, length)) {
    if (!Is(c, kBlank)) digits.Append(c);
  }
  at_ += 1 + length + (closed ? 1 : 0);
  return MakeHexadecimal(ZPDFNodeHexaString::Decode(digits));
}

ZPDFNode* ZPDFForwardReader::MakeKeyword(std::string_view word) {
  return ZPDFNode::MakeParsed<ZPDFNodeIdentifier>(pool_, Text(word), provider_);
}

// Reads any other word; null, with nothing read, for a structure word of the file, such as "endobj".
ZPDFNode* ZPDFForwardReader::Word() {
  const char* const start = at_;
  const char* const end = FindClass(start, end_, kBlankOrSpecial);
  const std::string_view word(start, static_cast<size_t>(end - start));
  if (word.empty() || IsStructureWord(word)) return nullptr;
  at_ = end;
  if (IsNumberWithPoint(word)) return MakeKeyword(word);
  if (word == "R") {
    Warn("a reference lacks its object number or generation");
    return ZPDFNodeNull::Default();
  }
  const bool reads_as_number = Is(word.back(), kDigit);
  WarnOfName(word, reads_as_number ? "is not a number" : "is not a PDF keyword");
  if (reads_as_number) return MakeNumber(word);
  // Keeps the keyword only when all its characters can be written unchanged.
  return SkipClass(start, end, kPlainName) == end ? MakeKeyword(word) : ZPDFNodeNull::Default();
}

void ZPDFForwardReader::SkipComments() {
  while (at_ != end_ && *at_ == '%') at_ = SkipClass(FindClass(at_, end_, kLineEnd), end_, kBlank);
}

// True when the header of an object, "12 0 obj", follows.
bool ZPDFForwardReader::BeginsNextObject() {
  if (at_ == end_ || !Is(*at_, kDigit)) return false;
  const char* const start = at_;
  TakeDigits();
  SkipBlanks();
  const bool has_generation = !TakeDigits().empty();
  SkipBlanks();
  const bool begins = has_generation && StandsHere("obj");
  at_ = start;
  return begins;
}

void ZPDFForwardReader::TellRepeated(const ZPDFChildList& list) {
  const auto tell = [&](size_t at) {
    WarnOfName(list.KeyAt(at), "occurs more than once in its dictionary; the first one counts");
  };
  if (list.size <= ZPDFChildList::kFewKeys) {
    for (size_t i = list.FindRepeated(0); i < list.size; i = list.FindRepeated(i + 1)) tell(i);
    return;
  }
  HashIndex index;
  for (size_t i = 0; i < list.size; i++) {
    const std::string_view key = list.KeyAt(i);
    const uint64_t hash = KeyedHash(key);
    if (index.Find(hash, [&](size_t at) { return list.KeyAt(at) == key; }) == HashIndex::kNone) {
      index.Insert(hash, i);
    } else {
      tell(i);
    }
  }
}

void ZPDFForwardReader::Warn(std::string_view what) {
  if (text_.Diagnostics() == nullptr || warnings_ == kMostWarnings) return;
  const bool last = ++warnings_ == kMostWarnings;
  text_.Part(static_cast<size_t>(at_ - begin_), 0)
      .Warn(last ? "the object has more damage, which is not listed" : what);
}

void ZPDFForwardReader::WarnOfName(std::string_view name, std::string_view what) {
  if (text_.Diagnostics() == nullptr || warnings_ == kMostWarnings) return;
  std::string text = "\"" + std::string(name.substr(0, kMostOfName));
  text += name.size() > kMostOfName ? "...\" " : "\" ";
  Warn(text += what);
}

}  // namespace zforms
