#include "tool/batch/shard_record.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>

#include "tool/base/files.h"
#include "tool/batch/stable_hash.h"

namespace zforms::tool {
namespace {

constexpr std::string_view kPrefix = ".zforms-shard-";
constexpr std::string_view kMark = "zforms-shard 1 ";
constexpr std::string_view kOverwrites = " overwrite";

// The parts of the name of a record file, ".zforms-shard-I-of-N.RUN".
struct RecordName {
  Shard shard;
  uint64_t run = 0;
};

std::optional<uint64_t> NumberOf(std::string_view text, int base = 10) {
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<RecordName> ParseName(std::string_view name) {
  if (!name.starts_with(kPrefix)) return std::nullopt;
  name.remove_prefix(kPrefix.size());
  const size_t of = name.find("-of-");
  const size_t dot = name.rfind('.');
  if (of == std::string_view::npos || dot == std::string_view::npos || dot < of) return std::nullopt;
  RecordName parsed;
  const std::string shard = std::string(name.substr(0, of)) + "/" + std::string(name.substr(of + 4, dot - of - 4));
  const auto run = NumberOf(name.substr(dot + 1));
  if (!run || !parsed.shard.Parse(shard)) return std::nullopt;
  parsed.run = *run;
  return parsed;
}

std::string PathOf(const std::string& folder, const Shard& shard, uint64_t run) {
  return folder + "/" + std::string(kPrefix) + shard.Name("-of-") + "." + std::to_string(run);
}

std::vector<RecordName> RecordsIn(const std::string& folder) {
  std::vector<RecordName> records;
  std::error_code error;
  std::filesystem::directory_iterator entries(FilePath(folder), error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    if (const auto record = ParseName(PathText(entries->path().filename()))) records.push_back(*record);
  }
  std::sort(records.begin(), records.end(), [](const RecordName& a, const RecordName& b) { return a.run < b.run; });
  return records;
}

std::string Hex(uint64_t number) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, number, 16);
  return {digits, end.ptr};
}

// Removes the first word and the blank after it from the line. Returns the word.
std::string_view TakeWord(std::string_view* line) {
  const size_t blank = std::min(line->find(' '), line->size());
  const std::string_view word = line->substr(0, blank);
  line->remove_prefix(std::min(blank + 1, line->size()));
  return word;
}

// Reads the line "CHECK STATE CONTENT LINE ROW NAME". CHECK is a hash of the rest: it does not match when a killed run
// left the line incomplete.
std::optional<ShardRecord::Entry> ParseEntry(std::string_view line) {
  const auto check = NumberOf(TakeWord(&line), 16);
  if (!check || *check != StableHash(line)) return std::nullopt;
  const auto state = NumberOf(TakeWord(&line));
  const auto content = NumberOf(TakeWord(&line), 16);
  const auto at = NumberOf(TakeWord(&line));
  const auto row = NumberOf(TakeWord(&line));
  if (!state || *state > static_cast<uint64_t>(Ledger::State::kWritten) || !content || !at || !row) return std::nullopt;
  return ShardRecord::Entry{static_cast<Ledger::State>(*state), *content, *at, *row, line};
}

// The first line; empty when the file is not a record, or its run was killed before the line was complete.
std::string HeadOf(const std::string& path) {
  std::ifstream file(FilePath(path), std::ios::binary);
  std::string head;
  if (!std::getline(file, head) || file.eof() || !head.starts_with(kMark)) return {};
  return head.substr(kMark.size());
}

}  // namespace

std::vector<std::string> ShardRecord::FilesOf(const std::string& folder, const Shard& shard) {
  std::vector<std::string> files;
  for (const RecordName& record : RecordsIn(folder)) {
    if (record.shard.index != shard.index || record.shard.count != shard.count) continue;
    files.push_back(PathOf(folder, shard, record.run));
  }
  return files;
}

bool ShardRecord::AnyIn(const std::string& folder) { return !RecordsIn(folder).empty(); }

bool ShardRecord::Read(const std::string& path, const std::function<bool(const Entry&)>& take) {
  std::ifstream file(FilePath(path), std::ios::binary);
  std::string line;
  if (!file.is_open()) return false;
  for (std::getline(file, line); std::getline(file, line) && !file.eof();) {
    const std::optional<Entry> entry = ParseEntry(line);
    if (entry && !take(*entry)) return false;
  }
  return !file.bad();
}

