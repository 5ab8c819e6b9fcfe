#include <algorithm>
#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/node_access.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/losses.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/used_objects.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/writer/saver.h"
#include "zforms/pdf/writer/updater.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {
namespace {

// A full save writes null objects for unused numbers. It renumbers all objects instead when the highest number is more
// than kMaxSpread times the number of objects plus kMaxSpreadBase, or when readers do not accept a number that high
// (ISO 32000-1 annex C).
constexpr uint64_t kMaxSpread = 4;
constexpr uint64_t kMaxSpreadBase = 1000;
constexpr uint32_t kHighestNumber = 8388607;

// The trailer for a full save, without the entries that belong to the old file, so that an old encryption dictionary is
// not among the objects in use.
std::unique_ptr<ZPDFNodeDictionary> BareTrailer(const ZPDFParser& parser) {
  std::unique_ptr<ZPDFNodeDictionary> trailer(parser.TrailerDico()->Clone());
  for (const char* key : {"/Encrypt", "/Prev", "/XRefStm"}) trailer->RemoveValue(key);
  return trailer;
}

// The trailer of an update. The "/XRefStm" of a hybrid file's older section is left out: the stream would take
// precedence over newer versions of its objects.
std::unique_ptr<ZPDFNodeDictionary> UpdateTrailer(const ZPDFNodeDictionary& newest) {
  std::unique_ptr<ZPDFNodeDictionary> trailer(newest.Clone());
  if (!trailer->Exist("/XRefStm")) return trailer;
  const bool modified = trailer->IsModified();
  trailer->RemoveValue("/XRefStm");
  trailer->SetModified(false, true);
  trailer->SetModified(modified, false);
  return trailer;
}

// True for a cross-reference stream and an object stream. Nothing in a document should refer to one, and a full save
// does not need it.
bool IsStructureStream(const ZPDFNodeIndirectObject* object) {
  const auto* stream = object == nullptr ? nullptr : NodeCast<ZPDFNodeStream>(object->GetDirectAt(0));
  if (stream == nullptr) return false;
  const Chaine& type = stream->Dico()->GetIdentifier("/Type");
  return type == "/XRef" || type == "/ObjStm";
}

void DropStructureStreams(ZPDFObjectList* objects) {
  std::erase_if(*objects, [](const auto& object) { return IsStructureStream(object.second); });
}

uint32_t HighestNumber(const ZPDFObjectList& objects, const PTableau<ZPDFObjectIdentifier>& missing) {
  return std::max(objects.empty() ? 0 : objects.back().first.Number(), missing.empty() ? 0 : missing.back().Number());
}

bool HasWideGaps(const ZPDFObjectList& objects, const PTableau<ZPDFObjectIdentifier>& missing) {
  const uint32_t highest = HighestNumber(objects, missing);
  const size_t count = objects.size() + missing.size();
  return highest > kMaxSpread * count + kMaxSpreadBase || (highest > kHighestNumber && count < highest);
}

// Null objects for the unused numbers up to the highest one, and for missing objects: "/Size" is the number of objects
// plus one, and readers ignore higher numbers.
PTableau<std::unique_ptr<ZPDFNodeIndirectObject>> FillHoles(ZPDFObjectList* objects,
                                                            const PTableau<ZPDFObjectIdentifier>& missing) {
  PTableau<std::unique_ptr<ZPDFNodeIndirectObject>> fillers;
  ZPDFObjectList filled;
  filled.reserve(HighestNumber(*objects, missing));
  uint32_t next = 1;
  const auto fill = [&](const ZPDFObjectIdentifier& id) {
    fillers.push_back(std::make_unique<ZPDFNodeIndirectObject>(nullptr, id, nullptr));
    fillers.back()->SetChild(ZPDFNodeNull::Default());
    filled.emplace_back(id, fillers.back().get());
    next = id.Number() + 1;
  };
  auto lost = missing.begin();
  const auto fill_up_to = [&](uint32_t number) {
    for (; lost != missing.end() && lost->Number() < number; ++lost) {
      while (next < lost->Number()) fill({next, 0});
      if (next == lost->Number()) fill(*lost);
    }
    while (next < number) fill({next, 0});
  };
  for (const auto& [id, object] : *objects) {
    fill_up_to(id.Number());
    filled.emplace_back(id, object);
    next = id.Number() + 1;
  }
  if (!missing.empty()) fill_up_to(missing.back().Number() + 1);
  *objects = std::move(filled);
  return fillers;
}

// True when an unreadable object has the number of another one, of another generation: no null object can replace it.
bool SharesNumbers(const ZPDFObjectList& objects, const PTableau<ZPDFObjectIdentifier>& unreadable) {
  for (size_t i = 0; i < unreadable.size(); i++) {
    const uint32_t number = unreadable[i].Number();
    const auto below = [](const auto& object, uint32_t wanted) { return object.first.Number() < wanted; };
    const auto found = std::lower_bound(objects.begin(), objects.end(), number, below);
    if (found != objects.end() && found->first.Number() == number) return true;
    if (i > 0 && unreadable[i - 1].Number() == number) return true;
  }
  return false;
}

PTableau<ZPDFObjectIdentifier> IdentifiersOf(const ZPDFObjectList& objects) {
  PTableau<ZPDFObjectIdentifier> ids;
  ids.reserve(objects.size());
  for (const auto& [id, object] : objects) ids.push_back(id);
  return ids;
}

// The header line. A header without a version is replaced, so that it is not copied from file to file. AES with 256
// bits is an extension of version 1.7.
Chaine HeaderFor(const ZPDFParser& parser, const ZPDFEncryption* encryption) {
  const Chaine header = parser.PDFVersion();
  const bool is_old = encryption != nullptr && encryption->AlgorithmCode() >= 5 && header < Chaine("%PDF-1.7");
  return parser.NamesVersion() && !is_old ? header : "%PDF-1.7";
}

// Crypt filters of streams name filters of the old encryption.
void DropCryptFilters(const ZPDFObjectList& objects, ZPDFParser& parser) {
  for (const auto& [id, object] : objects) {
    ZPDFNodeIndirectObject* const own = parser.GetObject(id);
    if (own == nullptr) continue;
    if (auto* const stream = NodeCast<ZPDFNodeStream>(own->GetDirectAt(0))) stream->DropCryptFilter();
  }
}

// A number for a new object, higher than the numbers of all objects with a value. Objects without a value at the end of
// the list are not in use: they are kept only to be used again later.
uint32_t NumberBehind(const ZPDFParser& parser) {
  const ZPDFLocations& locations = parser.ObjectLocations();
  auto end = locations.end();
  while (end != locations.begin() && (end - 1)->object != nullptr && (end - 1)->object->Size() == 0) --end;
  if (end == locations.end()) return parser.FreeNumber();
  const uint32_t next = end == locations.begin() ? 1 : (end - 1)->id.Number() + 1;
  return std::max(next, parser.TrailerDico()->GetUIntValue("/Size"));
}

}  // namespace

