#include "zforms/pdf/parser/recovery.h"

#include <algorithm>
#include <map>
#include <set>

#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/parser/file_scan.h"
#include "zforms/pdf/parser/object_stream.h"
#include "zforms/pdf/parser/page_tree.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/section_chain.h"
#include "zforms/pdf/parser/xref_stream_reader.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// At most this many trailers are read, the newest first, because reading each of them may go to the end of the file.
constexpr size_t kMostTrailers = 64;
// The header used for a file without one.
constexpr std::string_view kAssumedHeader = "%PDF-1.4\n";

using Scanned = ZPDFFileScan::Object;

// Visits the objects found, the newest first; an incomplete object is visited last.
template <class Visit>
void ForNewestFirst(const ZPDFFileScan& scan, Visit visit) {
  for (const bool whole : {true, false}) {
    for (size_t i = scan.objects.size(); i-- > 0;) {
      if (scan.objects[i].whole == whole) visit(scan.objects[i]);
    }
  }
}

// The dictionary at `offset`, as a classic trailer; null when there is none.
std::unique_ptr<ZPDFNodeDictionary> TrailerAt(const ZPDFTokenizedString& file, uint32_t offset,
                                              IPDFObjectProvider* provider) {
  ZPDFTokenizedString text = file.Part(offset, file.GetLength());
  text.TrimLeftComments();
  if (!text.StartWith("<<")) return nullptr;
  ZPDFNode* node = ReadForward(text, provider, nullptr);
  std::unique_ptr<ZPDFNodeDictionary> dictionary(NodeCast<ZPDFNodeDictionary>(node));
  if (dictionary == nullptr) ZPDFNode::Destroy(node);
  return dictionary;
}

const ZPDFNodeDictionary* DictionaryOf(const ZPDFNodeIndirectObject* object) {
  return object == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(object->GetDirectAt(0));
}

bool IsCatalog(const ZPDFNodeIndirectObject* object) {
  const ZPDFNodeDictionary* value = DictionaryOf(object);
  return value != nullptr && value->GetIdentifier("/Type") == "/Catalog";
}

bool IsEncryption(const ZPDFNodeIndirectObject* object) {
  const ZPDFNodeDictionary* value = DictionaryOf(object);
  return value != nullptr && value->GetIdentifier("/Filter") == "/Standard" && value->Exist("/O") && value->Exist("/U");
}

}  // namespace

ZPDFRecovery::ZPDFRecovery(ZPDFParser& parser) : parser_(parser) {}
ZPDFRecovery::~ZPDFRecovery() = default;

bool ZPDFRecovery::Run(bool analyzed) {
  if (parser_.raw_data_.size() > UINT32_MAX) return false;
  // Without the right password, damage cannot be found.
  if (analyzed && !parser_.CanBeDecrypted()) return true;
  const bool readable = analyzed && parser_.Root() != nullptr;
  if (const Chaine damage = Damage(analyzed); !damage.IsEmpty()) {
    if (Rebuild(damage)) {
      if (parser_.CanBeDecrypted()) RepairPageTree(parser_, parser_.diagnostics_, &parser_.file_.lost_pages);
      return true;
    }
    if (!readable) return false;
    // The tables cannot be rebuilt. Reads the faulty ones again, because they lead to a catalog.
    parser_.Clean();
    parser_.diagnostics_.Clear();
    if (!parser_.Analyze()) return false;
  }
  RepairLocations();
  if (RepairPageTree(parser_, parser_.diagnostics_, &parser_.file_.lost_pages)) parser_.file_.recovered = true;
  return true;
}

// Why the tables cannot be trusted; empty when they can.
Chaine ZPDFRecovery::Damage(bool analyzed) const {
  if (!analyzed) return parser_.diagnostics_.Failure();
  if (parser_.Root() == nullptr) return "the trailer refers to no document catalog";
  if (!parser_.file_.oddity.IsEmpty()) return parser_.file_.oddity;
  const size_t unlisted = parser_.UnlistedAtEnd();
  if (unlisted == 0) return {};
  return FormatUInt(unlisted) + (unlisted == 1 ? " object follows" : " objects follow") +
         " its last cross-reference section";
}

