#include "tool/store/sqlite_store.h"

#include <charconv>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include "tool/base/statement.h"
#include "tool/store/sqlite_schema.h"
#include "tool/store/store_opening.h"
#include "zforms/platform/base/clock.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms::tool {
namespace {

namespace fs = std::filesystem;

constexpr char kFile[] = "zforms.db";
constexpr char kLockFile[] = "serving.lock";
// How long to wait, in milliseconds, while another process locks the database. The wait of a server is shorter, because
// it blocks the answers to all requests.
constexpr int kWaitForOthers = 10000;
constexpr int kServerWaitForOthers = 2000;
// After a wait that ended without success, further attempts during this time do not wait at all.
constexpr std::chrono::seconds kBusyTime(2);
// The clock's ticks are 100 ns.
constexpr uint64_t kTicksOfDay = uint64_t{24} * 3600 * 10'000'000;

// SQLite accepts UTF-8 paths on every system.
std::string PathIn(const std::string& folder, const char* name) { return folder + "/" + name; }

bool MakeFolder(const std::string& folder, std::string* error) {
  const fs::path path(std::u8string(folder.begin(), folder.end()));
  std::error_code code;
  // A new folder is accessible to its owner only; an existing folder keeps its permissions.
  if (fs::create_directories(path, code)) fs::permissions(path, fs::perms::owner_all, code);
  if (code) *error = code.message();
  return !code;
}

// The SQL function holds(text, wanted): true when the text contains `wanted`, in any letter case. `wanted` is
// case-folded already.
void Holds(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
  const auto text_of = [](sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return text == nullptr ? std::string_view()
                           : std::string_view(text, static_cast<size_t>(sqlite3_value_bytes(value)));
  };
  const Chaine folded = FoldCase(text_of(values[0]));
  sqlite3_result_int(context, folded.View().find(text_of(values[1])) == std::string_view::npos ? 0 : 1);
}

// The query for the submissions of a filter. Its parameters are ?1 the code, ?2 the number, ?3 the number before which
// they are, ?4 the case-folded text to search.
std::string QueryOf(const SubmissionFilter& filter) {
  const std::string table = filter.rejected ? "rejected" : "submissions";
  std::string sql = "SELECT id, received, code, \"transaction\", count, folder, year, url, ";
  sql += filter.brief ? "''" : "xfdf";
  sql += " FROM " + table + " WHERE (?1 = '' OR code = ?1) AND (?2 = 0 OR id = ?2) AND (?3 = 0 OR id < ?3) AND ";
  sql += "(?4 = '' OR holds(code, ?4) OR ";
  sql += filter.rejected ? "holds(xfdf, ?4))"
                         : "EXISTS (SELECT 1 FROM fields WHERE submission = submissions.id AND holds(value, ?4)))";
  if (filter.latest) sql += " AND id IN (SELECT max(id) FROM " + table + " GROUP BY \"transaction\")";
  return sql + (filter.newest_first ? " ORDER BY id DESC" : " ORDER BY id");
}

bool HasStore(const std::string& folder, std::string* error) {
  const std::string file = PathIn(folder, kFile);
  std::error_code code;
  if (fs::exists(fs::path(std::u8string(file.begin(), file.end())), code)) return true;
  *error = code ? code.message()
                : "there is no store in this folder: it has no file zforms.db, which \"zforms serve\" creates";
  return false;
}

}  // namespace

std::unique_ptr<SqliteStore> SqliteStore::Open(const std::string& folder, Mode mode, std::string* error) {
  std::unique_ptr<SqliteStore> store(new SqliteStore);
  if (mode == Mode::kRead && !HasStore(folder, error)) return nullptr;
  if (mode != Mode::kRead && !MakeFolder(folder, error)) return nullptr;
  return store->Connect(folder, mode, error) ? std::move(store) : nullptr;
}

SqliteStore::~SqliteStore() {
  Flush();
  statements_.clear();
  sqlite3_close(checkpointer_);
  sqlite3_close(database_);
  sqlite3_close(lock_);
}

bool SqliteStore::LockFolder(const std::string& folder, std::string* error) {
  // The system releases the lock when this process ends, even by a crash.
  const int made = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  const bool locked = sqlite3_open_v2(PathIn(folder, kLockFile).c_str(), &lock_, made, nullptr) == SQLITE_OK &&
                      sqlite3_exec(lock_, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) == SQLITE_OK;
  if (locked) return true;
  *error = sqlite3_errcode(lock_) == SQLITE_BUSY
               ? "another zforms program, such as a server, uses this data folder: end it first"
               : sqlite3_errmsg(lock_);
  return false;
}

