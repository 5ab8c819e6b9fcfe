#include "tool/batch/shard_merger.h"

#include <sqlite3.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/base/statement.h"
#include "tool/batch/batch_options.h"
#include "tool/batch/shard_record.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kCounts[] = {"rows", "filled", "filled_before", "failed", "warned"};

// The file names that each shard has recorded, whether or not it wrote the files. They are kept in a temporary file, so
// that memory does not grow with the number of rows.
class WantedNames {
 public:
  struct Row {
    uint64_t line, row;
    std::string file;
  };
  using TakePair = std::function<void(const Row& loser, const Row& holder, bool is_written)>;

  WantedNames() { sqlite3_open("", &database_); }
  WantedNames(const WantedNames&) = delete;
  WantedNames& operator=(const WantedNames&) = delete;
  ~WantedNames() { sqlite3_close(database_); }

  bool Create() {
    return Execute(
        "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN;"
        "CREATE TABLE wanted(name TEXT, shard INTEGER, written INTEGER, line INTEGER, row INTEGER, file TEXT,"
        " PRIMARY KEY(name, shard)) WITHOUT ROWID");
  }

  // Adds the entries that the shard has recorded in the folder; of several with the same name, the last one is kept.
  // Sets whether the shard has a record there.
  bool Add(const std::string& folder, const Shard& shard, bool* is_there) {
    const std::vector<std::string> files = ShardRecord::FilesOf(folder, shard);
    *is_there = !files.empty();
    Statement add(database_, "INSERT OR REPLACE INTO wanted VALUES(?, ?, ?, ?, ?, ?)");
    for (const std::string& file : files) {
      const bool read = ShardRecord::Read(file, [&](const ShardRecord::Entry& entry) {
        const Chaine name = FoldFileName(entry.name);
        const uint64_t written = entry.state == Ledger::State::kNamed ? 0 : 1;
        add.Restart().Bind(name).Bind(uint64_t{shard.index}).Bind(written);
        return add.Bind(entry.line).Bind(entry.row).Bind(entry.name).Run();
      });
      if (!read) return false;
    }
    return true;
  }

  // Calls `take` for each row whose file name another row has already.
  void ForEachPair(const TakePair& take) {
    Statement pairs(database_,
                    "SELECT name, written, line, row, file FROM wanted WHERE name IN"
                    " (SELECT name FROM wanted GROUP BY name HAVING count(*) > 1) ORDER BY name, written DESC, row");
    std::string name;
    Row holder;
    while (pairs.Next()) {
      const Row row{pairs.Number(2), pairs.Number(3), pairs.Text(4)};
      if (pairs.Text(0) == name) {
        take(row, holder, pairs.Number(1) != 0);
      } else {
        name = pairs.Text(0);
        holder = row;
      }
    }
  }

 private:
  bool Execute(const char* sql) { return sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

  sqlite3* database_ = nullptr;
};

class ShardMerger {
 public:
  explicit ShardMerger(const BatchOptions& options) : options_(options), console_(options.folder) {}

  int Run() {
    for (const std::string& path : options_.merged_reports) {
      if (!ReadReport(path)) return kFailed;
    }
    CheckAllAreThere();
    CheckResults();
    if (!JoinNames()) {
      console_.Fail("the records of the shards cannot be read, or a temporary file cannot be written");
      status_ = kTrouble;
    }
    const int said = console_.Finish();
    if (status_ == kDone) status_ = said;
    return WriteReport() ? status_ : kTrouble;
  }

 private:
  bool ReadReport(const std::string& path);
  bool Take(const std::string& path, Json& report);
  void CheckAllAreThere();
  void CheckResults();
  bool JoinNames();
  void FailRow(const WantedNames::Row& loser, const WantedNames::Row& holder, bool is_written);
  bool WriteReport();
  // Keeps the most serious status: trouble, then failure, then warnings.
  void Raise(int status) {
    const auto rank = [](int one) {
      return one == kTrouble ? 3 : one == kFailed ? 2 : one == kDoneWithWarnings ? 1 : 0;
    };
    if (rank(status) > rank(status_)) status_ = status;
  }

