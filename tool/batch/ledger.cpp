#include "tool/batch/ledger.h"

#include <filesystem>

#include "tool/base/files.h"
#include "tool/base/statement.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms::tool {
namespace {

// The version of the tables below, stored in "user_version".
constexpr uint64_t kVersion = 4;

constexpr const char* kTables = R"(
CREATE TABLE job(job INTEGER NOT NULL, run INTEGER NOT NULL, since INTEGER NOT NULL);
CREATE TABLE names(
  name TEXT PRIMARY KEY, state INTEGER NOT NULL, content INTEGER NOT NULL, line INTEGER NOT NULL, run INTEGER NOT NULL)
  WITHOUT ROWID;
PRAGMA user_version = 4;
)";

Ledger::Claim ClaimOf(Ledger::State state) {
  switch (state) {
    case Ledger::State::kNamed: break;
    case Ledger::State::kPlacing: return Ledger::Claim::kStarted;
    case Ledger::State::kStale: return Ledger::Claim::kOurs;
    case Ledger::State::kWritten: return Ledger::Claim::kSame;
  }
  return Ledger::Claim::kNew;
}

}  // namespace

struct Ledger::Statements {
  explicit Statements(sqlite3* database)
      : find(database, "SELECT state, content, line, run FROM names WHERE name = ?"),
        enter(database,
              "INSERT INTO names VALUES(?, ?, ?, ?, ?) ON CONFLICT(name) DO UPDATE SET state = excluded.state, "
              "line = excluded.line, run = excluded.run"),
        restore(database, "INSERT OR REPLACE INTO names VALUES(?, ?, ?, ?, ?)"),
        mark(database, "UPDATE names SET state = ?, content = ? WHERE name = ?"),
        begin(database, "BEGIN"),
        commit(database, "COMMIT") {}

  Statement find, enter, restore, mark, begin, commit;
};

Ledger::Ledger() = default;

Ledger::~Ledger() { Close(); }

void Ledger::Close() {
  if (statements_ != nullptr) Commit();
  statements_.reset();
  sqlite3_close(database_);
  database_ = nullptr;
}

