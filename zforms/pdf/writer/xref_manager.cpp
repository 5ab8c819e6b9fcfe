#include "zforms/pdf/writer/xref_manager.h"

#include <algorithm>

#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

constexpr std::string_view kFreeListHead = "0000000000 65535 f\r\n";
constexpr size_t kEntryLength = 20;

// Writes the value in `width` decimal digits.
char* WriteDigits(char* to, uint32_t value, int width) {
  for (int i = width; i > 0; i--, value /= 10) to[i - 1] = static_cast<char>('0' + value % 10);
  return to + width;
}

void AppendEntry(Chaine* section, const ZPDFObjectIdentifier& id, uint32_t offset) {
  char* to = section->AppendUninitialized(kEntryLength);
  to = WriteDigits(to, id.Number() == 0 ? 0 : offset, 10);
  *to++ = ' ';
  to = WriteDigits(to, id.Generation() & 0xFFFF, 5);
  std::copy_n(id.Number() == 0 ? " f\r\n" : " n\r\n", 4, to);
}

// Appends the value in `width` bytes, the highest first.
void AppendBytes(Chaine* records, uint32_t value, uint32_t width) {
  while (width-- > 0) records->Append(static_cast<char>(value >> (8 * width) & 0xFF));
}

uint32_t BytesFor(uint32_t value) {
  uint32_t width = 1;
  while ((value >>= 8) != 0) width++;
  return width;
}

void AppendHeader(Chaine* section, uint32_t first, size_t count) {
  *section += FormatUInt(first);
  *section += ' ';
  *section += FormatUInt(count);
  *section += "\r\n";
}

}  // namespace

ZPDFXrefManager::~ZPDFXrefManager() = default;

void ZPDFXrefManager::Record(const ZPDFObjectIdentifier& id, uint32_t offset) {
  if (!offsets_.empty() && !(offsets_.back().first < id)) sorted_ = false;
  offsets_.emplace_back(id, offset);
}

void ZPDFXrefManager::Reset() {
  offsets_.clear();
  sorted_ = true;
}

const ZPDFXrefManager::OffsetList& ZPDFXrefManager::Offsets() const {
  if (sorted_) return offsets_;
  std::stable_sort(offsets_.begin(), offsets_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  // Runs std::unique from the back, which keeps the last record of each identifier.
  const auto same = [](const auto& a, const auto& b) { return a.first == b.first; };
  offsets_.erase(offsets_.begin(), std::unique(offsets_.rbegin(), offsets_.rend(), same).base());
  sorted_ = true;
  return offsets_;
}

Chaine ZPDFXrefManager::BuildSection() const {
  const OffsetList& offsets = Offsets();
  Chaine section("xref\r\n");
  section.Reserve((offsets.size() + 2) * (kEntryLength + 1));
  // The first group always begins with object 0, the head of the free list.
  const auto group_end = [&offsets](size_t at, uint32_t last) {
    while (at < offsets.size() && (offsets[at].first.Number() == last || offsets[at].first.Number() == last + 1)) {
      last = offsets[at++].first.Number();
    }
    return at;
  };
  size_t end = group_end(0, 0);
  AppendHeader(&section, 0, end + 1);
  section += kFreeListHead;
  for (size_t at = 0; at < offsets.size(); at++) {
    if (at == end) {
      const uint32_t first = offsets[at].first.Number();
      end = group_end(at, first);
      AppendHeader(&section, first, end - at);
    }
    AppendEntry(&section, offsets[at].first, offsets[at].second);
  }
  return section;
}

ZPDFXrefManager::StreamSection ZPDFXrefManager::BuildStreamSection() const {
  constexpr uint32_t kInUse = 1;
  const OffsetList& offsets = Offsets();
  uint32_t highest_offset = 0;
  for (const auto& [id, offset] : offsets) highest_offset = std::max(highest_offset, offset);
  StreamSection section{{1, BytesFor(highest_offset), 2}, {}, {}};
  for (size_t i = 0; i < offsets.size(); i++) {
    const auto& [id, offset] = offsets[i];
    // A number has one record, for its highest generation.
    if (i + 1 < offsets.size() && offsets[i + 1].first.Number() == id.Number()) continue;
    const size_t groups = section.index.size();
    if (groups == 0 || section.index[groups - 2] + section.index[groups - 1] != id.Number()) {
      section.index.insert(section.index.end(), {id.Number(), 1});
    } else {
      section.index.back()++;
    }
    AppendBytes(&section.records, kInUse, section.widths[0]);
    AppendBytes(&section.records, offset, section.widths[1]);
    AppendBytes(&section.records, id.Generation(), section.widths[2]);
  }
  return section;
}

}  // namespace zforms
