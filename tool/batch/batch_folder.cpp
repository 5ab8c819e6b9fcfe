#include "tool/batch/batch_folder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

#include "tool/base/files.h"
#include "tool/batch/stable_hash.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/os_file.h"

namespace zforms::tool {
namespace {

constexpr std::string_view kLedger = ".zforms-batch";
constexpr std::string_view kPart = ".zforms-part-";

constexpr std::string_view kLock = ".zforms-lock";
constexpr const char* kMeanwhile = "another program created a file with this name while the batch ran";
constexpr size_t kPrinted = 4096;

// True when the PDF is complete. After a crash of the machine a file may lack bytes that never reached the disk.
bool IsWhole(const std::filesystem::path& path) {
  constexpr std::string_view kEnd = "%%EOF";
  std::array<char, 16> tail{};
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file.is_open() || file.tellg() < static_cast<std::streamoff>(tail.size())) return false;
  file.seekg(-static_cast<std::streamoff>(tail.size()), std::ios::end);
  file.read(tail.data(), tail.size());
  return file.good() && std::string_view(tail.data(), tail.size()).find(kEnd) != std::string_view::npos;
}

// The fingerprint by which a later run recognizes a file of a killed run. It is a hash of the file's length and of its
// last bytes, which contain the values. Takes eight bytes at a time.
uint64_t PrintOf(std::string_view tail, uint64_t size) {
  uint64_t print = size;
  for (; tail.size() >= sizeof(uint64_t); tail.remove_prefix(sizeof(uint64_t))) {
    uint64_t word;
    std::memcpy(&word, tail.data(), sizeof(word));
    print = std::rotl(print ^ word, 29) * 0x9E3779B97F4A7C15U;
  }
  return StableHash(tail, print);
}

uint64_t PrintOf(std::string_view bytes) {
  return PrintOf(bytes.substr(bytes.size() - std::min(bytes.size(), kPrinted)), bytes.size());
}

// True when the file has that fingerprint. Also true for an empty file: ClaimAndRename created it to reserve the name.
bool HasPrint(const std::filesystem::path& path, uint64_t print) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file.is_open() ? static_cast<std::streamoff>(file.tellg()) : -1;
  if (size < 0) return false;
  std::string tail(std::min(static_cast<size_t>(size), kPrinted), '\0');
  file.seekg(size - static_cast<std::streamoff>(tail.size()));
  file.read(tail.data(), static_cast<std::streamsize>(tail.size()));
  return file.good() && (size == 0 || PrintOf(tail, static_cast<uint64_t>(size)) == print);
}

// Writes a file that hardly ever exists already. StoreFile would take three calls of the system more.
bool StorePart(const std::string& path, const Chaine& bytes, std::string* error) {
  OsFile file;
  std::string ignored;
  if (file.Open(path, OsFile::Mode::kNewShared, &ignored) && file.Write(bytes.data(), bytes.size()) && file.Close()) {
    return true;
  }
  file.Close();
  return StoreFile(path, bytes, error);
}

}  // namespace

BatchFolder::BatchFolder(std::string folder, Mode mode, const Shard& shard)
    : folder_(std::move(folder)), mode_(mode), shard_(shard) {}

std::string BatchFolder::PartPrefix() const {
  return std::string(kPart) + (shard_.IsPart() ? shard_.Name("-of-") + "." : "");
}

// Removes the temporary files that earlier runs have left.
void BatchFolder::RemoveLeftOvers() const {
  std::error_code error;
  std::vector<std::filesystem::path> left;
  std::filesystem::directory_iterator entries(FilePath(folder_), error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    if (PathText(entries->path().filename()).starts_with(PartPrefix())) left.push_back(entries->path());
  }
  for (const std::filesystem::path& path : left) std::filesystem::remove(path, error);
}

bool BatchFolder::Take(BatchFault* fault) {
  std::error_code failed;
  std::filesystem::create_directories(FilePath(folder_), failed);
  std::error_code ignored;
  if (!std::filesystem::is_directory(FilePath(folder_), ignored)) {
    const std::string reason = failed ? ": " + failed.message() : "";
    *fault = {"the folder \"" + folder_ + "\" cannot be created" + reason, true};
    return false;
  }
  if (shard_.IsPart()) return true;
  std::string reason;
  switch (lock_.Take(PathOf(std::string(kLock)), &reason)) {
    case OsFileLock::Outcome::kTaken: return true;
    case OsFileLock::Outcome::kHeldByAnother:
      *fault = {"another batch is running in the folder " + folder_, true};
      break;
    case OsFileLock::Outcome::kFailed:
      *fault = {"the folder \"" + folder_ + "\" cannot be locked: " + reason, true};
      break;
  }
  return false;
}

