#include "apps/zforms/batch_folder.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <vector>

#include "apps/zforms/files.h"
#include "platform/file_io.h"

namespace zforms::tool {
namespace {

constexpr std::string_view kLedger = ".zforms-batch";
constexpr std::string_view kPart = ".zforms-part-";

// Whether a PDF stands there to its end. After a crash of the machine there may be a
// file whose bytes never reached the disk.
bool IsWhole(const std::filesystem::path& path) {
  constexpr std::string_view kEnd = "%%EOF";
  std::array<char, 16> tail{};
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file.is_open() || file.tellg() < static_cast<std::streamoff>(tail.size())) return false;
  file.seekg(-static_cast<std::streamoff>(tail.size()), std::ios::end);
  file.read(tail.data(), tail.size());
  return file.good() && std::string_view(tail.data(), tail.size()).find(kEnd) != std::string_view::npos;
}

}  // namespace

// What a killed run was writing.
void BatchFolder::RemoveLeftOvers() const {
  std::error_code error;
  std::vector<std::filesystem::path> left;
  std::filesystem::directory_iterator entries(FilePath(folder_), error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    if (PathText(entries->path().filename()).starts_with(kPart)) left.push_back(entries->path());
  }
  for (const std::filesystem::path& path : left) std::filesystem::remove(path, error);
}

bool BatchFolder::Open(const std::string& folder, Mode mode, uint64_t job, std::string* error) {
  folder_ = folder;
  mode_ = mode;
  std::error_code failed;
  std::filesystem::create_directories(FilePath(folder), failed);
  if (!std::filesystem::is_directory(FilePath(folder), failed)) {
    *error = "the folder " + folder + " cannot be made";
    return false;
  }
  RemoveLeftOvers();
  const std::string ledger = PathOf(std::string(kLedger));
  const bool known = std::filesystem::exists(FilePath(ledger), failed);
  // A run that was killed before it began has left nothing to go on with.
  if (mode == Mode::kResume && known) return ledger_.Open(ledger, job, error);
  if (mode == Mode::kNew && known) {
    *error = "the folder " + folder + " holds an earlier batch: --resume goes on with it, --overwrite starts over";
    return false;
  }
  return ledger_.Create(ledger, job, error);
}

BatchFolder::Place BatchFolder::Enter(const std::string& name, uint64_t content, uint64_t line, std::string* error) {
  Ledger::Holder holder;
  const Ledger::Claim claim = ledger_.Enter(name, content, line, &holder);
  if (claim == Ledger::Claim::kFailed) {
    *error = "the record of the batch cannot be written";
    return Place::kRefused;
  }
  if (claim == Ledger::Claim::kTaken) {
    *error = "its file \"" + name + "\" is that of line " + std::to_string(holder.line);
    return Place::kRefused;
  }
  const std::filesystem::path path = FilePath(PathOf(name));
  std::error_code failed;
  if (!std::filesystem::exists(path, failed)) return Place::kFree;
  if (claim == Ledger::Claim::kSame && IsWhole(path)) return Place::kDone;
  if (claim != Ledger::Claim::kNew || mode_ == Mode::kOverwrite) return Place::kOurs;
  *error = "its file \"" + name + "\" is there already, and not of this batch";
  return Place::kRefused;
}

bool BatchFolder::Write(const std::string& name, Place place, unsigned number, const Chaine& bytes,
                        std::string* error) const {
  const std::string part = PathOf(std::string(kPart) + std::to_string(number));
  if (!StoreFile(part, bytes, error)) return false;
  const std::filesystem::path from = FilePath(part);
  const std::filesystem::path to = FilePath(PathOf(name));
  std::error_code failed;
  if (place == Place::kFree) {
    // A second name for the file, unlike a new one, never takes the place of another.
    std::filesystem::create_hard_link(from, to, failed);
    if (!failed) {
      std::filesystem::remove(from, failed);
      return true;
    }
    if (std::error_code ignored; std::filesystem::exists(to, ignored)) {
      *error = "a file \"" + name + "\" has appeared in the meantime";
      return false;
    }
  }
  std::filesystem::rename(from, to, failed);
  if (failed) *error = failed.message();
  return !failed;
}

}  // namespace zforms::tool