bool SqliteStore::OpenFile(const std::string& file, int flags, std::string* error) {
  if (sqlite3_open_v2(file.c_str(), &database_, flags, nullptr) != SQLITE_OK) {
    *error = sqlite3_errmsg(database_);
    return false;
  }
  sqlite3_busy_timeout(database_, wait_);
  sqlite3_create_function(database_, "holds", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, Holds, nullptr, nullptr);
  return ReadSqliteVersion(database_, &version_, error);
}

bool SqliteStore::Connect(const std::string& folder, Mode mode, std::string* error) {
  if (mode == Mode::kServe && !LockFolder(folder, error)) return false;
  const std::string file = PathIn(folder, kFile);
  const int flags = mode == Mode::kRead ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  wait_ = mode == Mode::kServe ? kServerWaitForOthers : kWaitForOthers;
  if (!OpenFile(file, flags, error)) return false;
  if (mode == Mode::kRead) {
    if (version_ == 0) *error = "the file zforms.db in the folder is not a store of zforms";
    return version_ != 0;
  }
  // Makes the file private: it contains sessions and personal data. Files that SQLite creates beside it get the same
  // permissions.
  std::error_code ignored;
  fs::permissions(fs::path(std::u8string(file.begin(), file.end())), fs::perms::owner_read | fs::perms::owner_write,
                  ignored);
  if (!Execute("PRAGMA journal_mode = WAL") || !Execute("PRAGMA synchronous = FULL")) {
    *error = sqlite3_errmsg(database_);
    return false;
  }
  if (!PrepareSqliteTables(database_, 0, &version_, error)) return false;
  if (mode == Mode::kServe) {
    DropAllUnfinished();
    sqlite3_open_v2(file.c_str(), &checkpointer_, SQLITE_OPEN_READWRITE, nullptr);
  }
  return true;
}

bool SqliteStore::Upgrade(const std::string& folder, int* before, std::string* error) {
  SqliteStore store;
  store.wait_ = kWaitForOthers;
  const std::string file = PathIn(folder, kFile);
  if (!HasStore(folder, error)) return false;
  if (!store.LockFolder(folder, error) || !store.OpenFile(file, SQLITE_OPEN_READWRITE, error)) return false;
  *before = store.version_;
  return PrepareSqliteTables(store.database_, kStoreVersion, &store.version_, error);
}

std::string SqliteStore::LastError() const {
  const std::lock_guard lock(mutex_);
  return reason_.empty() ? sqlite3_errmsg(database_) : reason_;
}

