#include "zforms/pdf/parser/used_objects.h"

#include <algorithm>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/parser/object_stream.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/raw_value.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/reference_walk.h"
#include "zforms/pdf/syntax/char_class.h"

namespace zforms {
namespace {

constexpr std::string_view kEndobj = "endobj";

}  // namespace

ZPDFUsedObjects ZPDFUsedObjects::FindNodes(const ZPDFNodeDictionary& trailer) {
  ZPDFUsedObjects found;
  found.objects = trailer.ReferencedObjects(&found.missing);
  return found;
}

ZPDFUsedObjects ZPDFUsedObjects::Find(ZPDFParser& parser, const ZPDFNodeDictionary& trailer) {
  ZPDFUsedObjects found;
  const bool has_raw = !parser.IsRecovered() && ZPDFUsedObjectSearch(parser).Run(trailer, &found);
  return has_raw ? std::move(found) : FindNodes(trailer);
}

bool ZPDFUsedObjectSearch::Run(const ZPDFNodeDictionary& trailer, ZPDFUsedObjects* found) {
  found_.resize(parser_.ObjectLocations().Size());
  if (!AddBelow(trailer)) return false;
  while (!pending_.empty()) {
    const ZPDFObjectIdentifier id = pending_.back();
    pending_.pop_back();
    if (!Take(id)) return false;
  }
  List(found);
  return true;
}

void ZPDFUsedObjectSearch::List(ZPDFUsedObjects* found) {
  size_t i = 0;
  for (const ZPDFObjectLocation& location : parser_.ObjectLocations()) {
    const Found& here = found_[i++];
    if (here.object == nullptr && here.value.empty()) continue;
    found->objects.emplace_back(location.id, here.object);
    if (here.object == nullptr) found->raw.emplace_back(location.id, here.value);
  }
  std::sort(missing_.begin(), missing_.end());
  missing_.erase(std::unique(missing_.begin(), missing_.end()), missing_.end());
  found->missing = std::move(missing_);
}

// Adds the references in the node and below it.
bool ZPDFUsedObjectSearch::AddBelow(const ZPDFNode& node) {
  reference_nodes_.clear();
  if (!ZPDFReferenceWalk::Collect(node, &reference_nodes_)) return false;
  for (const ZPDFNodeIndirectReference* reference : reference_nodes_) pending_.push_back(reference->GetID());
  return true;
}

bool ZPDFUsedObjectSearch::Take(const ZPDFObjectIdentifier& id) {
  const ZPDFLocations& locations = parser_.ObjectLocations();
  const ZPDFObjectLocation* const location = locations.Find(id.Number());
  if (location == nullptr) {
    missing_.push_back(id);
    return true;
  }
  if (location->id != id) return false;
  Found& here = found_[static_cast<size_t>(location - &*locations.begin())];
  if (here.is_known) return true;
  here.is_known = true;
  here.value = RawValue(*location);
  if (!here.value.empty()) {
    pending_.insert(pending_.end(), references_.begin(), references_.end());
    return true;
  }
  here.object = parser_.GetObject(id);
  if (here.object != nullptr) return AddBelow(*here.object);
  missing_.push_back(id);
  return true;
}

std::string_view ZPDFUsedObjectSearch::RawValue(const ZPDFObjectLocation& location) {
  if (location.requested || location.object != nullptr || !location.in_use) return {};
  references_.clear();
  if (!location.packed) return RawValueInFile(location);
  // The strings in object streams are not encrypted, those in the new file are.
  return parser_.Encryption() == nullptr ? RawValueInStream(location) : std::string_view();
}

std::string_view ZPDFUsedObjectSearch::RawValueInFile(const ZPDFObjectLocation& location) {
  const Chaine& file = parser_.raw_data_;
  if (location.offset == 0 || location.offset >= file.size() || parser_.file_.search_budget == 0) return {};
  ZPDFTokenizedString text(SousChaine(file, location.offset, file.size() - location.offset));
  text.SetDocument();
  text.TrimLeftComments();
  const std::optional<ZPDFObjectHead> head = TakeObjectHead(text);
  if (!head || !head->is_sound || head->id != location.id) return {};
  const std::string_view rest = file.View().substr(text.Offset());
  const char* const end = rest.data() + rest.size();
  const char* const begin = SkipClass(rest.data(), end, kBlank);
  const size_t length = ZPDFRawValue::LengthAt({begin, static_cast<size_t>(end - begin)}, &references_);
  const char* const after = SkipClass(begin + length, end, kBlank);
  parser_.file_.SpendSearched(static_cast<uint64_t>(after - file.data()) - location.offset);
  const std::string_view tail(after, std::min(static_cast<size_t>(end - after), kEndobj.size() + 1));
  const bool is_whole =
      length != 0 && tail.starts_with(kEndobj) && (tail.size() == kEndobj.size() || Is(tail.back(), kBlankOrSpecial));
  return is_whole ? std::string_view(begin, length) : std::string_view();
}

std::string_view ZPDFUsedObjectSearch::RawValueInStream(const ZPDFObjectLocation& location) {
  ZPDFObjectStream* const stream = parser_.ObjectStream(location.offset);
  const ZPDFObjectStream::Part* const part = stream == nullptr ? nullptr : stream->Find(location.id.Number());
  if (part == nullptr) return {};
  const std::string_view text = stream->Text().View().substr(part->begin, part->end - part->begin);
  const char* const end = text.data() + text.size();
  const char* const begin = SkipClass(text.data(), end, kBlank);
  const size_t length = ZPDFRawValue::LengthAt({begin, static_cast<size_t>(end - begin)}, &references_);
  const bool is_whole = length != 0 && SkipClass(begin + length, end, kBlank) == end;
  return is_whole ? std::string_view(begin, length) : std::string_view();
}

}  // namespace zforms