  const BatchOptions& options_;
  Console console_;
  int status_ = kDone;
  Json head_;  // the members that are the same in all reports
  uint32_t count_ = 0;
  std::map<uint32_t, Json> shards_;
  std::map<uint64_t, Json> failures_;  // by row
  std::map<uint64_t, std::vector<Json>> warnings_;
  std::map<std::string, uint64_t> totals_;
};

bool ShardMerger::ReadReport(const std::string& path) {
  Chaine text;
  std::string error;
  if (!ReadFile(path, &text, &error)) {
    Console(path).Fail("the report cannot be read: " + error);
    return false;
  }
  Json report = Json::parse(text.View(), nullptr, false);
  // Catches exceptions, because a report that was edited by hand may have values of wrong types.
  try {
    if (report.is_object() && report.contains("shard")) return Take(path, report);
  } catch (const Json::exception&) {
  }
  Console(path).Fail("the file is damaged, or is not the report of a batch with --shard");
  return false;
}

bool ShardMerger::Take(const std::string& path, Json& report) {
  Shard shard;
  Json head;
  for (const char* key : {"form", "data"}) head[key] = report.at(key);
  if (report.contains("query")) head["query"] = report.at("query");
  if (!shard.Parse(report.at("shard").get<std::string>()) || (count_ > 0 && (count_ != shard.count || head_ != head))) {
    Console(path).Fail(
        "the report belongs to another batch: its form, data, query or number of shards differs "
        "from that of the first report");
    return false;
  }
  count_ = shard.count;
  head_ = head;
  if (shards_.contains(shard.index)) {
    Console(path).Fail("there are two reports of shard " + shard.Name(" of "));
    return false;
  }
  Json& summary = shards_[shard.index];
  summary["shard"] = shard.Text();
  for (const char* key : kCounts) {
    totals_[key] += report.at(key).get<uint64_t>();
    summary[key] = report.at(key);
  }
  for (const char* key : {"stopped", "status", "jobs", "seconds"}) summary[key] = report.at(key);
  if (report.contains("result")) summary["result"] = report.at("result");
  for (const Json& failure : report.at("failures")) failures_[failure.at("row").get<uint64_t>()] = failure;
  for (const Json& warning : report.at("warnings")) warnings_[warning.at("row").get<uint64_t>()].push_back(warning);
  const bool stopped = report.at("stopped").get<bool>();
  if (stopped) console_.Warn("shard " + shard.Name(" of ") + " was stopped before its last row");
  const int status = report.at("status").get<int>();
  Raise(status == kDone || status == kDoneWithWarnings || status == kFailed ? status : kTrouble);
  return true;
}

void ShardMerger::CheckAllAreThere() {
  for (uint32_t index = 1; index <= count_; index++) {
    if (shards_.contains(index)) continue;
    console_.Warn("shard " + Shard{index, count_}.Name(" of ") + " has no report");
    Raise(kTrouble);
  }
}

// Warns when the query gave different rows to the shards, or the same rows in different orders: then some rows were
// left out or filled twice.
void ShardMerger::CheckResults() {
  const auto& [first, summary] = *shards_.begin();
  for (const auto& [index, other] : shards_) {
    if (!summary.contains("result") || !other.contains("result") || other["result"] == summary["result"]) continue;
    console_.Warn("shards " + std::to_string(first) + " and " + Shard{index, count_}.Name(" of ") +
                  " read different rows: the data changed, or ORDER BY does not fix the order of all rows; fill "
                  "all shards again, into a new folder");
  }
}

bool ShardMerger::JoinNames() {
  if (options_.folder == kStandardStream) return true;
  WantedNames names;
  bool is_read = names.Create();
  for (uint32_t index = 1; index <= count_ && is_read; index++) {
    bool is_there = false;
    is_read = names.Add(options_.folder, {index, count_}, &is_there);
    if (is_there || !shards_.contains(index)) continue;
    console_.Warn("the folder has no record of shard " + Shard{index, count_}.Name(" of ") +
                  ": its file names were not compared with those of the other shards");
  }
  if (is_read) names.ForEachPair([this](const auto&... row) { FailRow(row...); });
  return is_read;
}

// Reports that a row failed because another row has its file name. When the contents of the two files differed, the row
// has failed already. When they were the same (`is_written`), the shard of this row found the other row's file,
// regarded it as its own, and counted the row as filled. This is corrected here.
void ShardMerger::FailRow(const WantedNames::Row& loser, const WantedNames::Row& holder, bool is_written) {
  const std::string unit = head_.contains("query") ? "row " : "line ";
  const std::string what =
      "the file name \"" + loser.file + "\" is already used by " + unit + std::to_string(holder.line);
  console_.Warn(unit + std::to_string(loser.line) + ": " + what);
  if (is_written) {
    totals_[totals_["filled"] > 0 ? "filled" : "filled_before"]--;
    totals_["failed"]++;
  }
  failures_[loser.row] = {{"line", loser.line}, {"row", loser.row}, {"file", loser.file}, {"message", what}};
  Raise(kDoneWithWarnings);
}

bool ShardMerger::WriteReport() {
  Json report;
  report["failures"] = Json::array();
  for (auto& [row, failure] : failures_) report["failures"].push_back(std::move(failure));
  for (const auto& [key, value] : head_.items()) report[key] = value;
  report["out"] = options_.folder;
  for (const char* key : kCounts) report[key] = totals_[key];
  report["warnings"] = Json::array();
  for (auto& [row, warnings] : warnings_) {
    for (Json& warning : warnings) report["warnings"].push_back(std::move(warning));
  }
  report["shards"] = Json::array();
  for (auto& [index, summary] : shards_) report["shards"].push_back(std::move(summary));
  report["status"] = status_;
  const std::string text = report.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
  Console console(options_.report);
  return WriteOutput(options_.report.empty() ? std::string(kStandardStream) : options_.report, Chaine(text), console);
}

}  // namespace

int MergeShardReports(const BatchOptions& options) { return ShardMerger(options).Run(); }

}  // namespace zforms::tool