bool ZAcroForm::Save(const Chaine& path) {
  const Chaine target = path.IsEmpty() ? path_name_ : path;
  if (!SaveBy([&target](ZPDFWriter& writer) { return writer.Write(target); })) return false;
  path_name_ = target;
  return true;
}

bool ZAcroForm::Save(ZInetOStream& out) {
  return SaveBy([&out](ZPDFWriter& writer) { return writer.Write(out); });
}

bool ZAcroForm::SaveFull(const Chaine& path) {
  const Chaine target = path.IsEmpty() ? path_name_ : path;
  if (!SaveFullBy([&target](ZPDFWriter& writer) { return writer.Write(target); })) return false;
  path_name_ = target;
  return true;
}

bool ZAcroForm::SaveFull(ZInetOStream& out) {
  return SaveFullBy([&out](ZPDFWriter& writer) { return writer.Write(out); });
}

bool ZAcroForm::SaveBy(const WriteStep& write) { return SavesAnew() ? SaveFullBy(write) : UpdateBy(write); }

bool ZAcroForm::SavesAnew() const {
  return encryption_save_ != nullptr || removes_encryption_ || (parser_ != nullptr && parser_->IsRecovered());
}

bool ZAcroForm::UpdateBy(const WriteStep& write) {
  if (parser_ == nullptr) return FailSave("no document is loaded");
  ZPDFUpdater updater;
  updater.SetRawData(raw_data_, xref_offset_);
  PTableau<ZPDFNodeIndirectObject*> added;
  for (const ZPDFObjectLocation& location : parser_->ObjectLocations()) {
    if (location.object != nullptr && updater.AddNode(location.object)) added.push_back(location.object);
  }
  const uint32_t xref_number = parser_->XRefIsStream() ? parser_->FreeNumber() : 0;
  updater.SetXrefStream(xref_number);
  updater.SetTrailer(UpdateTrailer(*parser_->TrailerDico()).get());
  if (!write(updater)) return FailSave(updater.Failure());
  raw_data_ = updater.RawData();
  if (xref_number != 0 && updater.SectionWritten()) parser_->TakeNumber(xref_number);
  // After an empty update there is no section at the updater's offset.
  if (updater.SectionWritten()) xref_offset_ = updater.XRefOffset();
  for (ZPDFNodeIndirectObject* object : added) object->SetModified(false, true);
  FinishSave();
  return true;
}