bool BatchFolder::Open(uint64_t job, BatchFault* fault) {
  return shard_.IsPart() ? OpenShard(job, fault) : OpenLedger(job, fault);
}

bool BatchFolder::OpenShard(uint64_t job, BatchFault* fault) {
  std::error_code failed;
  if (std::filesystem::exists(FilePath(PathOf(std::string(kLedger))), failed)) {
    *fault = {"the folder \"" + folder_ + "\" contains a batch without --shard; use another folder"};
    return false;
  }
  if (!ledger_.CreateTemporary(&fault->what)) {
    fault->is_trouble = true;
    return false;
  }
  return record_.Open(folder_, shard_, mode_, job, &ledger_, fault);
}

// Removes old temporary files only at the end, because an earlier run of this shard may still be running.
bool BatchFolder::Finish(BatchFault*) {
  if (shard_.IsPart()) RemoveLeftOvers();
  return true;
}

bool BatchFolder::OpenLedger(uint64_t job, BatchFault* fault) {
  if (ShardRecord::AnyIn(folder_)) {
    *fault = {"the folder \"" + folder_ + "\" contains a batch with --shard; use another folder"};
    return false;
  }
  RemoveLeftOvers();
  std::error_code failed;
  const std::string ledger = PathOf(std::string(kLedger));
  // Without a ledger there is nothing to continue: an earlier run was killed before it created one.
  if (!std::filesystem::exists(FilePath(ledger), failed)) {
    fault->is_trouble = !ledger_.Create(ledger, job, &fault->what);
    return !fault->is_trouble;
  }
  switch (mode_) {
    case Mode::kResume: return ledger_.Open(ledger, job, &fault->what);
    case Mode::kOverwrite: {
      // Files of the earlier batch may still be replaced, even after an interruption.
      std::string ignored;
      fault->is_trouble = !ledger_.StartOver(ledger, job, &ignored) && !ledger_.Create(ledger, job, &fault->what);
      return !fault->is_trouble;
    }
    case Mode::kNew: break;
  }
  *fault = {"the folder \"" + folder_ + "\" contains an earlier batch: --resume continues it, --overwrite starts over"};
  return false;
}

bool BatchFolder::Record(const Seat& seat, Ledger::State state, uint64_t content) {
  return !shard_.IsPart() || record_.Append({state, content, seat.line, seat.row, seat.name});
}

bool BatchFolder::Mark(const Seat& seat, Ledger::State state, uint64_t content) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return ledger_.Mark(seat.name, state, content) && Record(seat, state, content);
}

BatchFault BatchFolder::NotRecorded() const {
  const std::string record = shard_.IsPart()
                                 ? "the record of shard " + shard_.Name(" of ") + ", in the folder " + folder_
                                 : "the record of the batch, " + PathOf(std::string(kLedger));
  return {record + ", cannot be written", true};
}

void BatchFolder::Enter(Seat* seat, BatchFault* fault) {
  using Claim = Ledger::Claim;
  seat->place = Place::kRefused;
  Ledger::Holder holder;
  const auto enter = [&] {
    const std::lock_guard<std::mutex> lock(mutex_);
    const Claim claim = ledger_.Enter(seat->name, seat->content, seat->line, &holder);
    // Records the row again when it is on another line than before.
    const bool moved = claim == Claim::kSame && holder.line != seat->line;
    return moved && !Record(*seat, Ledger::State::kWritten, seat->content) ? Claim::kBroken : claim;
  };
  const Claim claim = enter();
  if (claim == Claim::kBroken) *fault = NotRecorded();
  if (claim == Claim::kTaken) *fault = TakenBy(*seat, holder.line);
  if (claim == Claim::kBroken || claim == Claim::kTaken) return;
  seat->place = PlaceOf(*seat, claim, holder.print, fault);
}

