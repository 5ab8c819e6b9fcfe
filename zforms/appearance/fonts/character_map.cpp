#include "zforms/appearance/fonts/character_map.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

constexpr size_t kMostEntries = size_t{1} << 17;
constexpr size_t kLargestMap = size_t{16} << 20;
constexpr int kMostMaps = 4;  // CMaps that refer to one another by "/UseCMap"
constexpr uint32_t kLastCid = 0xFFFF;

// The character that the UTF-16 units stand for; 0 when they stand for none or several.
char32_t OnlyCharacter(std::string_view utf16) {
  const auto unit = [utf16](size_t at) {
    return static_cast<char32_t>(static_cast<uint8_t>(utf16[at]) << 8 | static_cast<uint8_t>(utf16[at + 1]));
  };
  if (utf16.size() == 1) return static_cast<uint8_t>(utf16[0]);
  if (utf16.size() == 2) return unit(0) >= 0xD800 && unit(0) < 0xE000 ? 0 : unit(0);
  if (utf16.size() != 4 || unit(0) < 0xD800 || unit(0) > 0xDBFF || unit(2) < 0xDC00 || unit(2) > 0xDFFF) return 0;
  return 0x10000 + ((unit(0) - 0xD800) << 10) + (unit(2) - 0xDC00);
}

class Reader {
 public:
  Reader(std::string_view text, CharacterMap* map) : at_(text.data()), end_(at_ + text.size()), map_(map) {}

  void Read() {
    while (Next()) {
      if (token_ == Token::kWord) {
        Operator();
      } else if (count_ < operands_.size()) {
        operands_[count_++] = {token_, value_};
        TakeEntry();
      }
    }
  }

 private:
  enum class Token : uint8_t { kString, kOpen, kClose, kName, kWord };
  enum class List : uint8_t { kNone, kText, kTextRange, kCid, kCidRange };
  struct Operand {
    Token token;
    Chaine value;
    bool IsCode() const { return token == Token::kString && value.size() >= 1 && value.size() <= 4; }
    uint32_t Code() const {
      uint32_t code = 0;
      for (const char byte : value) code = code << 8 | static_cast<uint8_t>(byte);
      return code;
    }
  };

  bool Next() {
    for (;;) {
      at_ = SkipClass(at_, end_, kBlank);
      if (at_ == end_) return false;
      if (*at_ != '%') break;
      at_ = FindClass(at_, end_, kLineEnd);
    }
    const char* const first = at_;
    if (*at_ == '<' && at_ + 1 != end_ && at_[1] != '<') {
      at_ = std::find(at_, end_, '>');
      token_ = Token::kString;
      value_ = HexadecimalOf({first + 1, static_cast<size_t>(at_ - first - 1)});
      if (at_ != end_) at_++;
      return true;
    }
    at_++;
    if (*first == '[' || *first == ']') {
      token_ = *first == '[' ? Token::kOpen : Token::kClose;
    } else if (*first == '/') {
      token_ = Token::kName;
      at_ = FindClass(at_, end_, kBlankOrSpecial);
    } else {
      token_ = Token::kWord;
      if (!Is(*first, kSpecial)) at_ = FindClass(at_, end_, kBlankOrSpecial);
    }
    value_ = std::string_view(first, static_cast<size_t>(at_ - first));
    return true;
  }
  static Chaine HexadecimalOf(std::string_view text) {
    Chaine digits;
    // Reads at most 256 characters, the longest text that an entry of a CMap can have.
    for (const char c : text.substr(0, 256)) {
      if (!Is(c, kBlank)) digits += c;
    }
    return ZPDFNodeHexaString::Decode(digits);
  }

