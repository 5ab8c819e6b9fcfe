#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <string_view>
#include <thread>
#include <utility>

#include "tool/base/statement.h"
#include "tool/store/sqlite_store.h"
#include "zforms/platform/text/characters.h"

// Storing of long submissions. SQLite has one writer at a time, which must wait for the disk; storing 30 MB at once
// would block all other threads. So the texts of a long submission are stored in advance, in steps. Its fields are
// stored under its future number. A text longer than a step is stored in several rows of "pieces" with the name of its
// field (an empty name for the XFDF), and the column for the text itself is left empty. The submission is stored last,
// so that it is not visible before it is complete. Until then its number is in "unfinished"; the server removes
// unfinished submissions when it starts.
namespace zforms::tool {
namespace {

// The approximate number of bytes written in one step.
constexpr size_t kStep = size_t{512} << 10;
// The number of steps after which a checkpoint is made: before the write-ahead log is so long that SQLite makes one by
// itself, which would block writers.
constexpr unsigned kStepsToCheckpoint = 4;
// The approximate size of a row without its texts, in bytes.
constexpr size_t kRow = 100;
// The pause between two steps, long enough for a waiting thread to get the store.
constexpr std::chrono::milliseconds kPause(1);

size_t SizeOf(const Submission& submission) {
  size_t size = submission.xfdf.size();
  for (const auto& [name, value] : submission.fields) size += name.size() + value.size() + kRow;
  return size;
}

// The number of a submission in "pieces" and "unfinished": negative for a rejected one, since the numbers of accepted
// and rejected submissions overlap.
int64_t KeyOf(int64_t id, bool accepted) { return accepted ? id : -id; }

}  // namespace

// Reserves the number of the next submission.
int64_t SqliteStore::Reserve(bool accepted) {
  const std::string_view table = accepted ? "submissions" : "rejected";
  Statement& raised = Get("UPDATE sqlite_sequence SET seq = seq + 1 WHERE name = ?").Bind(table);
  if (!raised.Run()) return 0;
  const bool is_first = sqlite3_changes(database_) == 0;
  if (is_first && !Get("INSERT INTO sqlite_sequence(name, seq) VALUES(?, 1)").Bind(table).Run()) return 0;
  Statement& number = Get("SELECT seq FROM sqlite_sequence WHERE name = ?").Bind(table);
  const auto id = number.Next() ? static_cast<int64_t>(number.Number(0)) : 0;
  number.Restart();
  const auto key = static_cast<uint64_t>(KeyOf(id, accepted));
  return id != 0 && Get("INSERT INTO unfinished VALUES(?)").Bind(key).Run() ? id : 0;
}

bool SqliteStore::Finish(int64_t id, bool accepted) {
  return Get("DELETE FROM unfinished WHERE submission = ?").Bind(static_cast<uint64_t>(KeyOf(id, accepted))).Run();
}

// Runs the step in a separate transaction, then lets other threads use the store.
bool SqliteStore::RunStep(const std::function<bool()>& step, std::string* failure) {
  {
    const std::lock_guard lock(mutex_);
    FlushLocked();
    if (!Begin() || !step() || !Execute("COMMIT")) {
      *failure = sqlite3_errmsg(database_);
      if (sqlite3_get_autocommit(database_) == 0) Execute("ROLLBACK");
      return false;
    }
  }
  if (++steps_ % kStepsToCheckpoint == 0) {
    sqlite3_wal_checkpoint_v2(checkpointer_, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  }
  std::this_thread::sleep_for(kPause);
  return true;
}

std::string SqliteStore::Stage(Submission* submission, bool accepted) {
  std::string failure;
  if (SizeOf(*submission) <= kStep) return failure;
  int64_t id = 0;
  if (!RunStep([&] { return (id = Reserve(accepted)) != 0; }, &failure)) return failure;
  const int64_t key = KeyOf(id, accepted);
  const auto number = static_cast<uint64_t>(key);
  const auto stage_text = [&](std::string_view name, std::string* text) {
    for (std::string_view rest = *text; !rest.empty();) {
      const std::string_view piece = rest.substr(0, SizeOfWholeCharacters(rest, kStep));
      const auto write = [&] {
        return Get("INSERT INTO pieces(submission, name, text) VALUES(?, ?, ?)")
            .Bind(number)
            .Bind(name)
            .Bind(piece)
            .Run();
      };
      if (!RunStep(write, &failure)) return false;
      rest.remove_prefix(piece.size());
    }
    text->clear();
    text->shrink_to_fit();
    return true;
  };
  bool done = stage_text({}, &submission->xfdf);
  for (auto& [name, value] : submission->fields) {
    if (!done || !accepted || name.empty() || value.size() <= kStep) continue;
    // When a name is repeated, its last field is used.
    const auto has_name = [&wanted = name](const auto& field) { return field.first == wanted; };
    const auto last = std::find_if(submission->fields.rbegin(), submission->fields.rend(), has_name);
    if (&last->second == &value) {
      done = stage_text(name, &value);
    } else {
      value.clear();
    }
  }
  auto next = submission->fields.begin();
  const auto write_rows = [&] {
    for (size_t size = 0; next != submission->fields.end() && size < kStep; ++next) {
      const auto& [name, value] = *next;
      if (!Get("INSERT OR REPLACE INTO fields VALUES(?, ?, ?)").Bind(number).Bind(name).Bind(value).Run()) return false;
      size += name.size() + value.size() + kRow;
    }
    return true;
  };
  while (done && accepted && next != submission->fields.end()) done = RunStep(write_rows, &failure);
  if (!done) {
    std::string ignored;
    RunStep([&] { return DropUnfinished(key); }, &ignored);
    return failure;
  }
  submission->fields.clear();
  submission->fields.shrink_to_fit();
  submission->id = id;
  submission->staged = true;
  return failure;
}

bool SqliteStore::DropUnfinished(int64_t key) {
  const auto number = static_cast<uint64_t>(key);
  return Get("DELETE FROM pieces WHERE submission = ?").Bind(number).Run() &&
         Get("DELETE FROM fields WHERE submission = ?").Bind(number).Run() &&
         Get("DELETE FROM unfinished WHERE submission = ?").Bind(number).Run();
}

// Removes the unfinished submissions that a killed server has left.
void SqliteStore::DropAllUnfinished() {
  std::vector<int64_t> keys;
  Statement& rows = Get("SELECT submission FROM unfinished");
  while (rows.Next()) keys.push_back(static_cast<int64_t>(rows.Number(0)));
  rows.Restart();
  for (const int64_t key : keys) DropUnfinished(key);
}

void SqliteStore::ReadPieces(int64_t key, Submission* submission) {
  Statement& rows =
      Get("SELECT name, text FROM pieces WHERE submission = ? ORDER BY id").Bind(static_cast<uint64_t>(key));
  while (rows.Next()) {
    const std::string name = rows.Text(0);
    const auto has_name = [&wanted = name](const auto& field) { return field.first == wanted; };
    const auto field = std::find_if(submission->fields.begin(), submission->fields.end(), has_name);
    if (name.empty()) submission->xfdf += rows.Text(1);
    if (!name.empty() && field != submission->fields.end()) field->second += rows.Text(1);
  }
  rows.Restart();
}

}  // namespace zforms::tool
