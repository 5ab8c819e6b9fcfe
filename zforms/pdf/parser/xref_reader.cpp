#include "zforms/pdf/parser/xref_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

constexpr std::string_view kTrailer = "trailer";
constexpr size_t kEntrySize = 20;  // the size of an entry in bytes, with its line end

size_t SkipWhites(std::string_view text, size_t at) {
  while (at < text.size() && Is(text[at], kBlank)) at++;
  return at;
}

// The first three fields of a line, and the number of fields.
struct Fields {
  std::array<std::string_view, 3> at;
  size_t count = 0;
};

Fields Split(std::string_view line) {
  Fields fields;
  size_t i = 0;
  while (true) {
    i = SkipWhites(line, i);
    if (i == line.size()) return fields;
    const size_t start = i;
    while (i < line.size() && !Is(line[i], kBlank)) i++;
    if (fields.count < fields.at.size()) fields.at[fields.count] = line.substr(start, i - start);
    fields.count++;
  }
}

// Reads the value of eight digits, the first in the lowest byte; false when a character is no digit. Adds all digits at
// once: pairs of digits, then pairs of these sums, then both halves.
bool ReadEightDigits(uint64_t text, uint32_t* value) {
  constexpr uint64_t kEach = 0x0101010101010101;
  uint64_t sums = text ^ (kEach * '0');
  const uint64_t above_nine = (sums | (sums + kEach * 6)) & (kEach * 0xF0);
  sums = (sums * 10 + (sums >> 8)) & 0x00FF00FF00FF00FF;
  sums = (sums * 100 + (sums >> 16)) & 0x0000FFFF0000FFFF;
  *value = static_cast<uint32_t>(sums * 10000 + (sums >> 32));
  return above_nine == 0;
}

uint64_t EightBytes(const char* from) {
  static_assert(std::endian::native == std::endian::little);
  uint64_t bytes;
  std::memcpy(&bytes, from, sizeof(bytes));
  return bytes;
}

}  // namespace

std::unique_ptr<ZPDFNodeDictionary> ZPDFXrefReader::Read(size_t offset, IPDFObjectProvider* provider,
                                                         ZPDFLocations& locations) {
  const std::string_view file = file_.View();
  if (offset >= file.size()) {
    reason_ = "the cross-reference offset is past the end of the file";
    return nullptr;
  }
  offset_ = offset;
  scanned_ = 0;
  const size_t end = file.find("startxref", offset);
  text_ = file.substr(offset, end == std::string_view::npos ? end : end - offset);
  at_ = SkipWhites(text_, 0);
  if (!text_.substr(at_).starts_with("xref")) {
    reason_ = "no cross-reference section at the stated offset";
    return nullptr;
  }
  at_ += 4;
  if (!ReadTable(locations)) {
    reason_ = "the cross-reference section has no trailer";
    return nullptr;
  }
  // Reads the trailer to the end of its dictionary, not to "startxref": a string in the dictionary may contain any
  // word.
  ZPDFTokenizedString trailer = file_.Part(offset + at_, file.size());
  trailer.TrimLeftComments();
  // The trailer is never encrypted.
  ZPDFNode* node = ReadForward(trailer, provider, ZPDFEncrypterNeutral::Default());
  scanned_ = std::max(text_.size(), trailer.Offset() - offset + trailer.SearchedInVain());
  std::unique_ptr<ZPDFNodeDictionary> dictionary(NodeCast<ZPDFNodeDictionary>(node));
  if (dictionary == nullptr) {
    ZPDFNode::Destroy(node);
    reason_ = "the trailer is not a dictionary";
  }
  return dictionary;
}

void ZPDFXrefReader::Warn(std::string_view what) const { file_.Part(offset_ + at_, 0).Warn(what); }

void ZPDFXrefReader::WarnObject(const ZPDFObjectIdentifier& id, std::string_view what) const {
  ZPDFTokenizedString here = file_.Part(offset_ + at_, 0);
  here.SetObject(id.Number(), id.Generation());
  here.Warn(what);
}

bool ZPDFXrefReader::AtTrailer() const { return text_.substr(SkipWhites(text_, at_)).starts_with(kTrailer); }

std::string_view ZPDFXrefReader::NextLine() {
  at_ = SkipWhites(text_, at_);
  const size_t start = at_;
  while (at_ < text_.size() && !Is(text_[at_], kLineEnd)) at_++;
  return text_.substr(start, at_ - start);
}

