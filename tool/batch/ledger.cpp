#include "tool/batch/ledger.h"

#include <cstddef>
#include <cstring>
#include <vector>

#include "tool/base/files.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms::tool {
namespace {

constexpr char kMagic[] = "zfbatch3";
constexpr uint64_t kFirstBits = 12;
constexpr uint64_t kMaxBits = 40;
constexpr size_t kSlotsAtOnce = 4096;

uint64_t SlotCount(uint64_t bits) { return uint64_t{1} << bits; }

// Above two thirds the table is enlarged.
bool IsFull(uint64_t count, uint64_t bits) { return count * 3 > SlotCount(bits) * 2; }

// A hash of a name is never 0, which marks a free slot.
uint64_t HashOfName(std::string_view name) { return StableHash(FoldFileName(name)) | 1; }

Ledger::Claim ClaimOf(Ledger::State state) {
  switch (state) {
    case Ledger::State::kNamed: break;
    case Ledger::State::kPlacing: return Ledger::Claim::kStarted;
    case Ledger::State::kStale: return Ledger::Claim::kOurs;
    case Ledger::State::kWritten: return Ledger::Claim::kSame;
  }
  return Ledger::Claim::kNew;
}

std::string_view BytesOf(const void* from, size_t size) { return {static_cast<const char*>(from), size}; }

}  // namespace

// FNV-1a with a final mix of the bits, because the table uses the highest ones.
uint64_t StableHash(std::string_view bytes, uint64_t seed) {
  uint64_t hash = 0xCBF29CE484222325U ^ (seed * 0x9E3779B97F4A7C15U);
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  hash = (hash ^ (hash >> 33)) * 0xFF51AFD7ED558CCDU;
  hash = (hash ^ (hash >> 33)) * 0xC4CEB9FE1A85EC53U;
  return hash ^ (hash >> 33);
}

uint32_t Ledger::Slot::SealFor(State state) const {
  const uint64_t parts[] = {name, content, line, uint64_t{run} << 2 | static_cast<uint64_t>(state)};
  const auto sum = static_cast<uint32_t>(StableHash(BytesOf(parts, sizeof parts)));
  return (sum & ~uint32_t{3}) | static_cast<uint32_t>(state);
}

bool Ledger::Slot::IsSound() const {
  if (name == 0) return content == 0 && line == 0 && run == 0 && seal == 0;
  return seal == SealFor(Is());
}

uint64_t Ledger::Header::CheckSum() const { return StableHash(BytesOf(this, offsetof(Header, check))); }

// Clears an earlier error, such as a full disk, which is no reason to fail now.
bool Ledger::ReadAt(uint64_t offset, void* to, size_t size) {
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(offset));
  file_.read(static_cast<char*>(to), static_cast<std::streamsize>(size));
  return file_.good();
}

bool Ledger::WriteAt(uint64_t offset, const void* from, size_t size) {
  file_.clear();
  file_.seekp(static_cast<std::streamoff>(offset));
  file_.write(static_cast<const char*>(from), static_cast<std::streamsize>(size));
  return file_.good();
}

bool Ledger::OpenFile(const std::string& path, std::ios::openmode mode) {
  file_ = std::fstream();
  file_.rdbuf()->pubsetbuf(nullptr, 0);  // unbuffered: written bytes are in the file at once
  file_.open(FilePath(path), std::ios::in | std::ios::out | std::ios::binary | mode);
  return file_.is_open();
}

// Makes a new file of free slots beside the one in use; bytes never written read as zero.
bool Ledger::Make(const Header& header) {
  header_ = header;
  header_.check = header_.CheckSum();
  const uint64_t size = sizeof(Header) + SlotCount(header.bits) * sizeof(Slot);
  return OpenFile(NewPath(), std::ios::trunc) && WriteAt(0, &header_, sizeof header_) && WriteAt(size - 1, "", 1);
}

// Replaces the file in use by the new one.
bool Ledger::Install() {
  file_.close();
  std::error_code error;
  std::filesystem::rename(FilePath(NewPath()), FilePath(path_), error);
  return !error && OpenFile(path_, {});
}

bool Ledger::Create(const std::string& path, uint64_t job, std::string* error) {
  path_ = path;
  count_ = 0;
  Header header{};
  header.job = job;
  header.run = 1;
  header.bits = kFirstBits;
  std::memcpy(header.magic, kMagic, sizeof header.magic);
  if (Make(header) && Install()) return true;
  *error = "the record of the batch, " + path + ", cannot be written";
  return false;
}

bool Ledger::Read(const std::string& path, std::string* error) {
  path_ = path;
  if (!OpenFile(path, {})) {
    *error = "the record of the earlier batch, " + path + ", cannot be opened";
    return false;
  }
  const bool sound =
      ReadAt(0, &header_, sizeof header_) && std::memcmp(header_.magic, kMagic, sizeof header_.magic) == 0 &&
      header_.check == header_.CheckSum() && header_.bits >= kFirstBits && header_.bits <= kMaxBits && CheckSlots();
  if (!sound) *error = "the record of the earlier batch, " + path + ", is damaged; --overwrite starts over";
  return sound;
}

