#include "zforms/pdf/parser/xref_stream_reader.h"

#include <algorithm>
#include <numeric>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// At most this many records are read (ISO 32000-1 annex C). The limit is needed, because a small compressed stream may
// contain very many records.
constexpr size_t kMostRecords = 1 << 23;
// A field of a record has at most this many bytes.
constexpr uint32_t kWidestField = 8;
// The entries of the dictionary that describe the stream and its records, not the document.
constexpr std::string_view kOwnEntries[] = {"/Type", "/Length", "/Filter", "/DecodeParms", "/F",           "/FFilter",
                                            "/DL",   "/W",      "/Index",  "/XRefStm",     "/FDecodeParms"};

enum RecordType : uint64_t { kFree = 0, kPlain = 1, kPacked = 2 };

uint64_t BigEndian(std::string_view bytes) {
  uint64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<uint8_t>(byte);
  return value;
}

std::unique_ptr<ZPDFNodeDictionary> TrailerOf(const ZPDFNodeDictionary& dictionary, IPDFObjectProvider* provider) {
  std::unique_ptr<ZPDFNodeDictionary> trailer(dictionary.Clone());
  for (const std::string_view key : kOwnEntries) trailer->RemoveValue(key);
  trailer->SetObjectProvider(provider);
  trailer->SetModified(false, true);
  return trailer;
}

// True for a direct number. A reference is not accepted: references cannot be resolved while sections are read.
bool IsNumber(const ZPDFNode* node) { return NodeCast<ZPDFNodeNumeric>(node) != nullptr; }

}  // namespace

bool ZPDFXrefStreamReader::StandsAt(const ZPDFTokenizedString& file, size_t offset) {
  ZPDFTokenizedString text = file.Part(offset, file.GetLength());
  text.TrimLeftWhites();
  return TakeObjectHead(text).has_value();
}

// The cross-reference stream at `offset`; null when there is none.
std::unique_ptr<ZPDFNodeIndirectObject> ZPDFXrefStreamReader::ReadStream(size_t offset) {
  offset_ = offset;
  scanned_ = decoded_ = 0;
  ZPDFTokenizedString text = file_.Part(offset, file_.GetLength());
  text.TrimLeftWhites();
  const std::optional<ZPDFObjectHead> head = TakeObjectHead(text);
  if (!head) {
    reason_ = "no cross-reference stream at the stated offset";
    return nullptr;
  }
  // Reads the stream without an object provider, because no reference can be resolved yet.
  std::unique_ptr<ZPDFNodeIndirectObject> object(ZPDFNodeIndirectObject::BuildFrom(text, head->id, nullptr, nullptr));
  scanned_ = text.Offset() - std::min(text.Offset(), offset) + text.SearchedInVain();
  const auto* stream = NodeCast<ZPDFNodeStream>(object->GetDirectAt(0));
  if (stream != nullptr && stream->Dico()->GetIdentifier("/Type") == "/XRef") return object;
  reason_ = "the object at the cross-reference offset is not a cross-reference stream";
  return nullptr;
}

std::unique_ptr<ZPDFNodeDictionary> ZPDFXrefStreamReader::Read(size_t offset, IPDFObjectProvider* provider,
                                                               ZPDFLocations& locations) {
  const std::unique_ptr<ZPDFNodeIndirectObject> object = ReadStream(offset);
  if (object == nullptr) return nullptr;
  const auto* stream = NodeCast<ZPDFNodeStream>(object->GetDirectAt(0));
  const ZPDFDecodedStream decoded = DecodeStream(*stream, limit_);
  decoded_ = decoded.produced;
  if (!decoded.usable) {
    reason_ = "the cross-reference stream cannot be read: " + decoded.fault;
    return nullptr;
  }
  if (!decoded.fault.IsEmpty()) {
    Warn("the cross-reference stream cannot be read completely: " + decoded.fault);
  }
  if (!ReadRecords(*stream->Dico(), decoded.data, locations)) return nullptr;
  return TrailerOf(*stream->Dico(), provider);
}