  void Operator() {
    const char first = value_[0];
    if (list_ != List::kNone && (Is(first, kDigit) || first == '-' || first == '+')) {
      if (count_ < operands_.size()) operands_[count_++] = {Token::kWord, value_};
      TakeEntry();
      return;
    }
    count_ = 0;
    in_array_ = false;
    list_ = List::kNone;
    if (value_ == "beginbfchar") list_ = List::kText;
    if (value_ == "beginbfrange") list_ = List::kTextRange;
    if (value_ == "begincidchar") list_ = List::kCid;
    if (value_ == "begincidrange") list_ = List::kCidRange;
  }
  // Adds the entry to the map when its operands are complete.
  void TakeEntry() {
    switch (list_) {
      case List::kNone: count_ = 0; break;
      case List::kText:
        if (count_ < 2) return;
        if (operands_[0].IsCode()) AddText(operands_[0].Code(), OnlyCharacter(operands_[1].value));
        count_ = 0;
        break;
      case List::kCid:
        if (count_ < 2) return;
        AddCids(operands_[0], operands_[0], operands_[1].value);
        count_ = 0;
        break;
      case List::kCidRange:
        if (count_ < 3) return;
        AddCids(operands_[0], operands_[1], operands_[2].value);
        count_ = 0;
        break;
      case List::kTextRange: TakeTextRange(); break;
    }
  }
  void TakeTextRange() {
    if (count_ < 3) return;
    const Operand& last = operands_[2];
    if (last.token == Token::kOpen) {
      // Takes the texts of the array one by one, each for the next code.
      in_array_ = true;
      next_code_ = operands_[0].Code();
      count_ = 2;
      return;
    }
    if (in_array_ && last.token == Token::kString) {
      if (next_code_ <= operands_[1].Code()) AddText(next_code_++, OnlyCharacter(last.value));
      count_ = 2;
      return;
    }
    if (!in_array_) AddTextRange(last);
    in_array_ = false;
    count_ = 0;
  }
  void AddTextRange(const Operand& text) {
    if (!operands_[0].IsCode() || !operands_[1].IsCode() || text.token != Token::kString) return;
    const uint32_t first = operands_[0].Code();
    const uint32_t last = operands_[1].Code();
    const char32_t character = OnlyCharacter(text.value);
    if (character == 0 && text.value.size() != 2) return;  // U+0000 is allowed: the range of Identity begins with it
    for (uint32_t i = 0; first + i <= last && i <= kLastCid && map_->texts.size() < kMostEntries; i++) {
      AddText(first + i, character + i);
      if (first + i == UINT32_MAX) return;
    }
  }
  void AddText(uint32_t code, char32_t character) {
    const bool is_scalar = character > 0 && character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
    if (is_scalar && map_->texts.size() < kMostEntries) map_->texts.push_back({code, character});
  }
  void AddCids(const Operand& first, const Operand& last, std::string_view cid) {
    const uint32_t number = ParseUInt(cid);
    if (!first.IsCode() || !last.IsCode() || last.Code() < first.Code() || number > kLastCid) return;
    if (map_->cids.size() >= kMostEntries) return;
    map_->cids.push_back({first.Code(), last.Code(), number, static_cast<uint8_t>(first.value.size())});
  }

  const char* at_;
  const char* end_;
  CharacterMap* map_;
  Token token_ = Token::kWord;
  Chaine value_;
  List list_ = List::kNone;
  std::array<Operand, 3> operands_;
  size_t count_ = 0;
  bool in_array_ = false;
  uint32_t next_code_ = 0;
};

void AddIdentity(CharacterMap* map) {
  map->cids.push_back({0, kLastCid, 0, 2});
  map->texts.reserve(kLastCid);
  for (char32_t c = 1; c <= kLastCid; c++) {
    if (c < 0xD800 || c > 0xDFFF) map->texts.push_back({static_cast<uint32_t>(c), c});
  }
}

}  // namespace

CharacterMap ReadCharacterMap(const ZPDFNode* map) {
  CharacterMap result;
  for (int count = 0; map != nullptr && count < kMostMaps; count++) {
    if (map->GetIdentifier() == "/Identity-H" || map->GetIdentifier() == "/Identity-V") {
      result.vertical |= map->GetIdentifier() == "/Identity-V";
      AddIdentity(&result);
    }
    const auto* const stream = NodeCast<ZPDFNodeStream>(map);
    if (stream == nullptr) break;
    if (stream->Dico()->GetIntValue("/WMode") == 1) result.vertical = true;
    const ZPDFDecodedStream decoded = DecodeStream(*stream, kLargestMap);
    if (decoded.usable) Reader(decoded.data, &result).Read();
    map = stream->Dico()->GetTarget("/UseCMap");
  }
  return result;
}

}  // namespace zforms