bool Ledger::WriteHeader(std::string* error) {
  header_.check = header_.CheckSum();
  if (WriteAt(0, &header_, sizeof header_)) return true;
  *error = "the record of the batch, " + path_ + ", cannot be written";
  return false;
}

bool Ledger::Open(const std::string& path, uint64_t job, std::string* error) {
  if (!Read(path, error)) return false;
  if (header_.job != job) {
    *error = "the form, the maps or the file names differ from those of the earlier batch";
    return false;
  }
  header_.run++;
  return WriteHeader(error);
}

bool Ledger::StartOver(const std::string& path, uint64_t job, std::string* error) {
  if (!Read(path, error)) return false;
  header_.job = job;
  header_.since = ++header_.run;
  return WriteHeader(error);
}

// Counts the entries; false when one is damaged or missing.
bool Ledger::CheckSlots() {
  const uint64_t slots = SlotCount(header_.bits);
  std::error_code failed;
  if (std::filesystem::file_size(FilePath(path_), failed) != sizeof(Header) + slots * sizeof(Slot)) return false;
  std::vector<Slot> some(kSlotsAtOnce);
  count_ = 0;
  for (uint64_t at = 0; at < slots; at += kSlotsAtOnce) {
    if (!ReadAt(sizeof(Header) + at * sizeof(Slot), some.data(), kSlotsAtOnce * sizeof(Slot))) return false;
    for (const Slot& slot : some) {
      if (!slot.IsSound() || slot.run > header_.run) return false;
      count_ += slot.name != 0 ? 1 : 0;
    }
  }
  return count_ < slots;
}

// Finds the slot of the name, or the free slot for it.
bool Ledger::Find(uint64_t name, uint64_t* place, Slot* slot) {
  const uint64_t count = SlotCount(header_.bits);
  uint64_t at = name >> (64 - header_.bits);
  for (uint64_t looked = 0; looked < count; looked++, at = (at + 1) & (count - 1)) {
    *place = sizeof(Header) + at * sizeof(Slot);
    if (!ReadAt(*place, slot, sizeof(Slot))) return false;
    if (slot->name == name || slot->name == 0) return true;
  }
  return false;
}

bool Ledger::WriteSlot(uint64_t place, Slot slot, State state) {
  slot.seal = slot.SealFor(state);
  return WriteAt(place, &slot, sizeof slot);
}

Ledger::Claim Ledger::Enter(std::string_view name, uint64_t content, uint64_t line, Holder* holder) {
  uint64_t place = 0;
  Slot slot;
  if (IsFull(count_ + 1, header_.bits) && !Grow()) return Claim::kBroken;
  const uint64_t hash = HashOfName(name);
  if (!Find(hash, &place, &slot)) return Claim::kBroken;
  const bool is_new = slot.name == 0;
  State state = slot.Is();
  Claim claim = Claim::kNew;
  if (!is_new) {
    *holder = {slot.line, slot.content};
    if (slot.run == header_.run) return Claim::kTaken;
    if (state == State::kWritten && (slot.run < header_.since || slot.content != content)) state = State::kStale;
    claim = ClaimOf(state);
  }
  slot.name = hash;
  slot.line = line;
  slot.run = header_.run;
  if (!WriteSlot(place, slot, state)) return Claim::kBroken;
  if (is_new) count_++;
  return claim;
}

bool Ledger::Mark(std::string_view name, State state, uint64_t content) {
  uint64_t place = 0;
  Slot slot;
  if (!Find(HashOfName(name), &place, &slot) || slot.name == 0) return false;
  slot.content = content;
  return WriteSlot(place, slot, state);
}

bool Ledger::CopySlots(std::fstream& from, uint64_t bits) {
  std::vector<Slot> slots(kSlotsAtOnce);
  from.clear();
  from.seekg(static_cast<std::streamoff>(sizeof(Header)));
  for (uint64_t at = 0; at < SlotCount(bits); at += kSlotsAtOnce) {
    from.read(reinterpret_cast<char*>(slots.data()), static_cast<std::streamsize>(kSlotsAtOnce * sizeof(Slot)));
    if (!from.good()) return false;
    for (const Slot& entry : slots) {
      uint64_t place = 0;
      Slot slot;
      if (entry.name == 0) continue;
      if (!Find(entry.name, &place, &slot) || !WriteAt(place, &entry, sizeof entry)) return false;
    }
  }
  return true;
}

// Moves the entries to a table of twice the size. On failure the old table stays in use.
bool Ledger::Grow() {
  std::fstream old = std::move(file_);
  const uint64_t bits = header_.bits;
  Header larger = header_;
  larger.bits++;
  const bool copied = Make(larger) && CopySlots(old, bits);
  old.close();
  if (copied && Install()) return true;
  std::error_code ignored;
  std::filesystem::remove(FilePath(NewPath()), ignored);
  header_.bits = bits;
  if (OpenFile(path_, {})) ReadAt(0, &header_, sizeof header_);
  return false;
}

}  // namespace zforms::tool