// Corrects a record when the object header at its place has the same number but another generation. Uses the lower
// generation: nearly all generations are 0, and damage to a 0 makes it higher. Returns whether there was such a header.
bool ZPDFRecovery::SettleGeneration(ZPDFObjectLocation& location) {
  const std::optional<uint32_t> generation = location.in_use ? parser_.GenerationAt(location) : std::nullopt;
  if (!generation) return false;
  const ZPDFObjectIdentifier listed = location.id;
  location.id = {listed.Number(), std::min(*generation, listed.Generation())};
  location.requested = false;
  parser_.WarnOfGeneration(listed, *generation);
  parser_.file_.recovered = true;
  return true;
}

// Corrects records that do not point to their object: makes them point to the newest object with that number and
// generation in the file.
void ZPDFRecovery::RepairLocations() {
  std::map<ZPDFObjectIdentifier, ZPDFObjectLocation*> wrong;
  for (ZPDFObjectLocation& location : parser_.locations_) {
    if (parser_.IsWrong(location) && !SettleGeneration(location)) wrong[location.id] = &location;
  }
  if (wrong.empty()) return;
  size_t repaired = 0;
  scan_ = ScanFile(parser_.raw_data_);
  ForNewestFirst(scan_, [&](const Scanned& found) {
    const auto entry = wrong.find(found.id);
    if (entry == wrong.end()) return;
    entry->second->offset = found.offset;
    entry->second->in_use = true;
    entry->second->requested = false;
    wrong.erase(entry);
    repaired++;
  });
  if (repaired == 0) return;
  parser_.file_.recovered = true;
  // Object streams that were missing before may be found now, so objects in them are loaded when they are next
  // requested.
  std::erase_if(parser_.file_.object_streams, [](const auto& stream) { return stream.second == nullptr; });
  for (ZPDFObjectLocation& location : parser_.locations_) {
    if (location.packed && location.object == nullptr) location.requested = false;
  }
  parser_.diagnostics_.Warn(
      "the file is damaged: " + FormatUInt(repaired) + (repaired == 1 ? " object was" : " objects were") +
      " not where the cross-reference table says; a scan of the file found " + (repaired == 1 ? "it" : "them"));
}

bool ZPDFRecovery::Rebuild(const Chaine& reason) {
  Chaine about_header;
  const ZPDFLocations listed = parser_.locations_;
  if (!SettleHeader(reason, &about_header)) return false;
  parser_.Clean();
  parser_.diagnostics_.Clear();
  scan_ = ScanFile(parser_.raw_data_);
  FindTrailers();
  ReadSections();
  AddFound(listed);
  MergeTrailers();
  if (!parser_.PrepareEncryption()) return false;
  const bool readable = parser_.CanBeDecrypted();
  if (readable) AddPackedObjects();
  if (readable && parser_.Root() == nullptr) FindCatalog();
  if (readable && parser_.Root() == nullptr)
    return parser_.Fail(reason + "; a scan of the file finds no document catalog");
  parser_.file_.recovered = true;
  parser_.trailer_->SetValue("/Size", parser_.locations_.HighestNumber() + 1);
  parser_.trailer_->SetModified(false, true);
  // Removes this beginning of the reason: it is not true, because the file can be read after all.
  constexpr std::string_view kNotPDF = "not a PDF file: ";
  const Chaine why = reason.Mid(reason.View().starts_with(kNotPDF) ? kNotPDF.size() : 0);
  const size_t count = parser_.locations_.Size();
  parser_.diagnostics_.Warn("the file is damaged (" + why + "): its cross-reference table was rebuilt from " +
                            FormatUInt(count) + (count == 1 ? " object" : " objects") + " found by a scan of the file" +
                            about_header);
  return true;
}

// Makes the file begin with a header: removes the bytes before it, or adds one. A header after objects does not belong
// to the file.
bool ZPDFRecovery::SettleHeader(const Chaine& reason, Chaine* said) {
  const std::string_view file = parser_.raw_data_;
  const size_t header = file.find("%PDF-");
  const bool has_objects = header != 0 && !ScanFile(file.substr(0, header)).objects.empty();
  if (header != std::string_view::npos && !has_objects) {
    if (header > 0) {
      *said = "; " + FormatUInt(header) +
              (header == 1 ? " byte before the header is left out" : " bytes before the header are left out");
    }
    parser_.raw_data_ = parser_.raw_data_.Mid(header);
    return true;
  }
  if (!has_objects || file.size() > UINT32_MAX - kAssumedHeader.size()) return parser_.Fail(reason);
  *said = "; it has no header and is read as PDF 1.4";
  parser_.raw_data_ = Chaine(kAssumedHeader) + parser_.raw_data_;
  return true;
}