BatchOutput::Place BatchFolder::PlaceOf(const Seat& seat, Ledger::Claim claim, uint64_t print, BatchFault* fault) {
  using Claim = Ledger::Claim;
  const std::filesystem::path path = FilePath(PathOf(seat.name));
  std::error_code failed;
  if (!std::filesystem::exists(path, failed)) return Place::kFree;
  if (claim == Claim::kSame && IsWhole(path)) return Place::kWritten;
  if (claim == Claim::kSame || claim == Claim::kOurs) return Place::kOurs;
  const bool is_ours = claim == Claim::kStarted && HasPrint(path, print);
  if (is_ours || (mode_ == Mode::kOverwrite && !shard_.IsPart())) {
    if (Mark(seat, Ledger::State::kStale, 0)) return Place::kOurs;
    *fault = NotRecorded();
    return Place::kRefused;
  }
  // Leaves the decision to Write: an earlier run of this shard may still be running and writing the same forms.
  if (shard_.IsPart()) return Place::kUnsure;
  *fault = {"the file \"" + seat.name + "\" already exists and does not belong to this batch; --overwrite replaces it"};
  return Place::kRefused;
}

// Accepts an existing file that this shard has not recorded, if it has the same bytes as the form of this row.
bool BatchFolder::AcceptSame(const Seat& seat, const Chaine& bytes, BatchFault* fault) {
  Chaine there;
  if (ReadFile(PathOf(seat.name), &there) && there == bytes) return true;
  *fault = {"another shard or another program has already written a file with this name"};
  if (!Mark(seat, Ledger::State::kNamed, 0)) *fault = NotRecorded();
  return false;
}

// Moves the file on a file system without hard links. First reserves the name by creating an empty file, which fails if
// a file with this name exists.
bool BatchFolder::ClaimAndRename(const std::string& part, const Seat& seat, BatchFault* fault) {
  OsFile claim;
  std::string reason;
  if (!claim.Open(PathOf(seat.name), OsFile::Mode::kNewShared, &reason)) {
    const std::error_code code(errno, std::generic_category());
    std::error_code ignored;
    const bool is_there = std::filesystem::exists(FilePath(PathOf(seat.name)), ignored);
    *fault = is_there ? BatchFault{kMeanwhile} : BatchFault::OfSystem(reason, code);
    return false;
  }
  claim.Close();
  const std::error_code failed = RenameFile(part, PathOf(seat.name));
  if (!failed) return true;
  *fault = BatchFault::OfSystem(failed.message(), failed);
  DeleteFileQuietly(PathOf(seat.name));
  return false;
}

// Moves the file to a name that is not in use.
bool BatchFolder::MoveToFree(const std::string& part, const Seat& seat, const Chaine& bytes, BatchFault* fault) {
  if (!Mark(seat, Ledger::State::kPlacing, PrintOf(bytes))) {
    *fault = NotRecorded();
    return false;
  }
  const std::error_code failed = RenameFileToFree(part, PathOf(seat.name));
  std::error_code ignored;
  if (failed && !std::filesystem::exists(FilePath(PathOf(seat.name)), ignored)) {
    if (std::filesystem::exists(FilePath(part), ignored)) return ClaimAndRename(part, seat, fault);
    *fault = {"another run of the same shard, which works at the same time, removed the unfinished file", true};
    return false;
  }
  if (failed && shard_.IsPart()) {
    // On a network file system, the hard link may have been made although the reply was lost.
    if (!AcceptSame(seat, bytes, fault)) return false;
  } else if (failed) {
    *fault = {kMeanwhile};
    if (!Mark(seat, Ledger::State::kNamed, 0)) *fault = NotRecorded();
    return false;
  }
  if (failed) DeleteFileQuietly(part);
  return true;
}

bool BatchFolder::Move(const std::string& part, const Seat& seat, const Chaine& bytes, BatchFault* fault) {
  if (seat.place == Place::kFree) return MoveToFree(part, seat, bytes, fault);
  const std::error_code failed = RenameFile(part, PathOf(seat.name));
  if (failed) *fault = BatchFault::OfSystem(failed.message(), failed);
  return !failed;
}

bool BatchFolder::Write(const Seat& seat, unsigned number, const Chaine& bytes, BatchFault* fault) {
  if (seat.place == Place::kUnsure) {
    if (!AcceptSame(seat, bytes, fault)) return false;
  } else {
    const std::string thread = (shard_.IsPart() ? std::to_string(record_.Run()) + "-" : "") + std::to_string(number);
    const std::string part = PathOf(PartPrefix() + thread);
    const bool stored = StorePart(part, bytes, &fault->what);
    fault->is_trouble = !stored;
    if (!stored || !Move(part, seat, bytes, fault)) {
      DeleteFileQuietly(part);
      return false;
    }
  }
  if (Mark(seat, Ledger::State::kWritten, seat.content)) return true;
  *fault = NotRecorded();
  return false;
}

}  // namespace zforms::tool
