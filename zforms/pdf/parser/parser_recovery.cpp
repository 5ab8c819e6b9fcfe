// Recovery: corrects or rebuilds the parser's locations from a scan of the file.

#include <algorithm>
#include <map>

#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/parser/file_scan.h"
#include "zforms/pdf/parser/object_stream.h"
#include "zforms/pdf/parser/page_tree.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/xref_stream_reader.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// The most trailers that are read, the newest first: each may reach to the end of the file.
constexpr size_t kMostTrailers = 64;
// The header used for a file without one.
constexpr std::string_view kAssumedHeader = "%PDF-1.4\n";

using Scanned = ZPDFFileScan::Object;

// Visits the objects found, the newest first; an incomplete object comes last.
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

bool ZPDFParser::Recover(bool analyzed) {
  if (raw_data_.size() > UINT32_MAX) return false;
  // Without the right password, damage cannot be determined.
  if (analyzed && !CanBeDecrypted()) return true;
  const bool readable = analyzed && Root() != nullptr;
  if (const Chaine damage = Damage(analyzed); !damage.IsEmpty()) {
    if (Rebuild(damage)) {
      if (CanBeDecrypted()) RepairPageTree(*this, diagnostics_, &lost_pages_);
      return true;
    }
    if (!readable) return false;
    // The faulty tables lead to more than a scan finds, so they are kept.
    Clean();
    diagnostics_.Clear();
    SetBudgets();
    if (!Analyze()) return false;
  }
  RepairLocations();
  if (RepairPageTree(*this, diagnostics_, &lost_pages_)) recovered_ = true;
  return true;
}

// Why the tables cannot be trusted; empty when they can.
Chaine ZPDFParser::Damage(bool analyzed) const {
  if (!analyzed) return diagnostics_.Failure();
  if (Root() == nullptr) return "the trailer leads to no document catalog";
  if (!oddity_.IsEmpty()) return oddity_;
  const size_t unlisted = UnlistedAtEnd();
  if (unlisted == 0) return {};
  return FormatUInt(unlisted) + (unlisted == 1 ? " object stands" : " objects stand") +
         " behind the end of its last cross-reference section";
}

size_t ZPDFParser::UnlistedAtEnd() const {
  const std::string_view file = raw_data_;
  const size_t end = file.rfind("startxref", file.rfind("%%EOF"));
  if (end == std::string_view::npos) return 0;
  const ZPDFFileScan scan = ScanFile(file.substr(end));
  return static_cast<size_t>(std::count_if(scan.objects.begin(), scan.objects.end(), [&](const Scanned& found) {
    const ZPDFObjectLocation* listed = locations_.Find(found.id.Number());
    const bool known = listed != nullptr && listed->in_use && !listed->packed && listed->offset >= end;
    return found.whole && MayBeInUse(found.id) && !known;
  }));
}

// A free record that points to its object is wrong: records of deleted objects contain the next free number.
bool ZPDFParser::IsWrong(const ZPDFObjectLocation& location) const {
  if (location.packed || location.object != nullptr || !MayBeInUse(location.id)) return false;
  return location.in_use != LeadsToObject(location);
}

bool ZPDFParser::IsLost(const ZPDFObjectIdentifier& id) const {
  const ZPDFObjectLocation* const location = locations_.Find(id.Number());
  if (location == nullptr) return true;
  if (location->id != id) return location->in_use && id.Generation() > location->id.Generation();
  if (location->in_use) return location->object == nullptr;
  return !oddity_.IsEmpty() || IsWrong(*location);
}

// A record and the header to which it leads have one number and two generations: the
// lower is meant, since damage to a 0 raises it and few files have another.
bool ZPDFParser::SettleGeneration(ZPDFObjectLocation& location) {
  const std::optional<uint32_t> generation = location.in_use ? GenerationAt(location) : std::nullopt;
  if (!generation) return false;
  const ZPDFObjectIdentifier listed = location.id;
  location.id = {listed.Number(), std::min(*generation, listed.Generation())};
  location.requested = false;
  WarnOfGeneration(listed, *generation);
  recovered_ = true;
  return true;
}