bool Ledger::Execute(const char* sql) { return sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

// Uses exclusive locking, which needs no shared memory: the folder is locked, so there are no other connections. When
// the process is killed, committed records remain; after a crash of the machine the last ones may be missing.
bool Ledger::OpenFile(const std::string& path, std::string* error) {
  Close();
  path_ = path;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  if (sqlite3_open_v2(path.c_str(), &database_, flags, nullptr) == SQLITE_OK &&
      Execute("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL")) {
    return true;
  }
  const int failure = sqlite3_errcode(database_);
  *error = failure == SQLITE_NOTADB || failure == SQLITE_CORRUPT
               ? "the record of the earlier batch, " + path + ", is damaged; --overwrite starts over"
               : "the record of the batch, " + path + ", cannot be opened: " + sqlite3_errmsg(database_);
  return false;
}

bool Ledger::MakeTables(uint64_t job) {
  job_ = job;
  run_ = 1;
  since_ = 0;
  const bool made = Execute("BEGIN") && Execute(kTables) &&
                    Statement(database_, "INSERT INTO job VALUES(?, ?, ?)").Bind(job_).Bind(run_).Bind(since_).Run() &&
                    Execute("COMMIT");
  if (made) statements_ = std::make_unique<Statements>(database_);
  return made;
}

bool Ledger::Create(const std::string& path, uint64_t job, std::string* error) {
  Close();
  std::error_code ignored;
  for (const char* suffix : {"", "-wal", "-journal"}) std::filesystem::remove(FilePath(path + suffix), ignored);
  if (!OpenFile(path, error)) return false;
  if (MakeTables(job)) return true;
  *error = "the record of the batch, " + path + ", cannot be written: " + sqlite3_errmsg(database_);
  return false;
}

bool Ledger::CreateTemporary(std::string* error) {
  Close();
  path_.clear();
  // An empty path makes SQLite create a temporary file, and delete it when the database is closed.
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  if (sqlite3_open_v2("", &database_, flags, nullptr) == SQLITE_OK &&
      Execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF") && MakeTables(0)) {
    return true;
  }
  *error = std::string("cannot create a file in the system's folder for temporary files: ") + sqlite3_errmsg(database_);
  return false;
}

bool Ledger::Restore(std::string_view name, State state, uint64_t content, uint64_t line) {
  const Chaine key = FoldFileName(name);
  constexpr uint64_t kEarlierRun = 0;
  Statement& restore = statements_->restore.Restart().Bind(key).Bind(static_cast<uint64_t>(state)).Bind(content);
  return Begin() && restore.Bind(line).Bind(kEarlierRun).Run();
}

bool Ledger::MarkAllStale() {
  constexpr auto kStale = static_cast<uint64_t>(State::kStale);
  return Statement(database_, "UPDATE names SET state = ? WHERE state > ?").Bind(kStale).Bind(kStale).Run();
}

// Checks the whole database, because damage must not make a row look finished.
bool Ledger::IsSound() {
  Statement check(database_, "PRAGMA quick_check(1)");
  return check.Next() && check.Text(0) == "ok";
}

bool Ledger::ReadJob() {
  Statement version(database_, "PRAGMA user_version");
  Statement job(database_, "SELECT job, run, since FROM job");
  if (!version.Next() || version.Number(0) != kVersion || !IsSound() || !job.Next()) return false;
  job_ = job.Number(0);
  run_ = job.Number(1);
  since_ = job.Number(2);
  return true;
}

bool Ledger::StartRun(uint64_t job, uint64_t since, std::string* error) {
  job_ = job;
  since_ = since;
  run_++;
  statements_ = std::make_unique<Statements>(database_);
  if (Statement(database_, "UPDATE job SET job = ?, run = ?, since = ?").Bind(job_).Bind(run_).Bind(since_).Run()) {
    return true;
  }
  *error = "the record of the batch, " + path_ + ", cannot be written: " + sqlite3_errmsg(database_);
  return false;
}

bool Ledger::Open(const std::string& path, uint64_t job, std::string* error) {
  if (!OpenFile(path, error)) return false;
  Statement tables(database_, "SELECT count(*) FROM sqlite_master");
  if (tables.Next() && tables.Number(0) == 0) {
    tables.Restart();
    if (MakeTables(job)) return true;
    *error = "the record of the batch, " + path + ", cannot be written: " + sqlite3_errmsg(database_);
    return false;
  }
  tables.Restart();
  if (!ReadJob()) {
    *error = "the record of the earlier batch, " + path +
             ", is damaged or was written by another version of zforms; --overwrite starts over";
    return false;
  }
  if (job_ != job) {
    *error =
        "the form, the maps, the file names or options such as --draw differ from those of the "
        "earlier batch; --overwrite starts over";
    return false;
  }
  return StartRun(job, since_, error);
}

bool Ledger::StartOver(const std::string& path, uint64_t job, std::string* error) {
  return OpenFile(path, error) && ReadJob() && StartRun(job, run_ + 1, error);
}

Ledger::Claim Ledger::Enter(std::string_view name, uint64_t content, uint64_t line, Holder* holder) {
  const Chaine key = FoldFileName(name);
  Statement& find = statements_->find.Restart().Bind(key);
  State state = State::kNamed;
  Claim claim = Claim::kNew;
  if (find.Next()) {
    state = static_cast<State>(find.Number(0) & 3);
    const uint64_t run = find.Number(3);
    *holder = {find.Number(2), find.Number(1)};
    if (run == run_) return Claim::kTaken;
    if (state == State::kWritten && (run < since_ || holder->print != content)) state = State::kStale;
    claim = ClaimOf(state);
  } else if (!find.IsDone()) {
    return Claim::kBroken;
  }
  find.Restart();
  Statement& enter = statements_->enter.Restart().Bind(key).Bind(static_cast<uint64_t>(state));
  const bool entered = Begin() && enter.Bind(holder->print).Bind(line).Bind(run_).Run();
  return entered && (claim == Claim::kNew || Commit()) ? claim : Claim::kBroken;
}

bool Ledger::Mark(std::string_view name, State state, uint64_t content) {
  const Chaine key = FoldFileName(name);
  Statement& mark = statements_->mark.Restart().Bind(static_cast<uint64_t>(state)).Bind(content).Bind(key);
  return Begin() && mark.Run() && sqlite3_changes(database_) == 1 && (state == State::kWritten || Commit());
}

bool Ledger::Begin() { return sqlite3_get_autocommit(database_) == 0 || statements_->begin.Run(); }

bool Ledger::Commit() { return sqlite3_get_autocommit(database_) != 0 || statements_->commit.Run(); }

}  // namespace zforms::tool