void ZPDFRecovery::FindTrailers() {
  std::map<uint32_t, bool> places;  // possible offsets of trailers, and whether each is in a stream
  for (const uint32_t offset : scan_.trailers) places[offset] = false;
  for (const Scanned& object : scan_.objects) {
    if (object.names_xref_stream) places[object.offset] = true;
  }
  ZPDFTokenizedString file{SousChaine(parser_.raw_data_)};
  file.SetDocument();
  size_t count = 0;
  for (auto place = places.rbegin(); place != places.rend() && count < kMostTrailers; ++place, ++count) {
    const auto& [offset, in_stream] = *place;
    std::unique_ptr<ZPDFNodeDictionary> trailer =
        in_stream ? ZPDFXrefStreamReader(file, 0).ReadTrailer(offset, &parser_) : TrailerAt(file, offset, &parser_);
    trailers_.push_back({offset, in_stream, std::move(trailer)});
  }
}

// The offset of the section to which the trailer belongs; 0 when it is not found.
uint32_t ZPDFRecovery::SectionOf(const Trailer& trailer) const {
  if (trailer.in_stream) return trailer.offset;
  constexpr std::string_view kTable = "xref";
  const std::string_view before = parser_.raw_data_.View().substr(0, trailer.offset);
  const size_t table = before.rfind(kTable);
  if (table == std::string_view::npos || before.substr(0, table).ends_with("start")) return 0;
  return before.find("obj", table) == std::string_view::npos ? static_cast<uint32_t>(table) : 0;
}

// Reads the last section in the file that no "/Prev" refers to, and the sections to which it refers.
void ZPDFRecovery::ReadSections() {
  std::set<uint32_t> sections;
  std::set<uint32_t> older;
  for (const Trailer& trailer : trailers_) {
    if (trailer.dictionary == nullptr) continue;
    if (const uint32_t offset = SectionOf(trailer); offset != 0) sections.insert(offset);
    for (const char* key : {"/Prev", "/XRefStm"}) older.insert(trailer.dictionary->GetUIntValue(key));
  }
  if (sections.empty()) return;
  last_section_ = *sections.rbegin();
  const auto newest =
      std::find_if(sections.rbegin(), sections.rend(), [&](uint32_t at) { return !older.contains(at); });
  if (newest != sections.rend() && ZPDFSectionChain(parser_).Read(*newest)) sections_ = parser_.locations_;
  parser_.Clean();
  parser_.diagnostics_.Clear();
}

bool ZPDFRecovery::IsBehindSections(const ZPDFObjectLocation& location) const {
  if (!location.packed) return IsBehindSections(location.offset);
  const ZPDFObjectLocation* holder = parser_.locations_.Find(location.offset);
  return holder != nullptr && IsBehindSections(holder->offset);
}

// Adds the objects that the scan found, and objects that the scan missed but a table points to correctly.
void ZPDFRecovery::AddFound(const ZPDFLocations& listed) {
  const auto add_found = [this](bool are_behind) {
    ForNewestFirst(scan_, [this, are_behind](const Scanned& found) {
      const bool fits = !are_behind || (found.whole && IsBehindSections(found.offset));
      if (fits && MayBeInUse(found.id)) parser_.locations_.AddOlder(found.id, found.offset, true);
    });
  };
  const auto add_listed = [this](const ZPDFLocations& records, bool are_whole) {
    for (const ZPDFObjectLocation& location : records) {
      if (!location.in_use || location.packed || !parser_.LeadsToObject(location)) continue;
      if (are_whole && scan_.IsCutAt(location.offset)) continue;
      parser_.locations_.AddOlder(location.id, location.offset, true);
    }
  };
  if (!sections_.IsEmpty()) {
    add_found(true);
    add_listed(sections_, true);
  }
  add_found(false);
  add_listed(listed, false);
  parser_.locations_.Settle();
}

