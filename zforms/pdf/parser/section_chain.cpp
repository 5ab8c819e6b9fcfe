#include "zforms/pdf/parser/section_chain.h"

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/xref_reader.h"
#include "zforms/pdf/parser/xref_stream_reader.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/syntax/char_class.h"

namespace zforms {

// Parses the first object, but does not keep it: it may be any object, encrypted or replaced by an update.
uint32_t ZPDFSectionChain::FindLinearized(size_t start) {
  ZPDFTokenizedString text(SousChaine(parser_.raw_data_, start, parser_.raw_data_.size() - start));
  text.SetDocument();
  text.TrimLeftComments();
  ZPDFTokenizedString header = text;
  const std::optional<ZPDFObjectHead> head = TakeObjectHead(header);
  if (!head || !head->is_sound || !header.StartWith("<<")) return 0;
  ZPDFNode* node = ReadForward(header, nullptr, nullptr);
  const size_t end = header.Offset();
  const auto* dictionary = NodeCast<ZPDFNodeDictionary>(node);
  const bool linearized = dictionary != nullptr && dictionary->GetUIntValue("/Linearized") == 1 &&
                          dictionary->GetUIntValue("/L") == parser_.raw_data_.size();
  ZPDFNode::Destroy(node);
  if (!linearized) return 0;
  if (const uint32_t offset = XrefStreamAfter(header)) return offset;
  const std::string_view file = parser_.raw_data_;
  size_t xref = file.find("xref", end);
  while (xref != std::string_view::npos && xref >= 5 && file.substr(xref - 5, 5) == "start") {
    xref = file.find("xref", xref + 4);
  }
  return xref == std::string_view::npos ? 0 : static_cast<uint32_t>(xref);
}

// The offset of the first page's cross-reference stream, which directly follows the linearization dictionary (ISO
// 32000-1 F.3); 0 when it does not.
uint32_t ZPDFSectionChain::XrefStreamAfter(const ZPDFTokenizedString& dictionary) {
  ZPDFTokenizedString next = dictionary;
  next.TrimLeftComments();
  if (!next.StartWith("endobj")) return 0;
  next.TakeFirst(6);
  next.TrimLeftComments();
  const size_t offset = next.Offset();
  ZPDFTokenizedString file{SousChaine(parser_.raw_data_)};
  file.SetDocument();
  if (!ZPDFXrefStreamReader::StandsAt(file, offset)) return 0;
  ZPDFLocations records;
  ZPDFXrefStreamReader reader(file, parser_.file_.decode_budget);
  const bool found = reader.Read(offset, nullptr, records) != nullptr;
  parser_.file_.SpendDecoded(reader.Decoded());
  return found ? static_cast<uint32_t>(offset) : 0;
}

// The offset in "/Prev", 0 when there is none. It must be a direct number: while sections are read, references cannot
// be resolved.
uint32_t ZPDFSectionChain::PreviousSection(const ZPDFNodeDictionary& trailer, uint32_t offset) {
  const ZPDFNode* previous = trailer.GetDirect("/Prev");
  if (previous == nullptr) return 0;
  if (NodeCast<ZPDFNodeNumeric>(previous) != nullptr) return previous->GetUIntValue();
  const bool is_reference = NodeCast<ZPDFNodeIndirectReference>(previous) != nullptr;
  parser_.diagnostics_.WarnAt(
      offset, is_reference ? "\"/Prev\" of this cross-reference section is a reference instead of a number; "
                             "older sections are not read"
                           : "\"/Prev\" of this cross-reference section is not a number; older sections are not read");
  return 0;
}

// Reads the section at `offset`, a table or a stream. For the table of a hybrid file, also reads the stream to which
// "/XRefStm" refers.
std::unique_ptr<ZPDFNodeDictionary> ZPDFSectionChain::ReadSection(const ZPDFTokenizedString& file, uint32_t offset,
                                                                  Chaine* reason) {
  sections_.insert(offset);
  if (ZPDFXrefStreamReader::StandsAt(file, offset)) return ReadXrefStream(file, offset, reason);
  ZPDFXrefReader reader(file);
  const size_t first_record = parser_.locations_.Size();
  std::unique_ptr<ZPDFNodeDictionary> trailer = reader.Read(offset, &parser_, parser_.locations_);
  *reason = reader.Reason();
  parser_.file_.SpendSearched(reader.Scanned());
  if (trailer != nullptr && trailer->Exist("/XRefStm")) ReadHybridPart(file, *trailer, first_record);
  return trailer;
}

std::unique_ptr<ZPDFNodeDictionary> ZPDFSectionChain::ReadXrefStream(const ZPDFTokenizedString& file, uint32_t offset,
                                                                     Chaine* reason) {
  ZPDFXrefStreamReader reader(file, parser_.file_.decode_budget);
  std::unique_ptr<ZPDFNodeDictionary> trailer = reader.Read(offset, &parser_, parser_.locations_);
  *reason = reader.Reason();
  parser_.file_.SpendSearched(reader.Scanned());
  parser_.file_.SpendDecoded(reader.Decoded());
  parser_.file_.xref_streams.insert(offset);
  return trailer;
}

// Adds the objects of a hybrid file that only readers of cross-reference streams see. They take precedence over older
// sections, and over the free entries that hide them (ISO 32000-1 7.5.8.4).
void ZPDFSectionChain::ReadHybridPart(const ZPDFTokenizedString& file, const ZPDFNodeDictionary& trailer,
                                      size_t first_record) {
  const auto* place = NodeCast<ZPDFNodeNumeric>(trailer.GetDirect("/XRefStm"));
  const uint32_t offset = place == nullptr ? 0 : place->GetUIntValue();
  const size_t last_record = parser_.locations_.Size();
  Chaine reason("it is not a number");
  if (sections_.contains(offset)) return;
  sections_.insert(offset);
  if (place == nullptr || ReadXrefStream(file, offset, &reason) == nullptr) {
    parser_.diagnostics_.WarnAt(place == nullptr ? ZDiagnostics::kNoOffset : offset,
                                "\"/XRefStm\" of this hybrid-reference file is not used: " + reason);
  } else {
    parser_.locations_.MakeFreeOldest(first_record, last_record);
  }
}

bool ZPDFSectionChain::Read(uint32_t offset) {
  ZPDFTokenizedString file{SousChaine(parser_.raw_data_)};
  file.SetDocument();
  file.SetDiagnostics(&parser_.diagnostics_);
  while (true) {
    Chaine reason;
    std::unique_ptr<ZPDFNodeDictionary> trailer = ReadSection(file, offset, &reason);
    if (trailer == nullptr && parser_.trailer_ == nullptr) return parser_.Fail(reason);
    if (trailer == nullptr) {
      parser_.diagnostics_.WarnAt(offset, "older cross-reference sections are not used: " + reason);
      break;
    }
    parser_.file_.section_count++;
    if (parser_.trailer_ == nullptr) parser_.file_.xref_is_stream = parser_.file_.xref_streams.contains(offset);
    offset = PreviousSection(*trailer, offset);
    if (parser_.trailer_ == nullptr) parser_.trailer_ = std::move(trailer);
    if (offset == 0) break;
    if (sections_.contains(offset) || parser_.file_.search_budget == 0) {
      parser_.diagnostics_.WarnAt(offset, sections_.contains(offset)
                                              ? "the chain of cross-reference sections forms a loop"
                                              : "too many bytes were read for newer cross-reference sections; "
                                                "this section and older ones are not read");
      break;
    }
  }
  parser_.locations_.Settle();
  return true;
}

}  // namespace zforms
