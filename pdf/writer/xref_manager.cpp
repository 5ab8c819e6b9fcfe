#include "pdf/writer/xref_manager.h"

#include <vector>

#include "platform/number.h"

namespace zforms {
namespace {

constexpr std::string_view kFreeListHead = "0000000000 65535 f\r\n";
constexpr size_t kEntryLength = 20;

void AppendGroup(Chaine* section, uint32_t first, uint32_t count, std::string_view entries) {
  *section += FormatUInt(first);
  *section += ' ';
  *section += FormatUInt(count);
  *section += "\r\n";
  *section += entries;
}

void AppendEntry(Chaine* entries, const ZPDFObjectIdentifier& id, uint32_t offset) {
  AppendPadded(entries, offset, 10);
  *entries += ' ';
  AppendPadded(entries, id.Generation() & 0xFFFF, 5);
  *entries += id.Number() == 0 ? " f\r\n" : " n\r\n";
}

}  // namespace

ZPDFXrefManager::~ZPDFXrefManager() = default;

void ZPDFXrefManager::Record(const ZPDFObjectIdentifier& id, uint32_t offset) {
  offsets_.insert_or_assign(offsets_.end(), id, offset);
}

void ZPDFXrefManager::Reset() { offsets_.clear(); }

Chaine ZPDFXrefManager::BuildSection() const {
  Chaine section("xref\r\n");
  section.Reserve((offsets_.size() + 2) * (kEntryLength + 1));
  Chaine group(kFreeListHead);
  uint32_t first = 0;
  uint32_t count = 1;
  uint32_t last = 0;
  for (const auto& [id, offset] : offsets_) {
    if (id.Number() != last && id.Number() != last + 1) {
      AppendGroup(&section, first, count, group);
      group.Clear();
      first = id.Number();
      count = 0;
    }
    AppendEntry(&group, id, id.Number() == 0 ? 0 : offset);
    last = id.Number();
    count++;
  }
  AppendGroup(&section, first, count, group);
  return section;
}

}  // namespace zforms