// Corrects records that do not point to their object: they then point to the newest object of that number in the file.
void ZPDFParser::RepairLocations() {
  std::map<ZPDFObjectIdentifier, ZPDFObjectLocation*> wrong;
  for (ZPDFObjectLocation& location : locations_) {
    if (IsWrong(location) && !SettleGeneration(location)) wrong[location.id] = &location;
  }
  if (wrong.empty()) return;
  size_t repaired = 0;
  const ZPDFFileScan scan = ScanFile(raw_data_);
  ForNewestFirst(scan, [&](const Scanned& found) {
    const auto entry = wrong.find(found.id);
    if (entry == wrong.end()) return;
    entry->second->offset = found.offset;
    entry->second->in_use = true;
    entry->second->requested = false;
    wrong.erase(entry);
    repaired++;
  });
  if (repaired == 0) return;
  recovered_ = true;
  // Objects in streams that were missing before can be found now.
  std::erase_if(object_streams_, [](const auto& stream) { return stream.second == nullptr; });
  for (ZPDFObjectLocation& location : locations_) {
    if (location.packed && location.object == nullptr) location.requested = false;
  }
  diagnostics_.Warn("the file is damaged: " + FormatUInt(repaired) + (repaired == 1 ? " object was" : " objects were") +
                    " not where the table says, and found by a scan of the file");
}

bool ZPDFParser::Rebuild(const Chaine& reason) {
  Chaine about_header;
  const ZPDFLocations listed = locations_;
  if (!SettleHeader(reason, &about_header)) return false;
  Clean();
  diagnostics_.Clear();
  SetBudgets();
  const ZPDFFileScan scan = ScanFile(raw_data_);
  AddFound(scan, listed);
  FindTrailer(scan);
  if (!PrepareEncryption()) return false;
  const bool readable = CanBeDecrypted();
  if (readable) AddPackedObjects(scan);
  if (readable && Root() == nullptr) FindCatalog(scan);
  if (readable && Root() == nullptr) return Fail(reason + "; a scan of the file finds no document catalog");
  recovered_ = true;
  trailer_->SetValue("/Size", locations_.HighestNumber() + 1);
  trailer_->SetModified(false, true);
  diagnostics_.Warn("the file is damaged (" + reason + "): its table was rebuilt from " +
                    FormatUInt(locations_.Size()) + " objects found by a scan of the file" + about_header);
  return true;
}

// Makes the file begin with a header. A header after objects does not belong to the file.
bool ZPDFParser::SettleHeader(const Chaine& reason, Chaine* said) {
  const std::string_view file = raw_data_;
  const size_t header = file.find("%PDF-");
  const bool has_objects = header != 0 && !ScanFile(file.substr(0, header)).objects.empty();
  if (header != std::string_view::npos && !has_objects) {
    if (header > 0) *said = "; " + FormatUInt(header) + " bytes before the header are left out";
    raw_data_ = raw_data_.Mid(header);
    return true;
  }
  if (!has_objects || file.size() > UINT32_MAX - kAssumedHeader.size()) return Fail(reason);
  *said = "; it has no header and is taken for PDF 1.4";
  raw_data_ = Chaine(kAssumedHeader) + raw_data_;
  return true;
}

// Adds the objects that the scan found, and those that it missed but a table points to correctly.
void ZPDFParser::AddFound(const ZPDFFileScan& scan, const ZPDFLocations& listed) {
  ForNewestFirst(scan, [this](const Scanned& found) {
    if (MayBeInUse(found.id)) locations_.AddOlder(found.id, found.offset, true);
  });
  for (const ZPDFObjectLocation& location : listed) {
    if (!location.in_use || location.packed || !LeadsToObject(location)) continue;
    locations_.AddOlder(location.id, location.offset, true);
  }
  locations_.Settle();
}

