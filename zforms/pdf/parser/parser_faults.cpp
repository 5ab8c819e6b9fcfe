// Compares the parser's records with the objects in the file.

#include <algorithm>

#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/parser/file_scan.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// In a correct table, the header of an object is at most this many bytes after the offset.
constexpr size_t kHeaderReach = 4096;

}  // namespace

// The generation in the object header at the place of the record; nothing when there is no header with the record's
// number.
std::optional<uint32_t> ZPDFParser::GenerationAt(const ZPDFObjectLocation& location) const {
  if (location.packed || location.offset >= raw_data_.size()) return {};
  ZPDFTokenizedString text(SousChaine(raw_data_, location.offset, kHeaderReach));
  text.SetDocument();
  text.TrimLeftComments();
  const std::optional<ZPDFObjectHead> head = TakeObjectHead(text);
  if (!head || head->id.Number() != location.id.Number() || !MayBeInUse(head->id)) return {};
  return head->id.Generation();
}

// Corrects the generation of a record when the reference and the object's header agree on another one. Returns whether
// it did.
bool ZPDFParser::TakesGeneration(ZPDFObjectLocation& location, const ZPDFObjectIdentifier& id) {
  if (!location.in_use || location.object != nullptr || GenerationAt(location) != id.Generation()) return false;
  if (!location.requested) WarnOfGeneration(location.id, id.Generation());
  location.id = id;
  location.requested = false;
  return true;
}

void ZPDFParser::WarnOfGeneration(const ZPDFObjectIdentifier& listed, uint32_t generation) {
  diagnostics_.WarnObject(listed.Number(), listed.Generation(),
                          "the header of this object has the generation " + FormatUInt(generation) +
                              ", the cross-reference table gives another one");
}

size_t ZPDFParser::UnlistedAtEnd() const {
  const std::string_view file = raw_data_;
  const size_t end = file.rfind("startxref", file.rfind("%%EOF"));
  if (end == std::string_view::npos) return 0;
  const ZPDFFileScan scan = ScanFile(file.substr(end));
  return static_cast<size_t>(
      std::count_if(scan.objects.begin(), scan.objects.end(), [&](const ZPDFFileScan::Object& found) {
        const ZPDFObjectLocation* listed = locations_.Find(found.id.Number());
        const bool known = listed != nullptr && listed->in_use && !listed->packed && listed->offset >= end;
        return found.whole && MayBeInUse(found.id) && !known;
      }));
}

// Whether a record contradicts the file: it is in use but does not point to its object, or it is free but points to
// one. A correct free record contains the next free number in place of an offset.
bool ZPDFParser::IsWrong(const ZPDFObjectLocation& location) const {
  if (location.packed || location.object != nullptr || !MayBeInUse(location.id)) return false;
  return location.in_use != LeadsToObject(location);
}

bool ZPDFParser::IsLost(const ZPDFObjectIdentifier& id) const {
  const ZPDFObjectLocation* const location = locations_.Find(id.Number());
  if (location == nullptr) return true;
  if (location->id != id) return location->in_use && id.Generation() > location->id.Generation();
  if (location->in_use) return location->object == nullptr;
  return !file_.oddity.IsEmpty() || IsWrong(*location);
}

}  // namespace zforms