Chaine ZAcroForm::UpdatedBytes(const PTableau<ZPDFNodeIndirectObject*>& objects) const {
  ZPDFUpdater updater;
  updater.SetRawData(raw_data_, xref_offset_);
  for (const ZPDFNodeIndirectObject* object : objects) updater.AddNode(object);
  updater.SetXrefStream(parser_->XRefIsStream() ? NumberBehind(*parser_) : 0);
  updater.SetTrailer(UpdateTrailer(*parser_->TrailerDico()).get());
  Chaine bytes;
  ZInetChaineOStream out(bytes);
  return updater.Write(out) ? bytes : Chaine();
}

bool ZAcroForm::SaveFullBy(const WriteStep& write) {
  if (parser_ == nullptr) return FailSave("no document is loaded");
  // Objects in use are found from the catalog: without it everything would be lost.
  if (parser_->Root() == nullptr) return FailSave("the document's catalog (\"/Root\") cannot be read");
  std::unique_ptr<ZPDFNodeDictionary> trailer = BareTrailer(*parser_);
  const bool keeps_encryption = encryption_save_ == nullptr && !removes_encryption_;
  ZPDFUsedObjects used =
      keeps_encryption ? ZPDFUsedObjects::Find(*parser_, *trailer) : ZPDFUsedObjects::FindNodes(*trailer);
  const ZPDFLosses losses(*parser_, used.missing, &notes_);
  DropStructureStreams(&used.objects);
  PTableau<ZPDFObjectIdentifier> former;
  if (HasWideGaps(used.objects, used.missing) || SharesNumbers(used.objects, losses.Unreadable())) {
    // References are renumbered as nodes.
    if (!used.raw.empty()) used = ZPDFUsedObjects::FindNodes(*trailer);
    DropStructureStreams(&used.objects);
    former = parser_->Renumber(IdentifiersOf(used.objects));
    trailer = BareTrailer(*parser_);
    used = ZPDFUsedObjects::FindNodes(*trailer);
    DropStructureStreams(&used.objects);
  }
  const ZPDFEncryption* const new_method = EncryptionSave();
  if (encryption_load_ != nullptr &&
      (new_method == nullptr || new_method->AlgorithmCode() != encryption_load_->AlgorithmCode())) {
    DropCryptFilters(used.objects, *parser_);
  }
  const auto fillers = FillHoles(&used.objects, used.missing);
  ZPDFSaver saver(EncryptionSave());
  saver.SetPDFVersion(HeaderFor(*parser_, EncryptionSave()));
  saver.SetExpectedSize(raw_data_.size() + raw_data_.size() / 8);
  saver.SetObjectList(std::move(used.objects));
  saver.SetRawValues(std::move(used.raw));
  saver.SetTrailer(trailer.get());
  if (!write(saver)) {
    if (!former.empty()) parser_->TakeBack(former);
    return FailSave(saver.Failure());
  }
  raw_data_ = saver.RawData();
  xref_offset_ = saver.XRefOffset();
  parser_->Rebase(raw_data_, xref_offset_, saver.Offsets(), EncryptionSave());
  if (encryption_save_ != nullptr || removes_encryption_) encryption_load_ = std::move(encryption_save_);
  removes_encryption_ = false;
  ResetModified();
  FinishSave();
  return true;
}

bool ZAcroForm::WouldLose() {
  if (parser_ == nullptr) return false;
  if (parser_->TrailerDico() == nullptr) return ZPDFLosses(*parser_, {}, &notes_).ConcernContent();
  const ZPDFUsedObjects used = ZPDFUsedObjects::Find(*parser_, *parser_->TrailerDico());
  return ZPDFLosses(*parser_, used.missing, &notes_).ConcernContent();
}

void ZAcroForm::FinishSave() {
  parser_->TrailerDico()->SetModified(false, true);
  notes_.SetFailure(Chaine());
}

bool ZAcroForm::FailSave(const Chaine& reason) {
  notes_.SetFailure(reason.IsEmpty() ? Chaine("write failed: no space left") : reason);
  return false;
}

void ZAcroForm::ResetModified() {
  if (form_infos_ != nullptr) form_infos_->SetModified(false);
  if (parser_ != nullptr) parser_->ResetModifiedObjects();
}

}  // namespace zforms