std::unique_ptr<ZPDFNodeDictionary> ZPDFXrefStreamReader::ReadTrailer(size_t offset, IPDFObjectProvider* provider) {
  const std::unique_ptr<ZPDFNodeIndirectObject> object = ReadStream(offset);
  if (object == nullptr) return nullptr;
  return TrailerOf(*NodeCast<ZPDFNodeStream>(object->GetDirectAt(0))->Dico(), provider);
}

bool ZPDFXrefStreamReader::ReadWidths(const ZPDFNodeDictionary& dictionary) {
  const auto* widths = NodeCast<ZPDFNodeArray>(dictionary.GetDirect("/W"));
  if (widths == nullptr || widths->Size() < widths_.size()) return false;
  for (size_t i = 0; i < widths_.size(); i++) {
    const ZPDFNode* const width = widths->GetDirectAt(i);
    if (!IsNumber(width) || width->GetUIntValue() > kWidestField) return false;
    widths_[i] = width->GetUIntValue();
  }
  return widths_[1] > 0;
}

bool ZPDFXrefStreamReader::ReadRecords(const ZPDFNodeDictionary& dictionary, std::string_view data,
                                       ZPDFLocations& locations) {
  if (!ReadWidths(dictionary)) {
    reason_ = "the cross-reference stream has no valid field widths (\"/W\")";
    return false;
  }
  bool whole = true;
  const auto* index = NodeCast<ZPDFNodeArray>(dictionary.GetDirect("/Index"));
  if (index == nullptr) {
    whole = ReadSubsection(0, dictionary.GetUIntValue("/Size"), &data, locations);
  }
  for (size_t i = 0; whole && index != nullptr && i + 1 < index->Size(); i += 2) {
    const ZPDFNode* const first = index->GetDirectAt(i);
    const ZPDFNode* const count = index->GetDirectAt(i + 1);
    whole = IsNumber(first) && IsNumber(count) &&
            ReadSubsection(first->GetUIntValue(), count->GetUIntValue(), &data, locations);
  }
  if (!whole) {
    Warn("not all entries of the cross-reference stream can be read: its data, \"/Index\" or \"/Size\" is damaged");
  }
  return true;
}

bool ZPDFXrefStreamReader::ReadSubsection(uint32_t first, uint64_t count, std::string_view* data,
                                          ZPDFLocations& locations) {
  const size_t length = std::accumulate(widths_.begin(), widths_.end(), size_t{0});
  for (uint64_t i = 0; i < count; i++) {
    if (data->size() < length || first + i > kHighestObjectNumber || locations.Size() >= kMostRecords) return false;
    AddRecord(static_cast<uint32_t>(first + i), data->substr(0, length), locations);
    data->remove_prefix(length);
  }
  return true;
}

void ZPDFXrefStreamReader::AddRecord(uint32_t number, std::string_view record, ZPDFLocations& locations) const {
  // Without a first field every record is of type 1, an object that is not packed.
  const uint64_t type = widths_[0] == 0 ? uint64_t{kPlain} : BigEndian(record.substr(0, widths_[0]));
  const uint64_t place = BigEndian(record.substr(widths_[0], widths_[1]));
  const uint64_t third = BigEndian(record.substr(widths_[0] + widths_[1]));
  const auto place32 = static_cast<uint32_t>(std::min<uint64_t>(place, UINT32_MAX));
  if (type == kPacked && number != 0 && place <= kHighestObjectNumber) {
    locations.AddOlderPacked(number, place32);
    return;
  }
  // A record that is free or of an unknown type is not in use, so its object is null (ISO 32000-1 table 18).
  const auto generation = static_cast<uint32_t>(std::min<uint64_t>(third, UINT32_MAX));
  const ZPDFObjectIdentifier id(number, generation);
  locations.AddOlder(id, place32, type == kPlain && MayBeInUse(id));
}

}  // namespace zforms
