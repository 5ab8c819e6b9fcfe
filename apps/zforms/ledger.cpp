#include "apps/zforms/ledger.h"

#include <cstring>
#include <vector>

#include "apps/zforms/files.h"
#include "platform/letter_case.h"

namespace zforms::tool {
namespace {

constexpr char kMagic[] = "zfbatch1";
constexpr uint64_t kFirstBits = 12;
constexpr uint64_t kMaxBits = 40;
constexpr size_t kSlotsAtOnce = 4096;

uint64_t SlotCount(uint64_t bits) { return uint64_t{1} << bits; }

}  // namespace

// FNV-1a, with its bits mixed at the end, since the table takes the highest ones.
uint64_t StableHash(std::string_view bytes, uint64_t seed) {
  uint64_t hash = 0xCBF29CE484222325U ^ (seed * 0x9E3779B97F4A7C15U);
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  hash = (hash ^ (hash >> 33)) * 0xFF51AFD7ED558CCDU;
  hash = (hash ^ (hash >> 33)) * 0xC4CEB9FE1A85EC53U;
  return hash ^ (hash >> 33);
}

bool Ledger::ReadAt(uint64_t offset, void* to, size_t size) {
  file_.seekg(static_cast<std::streamoff>(offset));
  file_.read(static_cast<char*>(to), static_cast<std::streamsize>(size));
  return file_.good();
}

bool Ledger::WriteAt(uint64_t offset, const void* from, size_t size) {
  file_.seekp(static_cast<std::streamoff>(offset));
  file_.write(static_cast<const char*>(from), static_cast<std::streamsize>(size));
  return file_.good();
}

bool Ledger::OpenFile(const std::string& path, std::ios::openmode mode) {
  file_ = std::fstream();
  file_.rdbuf()->pubsetbuf(nullptr, 0);  // what is written is in the file
  file_.open(FilePath(path), std::ios::in | std::ios::out | std::ios::binary | mode);
  return file_.is_open();
}

// A file of free slots, beside the one in use: what was never written reads as zero.
bool Ledger::Make(const Header& header) {
  header_ = header;
  const uint64_t size = sizeof(Header) + SlotCount(header.bits) * sizeof(Slot);
  return OpenFile(NewPath(), std::ios::trunc) && WriteAt(0, &header, sizeof header) && WriteAt(size - 1, "", 1);
}

// Puts the new file in the place of the one in use.
bool Ledger::Install() {
  file_.close();
  std::error_code error;
  std::filesystem::rename(FilePath(NewPath()), FilePath(path_), error);
  return !error && OpenFile(path_, {});
}

bool Ledger::Create(const std::string& path, uint64_t job, std::string* error) {
  path_ = path;
  count_ = 0;
  Header header{{}, job, 1, kFirstBits};
  std::memcpy(header.magic, kMagic, sizeof header.magic);
  if (Make(header) && Install()) return true;
  *error = "the record of the batch, " + path + ", cannot be written";
  return false;
}

bool Ledger::Open(const std::string& path, uint64_t job, std::string* error) {
  path_ = path;
  const bool read = OpenFile(path, {}) && ReadAt(0, &header_, sizeof header_) &&
                    std::memcmp(header_.magic, kMagic, sizeof header_.magic) == 0 && header_.bits >= kFirstBits &&
                    header_.bits <= kMaxBits && CountSlots();
  if (!read) {
    *error = "the record of the earlier batch, " + path + ", cannot be read";
    return false;
  }
  if (header_.job != job) {
    *error = "the form, the maps or the names of the files are others than those of the earlier batch";
    return false;
  }
  header_.run++;
  if (WriteAt(0, &header_, sizeof header_)) return true;
  *error = "the record of the batch, " + path + ", cannot be written";
  return false;
}

bool Ledger::CountSlots() {
  std::vector<Slot> slots(kSlotsAtOnce);
  count_ = 0;
  for (uint64_t at = 0; at < SlotCount(header_.bits); at += kSlotsAtOnce) {
    if (!ReadAt(sizeof(Header) + at * sizeof(Slot), slots.data(), kSlotsAtOnce * sizeof(Slot))) return false;
    for (const Slot& slot : slots) count_ += slot.name != 0 ? 1 : 0;
  }
  return true;
}

// The slot of the name, or the free one where it belongs.
bool Ledger::Find(uint64_t name, uint64_t* place, Slot* slot) {
  const uint64_t last = SlotCount(header_.bits) - 1;
  for (uint64_t at = name >> (64 - header_.bits);; at = (at + 1) & last) {
    *place = sizeof(Header) + at * sizeof(Slot);
    if (!ReadAt(*place, slot, sizeof(Slot))) return false;
    if (slot->name == name || slot->name == 0) return true;
  }
}

Ledger::Claim Ledger::Enter(std::string_view name, uint64_t content, uint64_t line, Holder* holder) {
  const uint64_t hash = StableHash(FoldCase(name)) | 1;
  uint64_t place = 0;
  Slot slot;
  if (!Find(hash, &place, &slot)) return Claim::kFailed;
  Claim claim = Claim::kNew;
  if (slot.name != 0) {
    holder->line = slot.line;
    if (slot.run == header_.run) return Claim::kTaken;
    claim = slot.content == content ? Claim::kSame : Claim::kChanged;
  }
  const Slot entry{hash, content, line, header_.run};
  if (!WriteAt(place, &entry, sizeof entry)) return Claim::kFailed;
  if (claim == Claim::kNew && ++count_ * 3 > SlotCount(header_.bits) * 2 && !Grow()) return Claim::kFailed;
  return claim;
}

// Moves the entries into a table of twice the size.
bool Ledger::Grow() {
  std::fstream old = std::move(file_);
  Header header = header_;
  header.bits++;
  if (!Make(header)) return false;
  std::vector<Slot> slots(kSlotsAtOnce);
  for (uint64_t at = 0; at < SlotCount(header.bits - 1); at += kSlotsAtOnce) {
    old.seekg(static_cast<std::streamoff>(sizeof(Header) + at * sizeof(Slot)));
    old.read(reinterpret_cast<char*>(slots.data()), static_cast<std::streamsize>(kSlotsAtOnce * sizeof(Slot)));
    if (!old.good()) return false;
    for (const Slot& entry : slots) {
      uint64_t place = 0;
      Slot slot;
      if (entry.name == 0) continue;
      if (!Find(entry.name, &place, &slot) || !WriteAt(place, &entry, sizeof entry)) return false;
    }
  }
  old.close();
  return Install();
}

}  // namespace zforms::tool