bool ZPDFXrefReader::ReadTable(ZPDFLocations& locations) {
  while (true) {
    if (AtTrailer()) {
      at_ = SkipWhites(text_, at_) + kTrailer.size();
      return true;
    }
    const std::string_view line = NextLine();
    if (line.empty()) return false;
    const Fields fields = Split(line);
    if (fields.count != 2 || !AllDigits(fields.at[0]) || !AllDigits(fields.at[1])) {
      Warn("a line of the cross-reference table is not a subsection header");
      continue;
    }
    if (!ReadSubsection(ParseUInt(fields.at[0]), ParseUInt(fields.at[1]), locations)) {
      Warn("a cross-reference subsection has fewer entries than its header states");
    }
  }
}

// Reads an entry in the exact layout of the standard: ten digits, five digits and the type, separated by single blanks,
// in twenty bytes with the line end. Otherwise takes nothing.
bool ZPDFXrefReader::TakePlainEntry(uint32_t number, ZPDFLocations& locations) {
  const size_t start = SkipWhites(text_, at_);
  const std::string_view entry = text_.substr(start, kEntrySize);
  if (entry.size() < kEntrySize || entry[10] != ' ' || entry[16] != ' ' || (entry[17] != 'n' && entry[17] != 'f'))
    return false;
  if (!Is(entry[18], kBlank) || !Is(entry[19], kLineEnd)) return false;
  uint32_t high = 0;
  uint32_t generation = 0;
  // The five digits of the generation are the last of eight bytes. The three bytes before them, two digits of the
  // offset and a blank, are replaced by zeros.
  const uint64_t before = EightBytes("000\0\0\0\0");
  const uint64_t five = (EightBytes(&entry[8]) & ~uint64_t{0xFFFFFF}) | before;
  if (!ReadEightDigits(EightBytes(entry.data()), &high) || !ReadEightDigits(five, &generation)) return false;
  if (!Is(entry[8], kDigit) || !Is(entry[9], kDigit)) return false;
  const uint64_t offset =
      uint64_t{high} * 100 + static_cast<uint64_t>(entry[8] - '0') * 10 + static_cast<uint64_t>(entry[9] - '0');
  Add({number, generation}, static_cast<uint32_t>(std::min<uint64_t>(offset, UINT32_MAX)), entry[17] == 'n', locations);
  at_ = start + kEntrySize - 1;
  return true;
}

bool ZPDFXrefReader::ReadSubsection(uint32_t first, uint32_t count, ZPDFLocations& locations) {
  if (first > kHighestObjectNumber) Warn("a cross-reference subsection has object numbers that are too high");
  locations.ExpectMore(std::min<size_t>(count, (text_.size() - at_) / kEntrySize));
  for (uint32_t i = 0; i < count; i++) {
    if (first <= kHighestObjectNumber && i <= kHighestObjectNumber - first && TakePlainEntry(first + i, locations))
      continue;
    if (AtTrailer()) return false;
    const size_t before = at_;
    const std::string_view line = NextLine();
    if (line.empty()) return false;
    if (first > kHighestObjectNumber || i > kHighestObjectNumber - first) continue;
    switch (AddEntry(line, first + i, locations)) {
      case Line::kEntry: break;
      case Line::kHeader: at_ = before; return false;
      case Line::kOther: WarnObject({first + i, 0}, "the entry in the cross-reference table cannot be read"); break;
    }
  }
  return true;
}

ZPDFXrefReader::Line ZPDFXrefReader::AddEntry(std::string_view line, uint32_t number, ZPDFLocations& locations) {
  const Fields fields = Split(line);
  if (fields.count < 2 || !AllDigits(fields.at[0]) || !AllDigits(fields.at[1])) return Line::kOther;
  if (fields.count == 2) return Line::kHeader;
  if (fields.count != 3) return Line::kOther;
  const ZPDFObjectIdentifier id(number, ParseUInt(fields.at[1]));
  const bool in_use = fields.at[2] == "n";
  if (!in_use && fields.at[2] != "f") {
    WarnObject(id, "the entry in the cross-reference table is neither in use (n) nor free (f)");
  }
  Add(id, ParseUInt(fields.at[0]), in_use, locations);
  return Line::kEntry;
}

void ZPDFXrefReader::Add(const ZPDFObjectIdentifier& id, uint32_t offset, bool in_use, ZPDFLocations& locations) const {
  const bool is_damaged = in_use && id.Number() != 0 && id.Generation() > UINT16_MAX;
  // A damaged generation is replaced by 0; the header of the object gives the real one.
  const ZPDFObjectIdentifier taken = is_damaged ? ZPDFObjectIdentifier(id.Number(), 0) : id;
  if (is_damaged) WarnObject(taken, "the entry in the cross-reference table has a generation above 65535");
  locations.AddOlder(taken, offset, in_use && MayBeInUse(taken));
}

}  // namespace zforms