void ShardRecord::Restore(const std::string& path, Ledger* ledger, BatchFault* fault) {
  if (HeadOf(path).ends_with(kOverwrites) && !ledger->MarkAllStale()) {
    *fault = {"a temporary file cannot be written", true};
  }
  const auto restore = [ledger](const Entry& entry) {
    return entry.state == Ledger::State::kNamed || ledger->Restore(entry.name, entry.state, entry.content, entry.line);
  };
  if (fault->what.empty() && !Read(path, restore)) {
    *fault = {"the record of an earlier run of the shard, " + path + ", cannot be read", true};
  }
}

bool ShardRecord::Open(const std::string& folder, const Shard& shard, Start start, uint64_t job, Ledger* ledger,
                       BatchFault* fault) {
  job_ = job;
  std::string other;  // the name of a shard that makes other forms; empty if there is none
  std::vector<std::string> own;
  for (const RecordName& record : RecordsIn(folder)) {
    if (record.shard.count != shard.count) {
      *fault = {"the folder \"" + folder + "\" contains a batch of " + std::to_string(record.shard.count) +
                " shards: use another folder, or the same number of shards"};
      return false;
    }
    const std::string path = PathOf(folder, record.shard, record.run);
    const std::string head = HeadOf(path);
    std::string_view rest = head;
    const bool is_own = record.shard.index == shard.index;
    if (is_own && (run_ = record.run) > 0) own.push_back(path);
    // Compares the job with the job of this shard's last run. For the first run, compares it with the jobs of other
    // shards.
    const bool differs = !head.empty() && TakeWord(&rest) != Hex(job);
    if (is_own && !head.empty()) other = differs ? record.shard.Name(" of ") : "";
    if (!is_own && differs && own.empty()) other = record.shard.Name(" of ");
  }
  if (start == Start::kNew && !own.empty()) {
    *fault = {"the folder \"" + folder + "\" contains an earlier run of shard " + shard.Name(" of ") +
              ": --resume continues it, --overwrite starts over"};
  } else if (start != Start::kOverwrite && !other.empty()) {
    const bool is_own = other == shard.Name(" of ");
    *fault = {"the form, the maps, the file names or options such as --draw differ from those of " +
              std::string(is_own ? "the earlier run of " : "") + "shard " + other +
              (is_own ? "; --overwrite starts over" : "; use the same ones for all shards")};
  }
  for (const std::string& path : own) {
    if (fault->what.empty()) Restore(path, ledger, fault);
  }
  if (fault->what.empty() && start == Start::kOverwrite && !ledger->MarkAllStale()) {
    *fault = {"a temporary file cannot be written", true};
  }
  return fault->what.empty() && Create(folder, shard, start, fault);
}

// Creates the file of this run, under the next number that no other run has.
bool ShardRecord::Create(const std::string& folder, const Shard& shard, Start start, BatchFault* fault) {
  constexpr int kMostAttempts = 1000;
  std::string reason;
  std::error_code ignored;
  for (int attempt = 0; attempt < kMostAttempts && !file_.IsOpen(); attempt++) {
    const std::string path = PathOf(folder, shard, ++run_);
    if (file_.Open(path, OsFile::Mode::kNewShared, &reason)) break;
    if (start == Start::kNew || !std::filesystem::exists(FilePath(path), ignored)) break;
  }
  std::string head = std::string(kMark) + Hex(job_);
  if (start == Start::kOverwrite) head += kOverwrites;
  head += "\n";
  if (file_.IsOpen() && file_.Write(head.data(), head.size())) return true;
  const std::string what = file_.IsOpen() ? ", cannot be written" : ", cannot be created: " + reason;
  *fault = {"the record of the shard, " + PathOf(folder, shard, run_) + what, true};
  return false;
}

bool ShardRecord::Append(const Entry& entry) {
  std::string line = std::to_string(static_cast<unsigned>(entry.state)) + " " + Hex(entry.content) + " " +
                     std::to_string(entry.line) + " " + std::to_string(entry.row) + " ";
  line.append(entry.name);
  line = Hex(StableHash(line)) + " " + line + "\n";
  return file_.Write(line.data(), line.size());
}

}  // namespace zforms::tool
