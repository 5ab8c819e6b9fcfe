#include "pdf/parser/xref_reader.h"

#include <array>

#include "pdf/crypt/encrypter.h"
#include "pdf/dictionary_node.h"
#include "pdf/parser/char_class.h"
#include "pdf/parser/element_scan.h"
#include "platform/number.h"

namespace zforms {
namespace {

constexpr std::string_view kTrailer = "trailer";

size_t SkipWhites(std::string_view text, size_t at) {
  while (at < text.size() && Is(text[at], kWhite)) at++;
  return at;
}

// The first three fields of a line and how many it has.
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
    while (i < line.size() && !Is(line[i], kWhite)) i++;
    if (fields.count < fields.at.size()) fields.at[fields.count] = line.substr(start, i - start);
    fields.count++;
  }
}

bool AllDigits(std::string_view text) {
  for (const char c : text) {
    if (!Is(c, kDigit)) return false;
  }
  return !text.empty();
}

}  // namespace

std::unique_ptr<ZPDFNodeDictionary> ZPDFXrefReader::Read(size_t offset, IPDFObjectProvider* provider,
                                                         ZPDFLocations& locations) {
  const std::string_view file = file_.View();
  if (offset >= file.size()) {
    reason_ = "the cross-reference offset lies past the end of the file";
    return nullptr;
  }
  offset_ = offset;
  const size_t end = file.find("startxref", offset);
  text_ = file.substr(offset, end == std::string_view::npos ? end : end - offset);
  at_ = SkipWhites(text_, 0);
  if (!text_.substr(at_).starts_with("xref")) {
    reason_ = "no cross-reference section stands at the stated offset";
    return nullptr;
  }
  at_ += 4;
  if (!ReadTable(locations)) {
    reason_ = "the cross-reference section has no trailer";
    return nullptr;
  }
  ZPDFTokenizedString trailer = file_.Part(offset + at_, text_.size() - at_);
  trailer.TrimLeftComments();
  ZPDFTokenizedString element = trailer.TakeFirstElement(ScanStop::kEndobj);
  // The trailer is never encrypted.
  ZPDFNode* node = ZPDFNode::BuildFrom(element, provider, ZPDFEncrypterNeutral::Default());
  std::unique_ptr<ZPDFNodeDictionary> dictionary(NodeCast<ZPDFNodeDictionary>(node));
  if (dictionary == nullptr) {
    ZPDFNode::Destroy(node);
    reason_ = "the trailer is not a dictionary";
  }
  return dictionary;
}

void ZPDFXrefReader::Warn(std::string_view what) const { file_.Part(offset_ + at_, 0).Warn(what); }

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
      Warn("a line of the cross-reference table is no subsection header");
      continue;
    }
    if (!ReadSubsection(ParseUInt(fields.at[0]), ParseUInt(fields.at[1]), locations)) {
      Warn("a cross-reference subsection has fewer entries than it announces");
    }
  }
}

bool ZPDFXrefReader::ReadSubsection(uint32_t first, uint32_t count, ZPDFLocations& locations) {
  for (uint32_t i = 0; i < count; i++) {
    if (AtTrailer()) return false;
    const size_t before = at_;
    const std::string_view line = NextLine();
    if (line.empty()) return false;
    // No object has a number above this one (ISO 32000-1 annex C), so nothing wraps.
    if (first > UINT32_MAX - 1 - i) continue;
    switch (AddEntry(line, first + i, locations)) {
      case Line::kEntry: break;
      case Line::kHeader: at_ = before; return false;
      case Line::kOther: Warn("a cross-reference entry does not have three fields"); break;
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
  locations.AddOlder(id, ParseUInt(fields.at[0]), fields.at[2] == "n");
  return Line::kEntry;
}

}  // namespace zforms