bool SqliteStore::Execute(const char* sql) {
  return sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

Statement& SqliteStore::Get(const char* sql) {
  std::unique_ptr<Statement>& statement = statements_[sql];
  if (statement == nullptr) statement = std::make_unique<Statement>(database_, sql);
  return statement->Restart();
}

// --- forms ---

bool SqliteStore::InsertForm(const OpenedForm& form) {
  return Get("INSERT INTO forms VALUES(?, ?, ?, ?, ?, ?)")
      .Bind(form.transaction)
      .Bind(form.code)
      .Bind(form.token)
      .Bind(form.folder)
      .Bind(form.year)
      .Bind(form.expected)
      .Run();
}

Store::Added SqliteStore::AddForm(const OpenedForm& form) {
  const std::lock_guard lock(mutex_);
  FlushLocked();
  if (InsertForm(form)) return Added::kAdded;
  return sqlite3_errcode(database_) == SQLITE_CONSTRAINT ? Added::kTaken : Added::kFailure;
}

std::vector<OpenedForm> SqliteStore::Forms() {
  const std::lock_guard lock(mutex_);
  return FormsLocked();
}

std::vector<OpenedForm> SqliteStore::FormsLocked() {
  std::vector<OpenedForm> forms;
  Statement& rows = Get("SELECT \"transaction\", code, token, folder, year, expected FROM forms");
  while (rows.Next()) {
    forms.push_back({rows.Number(0), rows.Text(1), rows.Text(2), rows.Number(3), static_cast<uint32_t>(rows.Number(4)),
                     rows.Number(5)});
  }
  rows.Restart();
  return forms;
}

// The number of a transaction is the time at which its form was opened, by the clock of this machine.
bool SqliteStore::ExpireForms(uint32_t days, std::vector<uint64_t>* expired) {
  const uint64_t now = ZClock::System().Ticks();
  if (days >= now / kTicksOfDay) return true;
  const uint64_t before = now - days * kTicksOfDay;
  const std::lock_guard lock(mutex_);
  FlushLocked();
  Statement& rows = Get("SELECT \"transaction\" FROM forms WHERE \"transaction\" < ? AND expected = 0").Bind(before);
  while (rows.Next()) expired->push_back(rows.Number(0));
  rows.Restart();
  if (expired->empty()) return true;
  return Get("DELETE FROM forms WHERE \"transaction\" < ? AND expected = 0").Bind(before).Run();
}

bool SqliteStore::ReadYear(const char* sql, std::optional<int32_t>* year) {
  std::string text;
  if (!TextFor(Get(sql), &text)) return false;
  int64_t number = 0;
  const bool is_number = std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
  // Session infos store the year as 32 bits without sign.
  if (is_number) *year = static_cast<int32_t>(static_cast<uint32_t>(number));
  return true;
}

bool SqliteStore::Year(std::optional<int32_t>* year) {
  const std::lock_guard lock(mutex_);
  return ReadYear("SELECT value FROM settings WHERE name = 'year'", year) &&
         (*year || ReadYear("SELECT year FROM forms ORDER BY \"transaction\" DESC LIMIT 1", year));
}

bool SqliteStore::KeepYear(int32_t year) {
  const std::lock_guard lock(mutex_);
  FlushLocked();
  return Get("INSERT OR REPLACE INTO settings VALUES('year', ?)").Bind(std::to_string(year)).Run();
}

// --- submissions ---

bool SqliteStore::Add(const Submission& submission, bool accepted, Done done) {
  const std::lock_guard lock(mutex_);
  const bool is_first = batch_.empty();
  const bool begun = (!is_first || Begin()) && Execute("SAVEPOINT one");
  const bool added = begun && InsertSubmission(submission, accepted) && Execute("RELEASE one");
  if (added) {
    batch_.push_back(std::move(done));
    return is_first;
  }
  const std::string failure = sqlite3_errmsg(database_);
  if (begun) Execute("ROLLBACK TO one; RELEASE one");
  // After some failures, such as a full disk, SQLite has rolled back the transaction already.
  if (sqlite3_get_autocommit(database_) != 0) {
    EndBatch(failure.c_str());
  } else if (is_first) {
    Execute("ROLLBACK");
  }
  done(failure.c_str());
  return false;
}

// Begins a transaction. When another process locks the database for long, only the first attempt waits: so the waiting
// submissions fail together, not each after a wait of its own.
bool SqliteStore::Begin() {
  using Clock = std::chrono::steady_clock;
  sqlite3_busy_timeout(database_, Clock::now() < busy_until_ ? 0 : wait_);
  const bool begun = Execute("BEGIN IMMEDIATE");
  if (!begun && sqlite3_errcode(database_) == SQLITE_BUSY) busy_until_ = Clock::now() + kBusyTime;
  sqlite3_busy_timeout(database_, wait_);
  return begun;
}

void SqliteStore::Flush() {
  const std::lock_guard lock(mutex_);
  FlushLocked();
}

void SqliteStore::FlushLocked() {
  if (batch_.empty()) return;
  if (Execute("COMMIT")) return EndBatch(nullptr);
  const std::string failure = sqlite3_errmsg(database_);
  if (sqlite3_get_autocommit(database_) == 0) Execute("ROLLBACK");
  EndBatch(failure.c_str());
}

void SqliteStore::EndBatch(const char* failure) {
  for (const Done& done : batch_) done(failure);
  batch_.clear();
}

bool SqliteStore::InsertSubmission(const Submission& submission, bool accepted) {
  // An id of 0 means that a new one is assigned.
  constexpr char kAccepted[] =
      "INSERT INTO submissions(id, received, code, \"transaction\", count, folder, year, url, xfdf) "
      "VALUES(nullif(?, 0), ?, ?, ?, ?, ?, ?, ?, ?)";
  constexpr char kRejected[] =
      "INSERT INTO rejected(id, received, code, \"transaction\", count, folder, year, url, xfdf) "
      "VALUES(nullif(?, 0), ?, ?, ?, ?, ?, ?, ?, ?)";
  const bool added = Get(accepted ? kAccepted : kRejected)
                         .Bind(static_cast<uint64_t>(submission.id))
                         .Bind(submission.received)
                         .Bind(submission.code)
                         .Bind(submission.transaction)
                         .Bind(uint64_t{submission.count})
                         .Bind(submission.folder)
                         .Bind(uint64_t{submission.year})
                         .Bind(submission.url)
                         .Bind(submission.xfdf)
                         .Run();
  if (added && submission.staged && !Finish(submission.id, accepted)) return false;
  if (!added || !accepted) return added;
  const auto id = static_cast<uint64_t>(sqlite3_last_insert_rowid(database_));
  for (const auto& [name, value] : submission.fields) {
    if (!Get("INSERT OR REPLACE INTO fields VALUES(?, ?, ?)").Bind(id).Bind(name).Bind(value).Run()) return false;
  }
  return Get("UPDATE forms SET expected = max(expected, ?) WHERE \"transaction\" = ?")
      .Bind(uint64_t{submission.count} + 1)
      .Bind(submission.transaction)
      .Run();
}

// Gets the first column of the first row; leaves `text` unchanged when there is no row. False on failure.
bool SqliteStore::TextFor(Statement& query, std::string* text) {
  const bool found = query.Next();
  if (found) *text = query.Text(0);
  const bool done = found || query.IsDone();
  query.Restart();
  return done;
}

bool SqliteStore::LatestXFDF(uint64_t transaction, std::string* xfdf) {
  constexpr char kByNumber[] = "SELECT id, xfdf FROM submissions WHERE \"transaction\" = ? ORDER BY id DESC LIMIT 1";
  constexpr char kByCount[] = "SELECT id, xfdf FROM submissions WHERE \"transaction\" = ? ORDER BY count DESC LIMIT 1";
  const std::lock_guard lock(mutex_);
  FlushLocked();
  // Uses the query for which this version of the tables has an index.
  Statement& newest = Get(version_ < 2 ? kByNumber : kByCount).Bind(transaction);
  Submission found;
  if (newest.Next()) {
    found.id = static_cast<int64_t>(newest.Number(0));
    found.xfdf = newest.Text(1);
  }
  const bool done = found.id != 0 || newest.IsDone();
  newest.Restart();
  if (found.id != 0 && found.xfdf.empty()) ReadPieces(found.id, &found);
  *xfdf = found.xfdf;
  return done;
}

bool SqliteStore::StateOf(const std::string& code, FormState* state) {
  const std::lock_guard lock(mutex_);
  FlushLocked();
  return TextFor(Get("SELECT received FROM submissions WHERE code = ? ORDER BY id DESC LIMIT 1").Bind(code),
                 &state->accepted) &&
         TextFor(Get("SELECT received FROM rejected WHERE code = ? ORDER BY id DESC LIMIT 1").Bind(code),
                 &state->rejected);
}

bool SqliteStore::VisitSubmissions(const SubmissionFilter& filter,
                                   const std::function<bool(const Submission&)>& visit) {
  const std::lock_guard lock(mutex_);
  return VisitLocked(filter, visit);
}

bool SqliteStore::VisitLocked(const SubmissionFilter& filter, const std::function<bool(const Submission&)>& visit) {
  const std::string wanted = FoldCase(filter.search).ToString();
  Statement& rows = Get(QueryOf(filter).c_str())
                        .Bind(filter.code)
                        .Bind(static_cast<uint64_t>(filter.id))
                        .Bind(static_cast<uint64_t>(filter.before))
                        .Bind(wanted);
  bool goes_on = true;
  while (goes_on && rows.Next()) {
    Submission found{static_cast<int64_t>(rows.Number(0)),
                     rows.Text(1),
                     rows.Text(2),
                     rows.Number(3),
                     static_cast<uint32_t>(rows.Number(4)),
                     rows.Number(5),
                     static_cast<uint32_t>(rows.Number(6)),
                     rows.Text(7),
                     rows.Text(8),
                     {}};
    if (!filter.rejected) {
      Statement& fields = Get("SELECT name, value FROM fields WHERE submission = ? ORDER BY name")
                              .Bind(static_cast<uint64_t>(found.id));
      while (fields.Next()) found.fields.emplace_back(fields.Text(0), fields.Text(1));
    }
    if (found.xfdf.empty() && !filter.brief) ReadPieces(filter.rejected ? -found.id : found.id, &found);
    goes_on = visit(found);
  }
  const bool done = !goes_on || rows.IsDone();
  rows.Restart();
  return done;
}

// --- rubrics ---

bool SqliteStore::ReadRubrics(Rubrics* rubrics) {
  const std::lock_guard lock(mutex_);
  return ReadRubricsLocked(rubrics);
}

bool SqliteStore::ReadRubricsLocked(Rubrics* rubrics) {
  Statement& rows = Get("SELECT rubric, field, value FROM rubrics");
  while (rows.Next()) (*rubrics)[rows.Text(0)][rows.Text(1)] = rows.Text(2);
  const bool done = rows.IsDone();
  rows.Restart();
  return done;
}

bool SqliteStore::SetRubric(const std::string& rubric, const std::string& field, const std::string& value) {
  const std::lock_guard lock(mutex_);
  FlushLocked();
  return Get("INSERT OR REPLACE INTO rubrics VALUES(?, ?, ?)").Bind(rubric).Bind(field).Bind(value).Run();
}

}  // namespace zforms::tool