// Makes one trailer of all that were found: each entry comes from the newest trailer that has it.
void ZPDFRecovery::MergeTrailers() {
  parser_.trailer_ = std::make_unique<ZPDFNodeDictionary>(&parser_);
  for (const Trailer& trailer : trailers_) {
    if (trailer.in_stream) parser_.file_.xref_streams.insert(trailer.offset);
    if (trailer.dictionary == nullptr) continue;
    for (const char* key : {"/Root", "/Encrypt", "/Info", "/ID"}) {
      const ZPDFNode* value = trailer.dictionary->GetDirect(key);
      if (value != nullptr && !parser_.trailer_->Exist(key)) parser_.trailer_->SetValue(key, value->Clone());
    }
  }
  if (!parser_.trailer_->Exist("/Root") && !parser_.trailer_->Exist("/Encrypt")) FindEncryption();
}

// Looks for the encryption dictionary of a file without a trailer, so that encrypted data are not read as plain data.
void ZPDFRecovery::FindEncryption() {
  for (size_t i = scan_.objects.size(); i-- > 0;) {
    const Scanned& object = scan_.objects[i];
    if (!object.names_security || !IsEncryption(parser_.GetObject(object.id))) continue;
    parser_.trailer_->SetValue("/Encrypt", new ZPDFNodeIndirectReference(object.id, &parser_));
    return;
  }
}

// Adds the objects in object streams. When an object has several versions, uses the one that the sections list, or else
// the newest by file order. An object in a damaged stream is used only when there is no other version.
void ZPDFRecovery::AddPackedObjects() {
  std::map<uint32_t, uint32_t> added, doubtful, confirmed;  // from object number to the number of the object stream
  for (const Scanned& scanned : scan_.objects) {
    if (!scanned.names_object_stream) continue;
    const uint32_t number = scanned.id.Number();
    const ZPDFObjectLocation* holder = parser_.locations_.Find(number);
    if (holder == nullptr || holder->packed || holder->offset != scanned.offset) continue;
    const ZPDFObjectStream* stream = parser_.ObjectStream(number);
    if (stream == nullptr) continue;
    for (const ZPDFObjectStream::Part& part : stream->Parts()) {
      if (!MayBeInUse({part.number, 0})) continue;
      ZPDFObjectLocation* const location = parser_.locations_.Find(part.number);
      const ZPDFObjectLocation* const listed = sections_.Find(part.number);
      if (stream->IsDamaged()) {
        if (location == nullptr && part.begin < part.end) doubtful[part.number] = number;
        continue;
      }
      if (listed != nullptr && listed->in_use && listed->packed && listed->offset == number) {
        confirmed[part.number] = number;
      }
      if (location == nullptr) {
        added[part.number] = number;
      } else if (location->packed || (location->object == nullptr && IsOlder(*location, scanned))) {
        *location = {{part.number, 0}, number, true, true};
      }
    }
  }
  added.merge(doubtful);
  for (const auto& [number, stream] : added) parser_.locations_.AddOlderPacked(number, stream);
  parser_.locations_.Settle();
  for (const auto& [number, stream] : confirmed) {
    ZPDFObjectLocation& location = *parser_.locations_.Find(number);
    if (location.object == nullptr && !IsBehindSections(location)) location = {{number, 0}, stream, true, true};
  }
}

// Whether the object at the location is older than the objects in this object stream.
bool ZPDFRecovery::IsOlder(const ZPDFObjectLocation& location, const Scanned& stream) const {
  if (scan_.IsCutAt(location.offset)) return true;
  const ZPDFObjectLocation* const listed = sections_.Find(location.id.Number());
  const bool is_listed = listed != nullptr && listed->in_use && !listed->packed && listed->offset == location.offset;
  return is_listed ? IsBehindSections(stream.offset) : location.offset < stream.offset;
}

// Finds the newest catalog among the objects, and makes the trailer refer to it.
void ZPDFRecovery::FindCatalog() {
  std::vector<ZPDFObjectIdentifier> candidates;
  for (const Scanned& scanned : scan_.objects) {
    if (scanned.names_catalog) candidates.push_back(scanned.id);
    const ZPDFObjectStream* stream = scanned.names_object_stream ? parser_.ObjectStream(scanned.id.Number()) : nullptr;
    if (stream == nullptr || stream->Text().View().find("/Catalog") == std::string_view::npos) continue;
    for (const ZPDFObjectStream::Part& part : stream->Parts()) candidates.emplace_back(part.number, 0);
  }
  for (size_t i = candidates.size(); i-- > 0;) {
    if (!IsCatalog(parser_.GetObject(candidates[i]))) continue;
    parser_.trailer_->SetValue("/Root", new ZPDFNodeIndirectReference(candidates[i], &parser_));
    return;
  }
}

}  // namespace zforms