// Finds the newest trailer that names a catalog, and adds entries that only older ones have.
void ZPDFParser::FindTrailer(const ZPDFFileScan& scan) {
  std::map<uint32_t, bool> places;  // possible offsets of trailers, and whether in a stream
  for (const uint32_t offset : scan.trailers) places[offset] = false;
  for (const Scanned& object : scan.objects) {
    if (object.names_xref_stream) places[object.offset] = true;
  }
  ZPDFTokenizedString file{SousChaine(raw_data_)};
  file.SetDocument();
  size_t count = 0;
  for (auto place = places.rbegin(); place != places.rend() && count < kMostTrailers; ++place, ++count) {
    const auto& [offset, in_stream] = *place;
    if (in_stream) xref_streams_.insert(offset);
    const std::unique_ptr<ZPDFNodeDictionary> trailer =
        in_stream ? ZPDFXrefStreamReader(file, 0).ReadTrailer(offset, this) : TrailerAt(file, offset, this);
    if (trailer == nullptr) continue;
    if (trailer_ == nullptr) trailer_ = std::make_unique<ZPDFNodeDictionary>(this);
    for (const char* key : {"/Root", "/Encrypt", "/Info", "/ID"}) {
      const ZPDFNode* value = trailer->GetDirect(key);
      if (value != nullptr && !trailer_->Exist(key)) trailer_->SetValue(key, value->Clone());
    }
  }
  if (trailer_ == nullptr) trailer_ = std::make_unique<ZPDFNodeDictionary>(this);
  if (!trailer_->Exist("/Root") && !trailer_->Exist("/Encrypt")) FindEncryption(scan);
}

// Without a trailer, encrypted data must not be read as plain data.
void ZPDFParser::FindEncryption(const ZPDFFileScan& scan) {
  for (size_t i = scan.objects.size(); i-- > 0;) {
    const Scanned& object = scan.objects[i];
    if (!object.names_security || !IsEncryption(GetObject(object.id))) continue;
    trailer_->SetValue("/Encrypt", new ZPDFNodeIndirectReference(object.id, this));
    return;
  }
}

// Adds the objects in object streams, the newest version of each by file order. Objects of a damaged stream are added
// last.
void ZPDFParser::AddPackedObjects(const ZPDFFileScan& scan) {
  std::map<uint32_t, uint32_t> added, doubtful;  // object number to stream number
  for (const Scanned& scanned : scan.objects) {
    if (!scanned.names_object_stream) continue;
    const ZPDFObjectLocation* holder = locations_.Find(scanned.id.Number());
    if (holder == nullptr || holder->packed || holder->offset != scanned.offset) continue;
    const ZPDFObjectStream* stream = ObjectStream(scanned.id.Number());
    if (stream == nullptr) continue;
    for (const ZPDFObjectStream::Part& part : stream->Parts()) {
      if (!MayBeInUse({part.number, 0})) continue;
      ZPDFObjectLocation* const location = locations_.Find(part.number);
      if (stream->IsDamaged()) {
        if (location == nullptr && part.begin < part.end) doubtful[part.number] = scanned.id.Number();
      } else if (location == nullptr) {
        added[part.number] = scanned.id.Number();
      } else if (location->packed || (location->object == nullptr &&
                                      (location->offset < scanned.offset || scan.IsCutAt(location->offset)))) {
        *location = {{part.number, 0}, scanned.id.Number(), true, true};
      }
    }
  }
  added.merge(doubtful);
  for (const auto& [number, stream] : added) locations_.AddOlderPacked(number, stream);
  locations_.Settle();
}

// Finds the newest catalog among the objects, for a file without a trailer that names it.
void ZPDFParser::FindCatalog(const ZPDFFileScan& scan) {
  std::vector<ZPDFObjectIdentifier> candidates;
  for (const Scanned& scanned : scan.objects) {
    if (scanned.names_catalog) candidates.push_back(scanned.id);
    const ZPDFObjectStream* stream = scanned.names_object_stream ? ObjectStream(scanned.id.Number()) : nullptr;
    if (stream == nullptr || stream->Text().View().find("/Catalog") == std::string_view::npos) continue;
    for (const ZPDFObjectStream::Part& part : stream->Parts()) candidates.emplace_back(part.number, 0);
  }
  for (size_t i = candidates.size(); i-- > 0;) {
    if (!IsCatalog(GetObject(candidates[i]))) continue;
    trailer_->SetValue("/Root", new ZPDFNodeIndirectReference(candidates[i], this));
    return;
  }
}

}  // namespace zforms
