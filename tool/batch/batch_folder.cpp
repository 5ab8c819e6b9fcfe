#include "tool/batch/batch_folder.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <vector>

#include "tool/base/files.h"
#include "tool/batch/stable_hash.h"
#include "zforms/platform/files/file_io.h"

namespace zforms::tool {
namespace {

constexpr std::string_view kLedger = ".zforms-batch";
constexpr std::string_view kPart = ".zforms-part-";

constexpr std::string_view kLock = ".zforms-lock";
constexpr const char* kNotRecorded = "the record of the batch cannot be written";
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

// The fingerprint by which a file of a killed run is recognized: made from the length and the end, which contains the
// values.
uint64_t PrintOf(std::string_view tail, uint64_t size) { return StableHash(tail, size); }

uint64_t PrintOf(std::string_view bytes) {
  return PrintOf(bytes.substr(bytes.size() - std::min(bytes.size(), kPrinted)), bytes.size());
}

bool HasPrint(const std::filesystem::path& path, uint64_t print) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file.is_open() ? static_cast<std::streamoff>(file.tellg()) : -1;
  if (size < 0) return false;
  std::string tail(std::min(static_cast<size_t>(size), kPrinted), '\0');
  file.seekg(size - static_cast<std::streamoff>(tail.size()));
  file.read(tail.data(), static_cast<std::streamsize>(tail.size()));
  return file.good() && PrintOf(tail, static_cast<uint64_t>(size)) == print;
}

}  // namespace

// Removes the partial files of a killed run.
void BatchFolder::RemoveLeftOvers() const {
  std::error_code error;
  std::vector<std::filesystem::path> left;
  std::filesystem::directory_iterator entries(FilePath(folder_), error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    if (PathText(entries->path().filename()).starts_with(kPart)) left.push_back(entries->path());
  }
  for (const std::filesystem::path& path : left) std::filesystem::remove(path, error);
}

bool BatchFolder::Take(const std::string& folder, std::string* error) {
  folder_ = folder;
  std::error_code failed;
  std::filesystem::create_directories(FilePath(folder), failed);
  if (!std::filesystem::is_directory(FilePath(folder), failed)) {
    *error = "the folder " + folder + " cannot be made";
    return false;
  }
  std::string reason;
  switch (lock_.Take(PathOf(std::string(kLock)), &reason)) {
    case OsFileLock::Outcome::kTaken: return true;
    case OsFileLock::Outcome::kHeldByAnother: *error = "another batch is running in the folder " + folder; break;
    case OsFileLock::Outcome::kFailed: *error = "the folder " + folder + " cannot be locked: " + reason; break;
  }
  return false;
}

bool BatchFolder::Open(Mode mode, uint64_t job, std::string* error) {
  mode_ = mode;
  RemoveLeftOvers();
  std::error_code failed;
  const std::string ledger = PathOf(std::string(kLedger));
  // A run that was killed before it began has left nothing to continue.
  if (!std::filesystem::exists(FilePath(ledger), failed)) return ledger_.Create(ledger, job, error);
  switch (mode) {
    case Mode::kResume: return ledger_.Open(ledger, job, error);
    case Mode::kOverwrite: {
      // Files of the earlier batch may still be replaced, even after an interruption.
      std::string ignored;
      return ledger_.StartOver(ledger, job, &ignored) || ledger_.Create(ledger, job, error);
    }
    case Mode::kNew: break;
  }
  *error = "the folder " + folder_ + " holds an earlier batch: --resume continues it, --overwrite starts over";
  return false;
}

bool BatchFolder::Mark(const Seat& seat, Ledger::State state, uint64_t content) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return ledger_.Mark(seat.name, state, content);
}

void BatchFolder::Enter(Seat* seat, uint64_t line, std::string* error) {
  using Claim = Ledger::Claim;
  seat->place = Place::kRefused;
  Ledger::Holder holder;
  const auto enter = [&] {
    const std::lock_guard<std::mutex> lock(mutex_);
    return ledger_.Enter(seat->name, seat->content, line, &holder);
  };
  const Claim claim = enter();
  if (claim == Claim::kBroken) *error = kNotRecorded;
  if (claim == Claim::kTaken) *error = "its file \"" + seat->name + "\" is that of line " + std::to_string(holder.line);
  if (claim == Claim::kBroken || claim == Claim::kTaken) return;

  const std::filesystem::path path = FilePath(PathOf(seat->name));
  std::error_code failed;
  if (!std::filesystem::exists(path, failed)) {
    seat->place = Place::kFree;
  } else if (claim == Claim::kSame || claim == Claim::kOurs) {
    seat->place = claim == Claim::kSame && IsWhole(path) ? Place::kWritten : Place::kOurs;
  } else if (mode_ == Mode::kOverwrite || (claim == Claim::kStarted && HasPrint(path, holder.print))) {
    if (Mark(*seat, Ledger::State::kStale, 0)) seat->place = Place::kOurs;
    if (seat->place == Place::kRefused) *error = kNotRecorded;
  } else {
    *error = "its file \"" + seat->name + "\" exists already and is not from this batch";
  }
}

// Moves the file to a name that is not in use.
bool BatchFolder::MoveToFree(const std::string& part, const Seat& seat, uint64_t print, std::string* error) {
  if (!Mark(seat, Ledger::State::kPlacing, print)) {
    *error = kNotRecorded;
    return false;
  }
  const std::filesystem::path from = FilePath(part);
  const std::filesystem::path to = FilePath(PathOf(seat.name));
  std::error_code failed;
  // A hard link never replaces an existing file, unlike a rename.
  std::filesystem::create_hard_link(from, to, failed);
  std::error_code ignored;
  if (!failed) {
    std::filesystem::remove(from, ignored);
    return true;
  }
  if (std::filesystem::exists(to, ignored)) {
    Mark(seat, Ledger::State::kNamed, 0);
    *error = "a file \"" + seat.name + "\" was created in the meantime";
    return false;
  }
  std::filesystem::rename(from, to, failed);
  if (failed) *error = failed.message();
  return !failed;
}

bool BatchFolder::Move(const std::string& part, const Seat& seat, uint64_t print, std::string* error) {
  if (seat.place == Place::kFree) return MoveToFree(part, seat, print, error);
  std::error_code failed;
  std::filesystem::rename(FilePath(part), FilePath(PathOf(seat.name)), failed);
  if (failed) *error = failed.message();
  return !failed;
}

bool BatchFolder::Write(const Seat& seat, unsigned number, const Chaine& bytes, std::string* error) {
  const std::string part = PathOf(std::string(kPart) + std::to_string(number));
  if (!StoreFile(part, bytes, error) || !Move(part, seat, PrintOf(bytes), error)) {
    std::error_code ignored;
    std::filesystem::remove(FilePath(part), ignored);
    return false;
  }
  if (Mark(seat, Ledger::State::kWritten, seat.content)) return true;
  *error = kNotRecorded;
  return false;
}

}  // namespace zforms::tool
