#include "tool/store/sqlite_schema.h"

#include "tool/base/statement.h"
#include "tool/store/store.h"
#include "tool/store/store_opening.h"

namespace zforms::tool {
namespace {

// The tables that every version has.
constexpr char kTables[] = R"(
CREATE TABLE IF NOT EXISTS forms(
  "transaction" INTEGER PRIMARY KEY, code TEXT NOT NULL, token TEXT NOT NULL, folder INTEGER NOT NULL,
  year INTEGER NOT NULL, expected INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS submissions(
  id INTEGER PRIMARY KEY AUTOINCREMENT, received TEXT NOT NULL, code TEXT NOT NULL, "transaction" INTEGER NOT NULL,
  count INTEGER NOT NULL, folder INTEGER NOT NULL, year INTEGER NOT NULL, url TEXT NOT NULL, xfdf TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS submissions_by_code ON submissions(code);
CREATE TABLE IF NOT EXISTS fields(
  submission INTEGER NOT NULL REFERENCES submissions(id), name TEXT NOT NULL, value TEXT NOT NULL,
  PRIMARY KEY(submission, name)) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS rejected(
  id INTEGER PRIMARY KEY AUTOINCREMENT, received TEXT NOT NULL, code TEXT NOT NULL, "transaction" INTEGER NOT NULL,
  count INTEGER NOT NULL, folder INTEGER NOT NULL, year INTEGER NOT NULL, url TEXT NOT NULL, xfdf TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS rejected_by_code ON rejected(code);
CREATE TABLE IF NOT EXISTS pieces(
  id INTEGER PRIMARY KEY, submission INTEGER NOT NULL, name TEXT NOT NULL, text TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS pieces_by_submission ON pieces(submission);
CREATE TABLE IF NOT EXISTS unfinished(submission INTEGER PRIMARY KEY);
CREATE TABLE IF NOT EXISTS rubrics(
  rubric TEXT NOT NULL, field TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY(rubric, field)) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS settings(name TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
)";

// Each step upgrades the tables by one version.
constexpr const char* kSteps[] = {
    R"(CREATE INDEX submissions_by_transaction ON submissions("transaction"))",
    // Makes the database refuse a second submission with the same count in a transaction.
    R"(DROP INDEX submissions_by_transaction;
       CREATE UNIQUE INDEX submissions_once ON submissions("transaction", count))",
};
static_assert(std::size(kSteps) == kStoreVersion);

bool Execute(sqlite3* database, const std::string& sql) {
  return sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool Migrate(sqlite3* database, int from, int to) {
  if (!Execute(database, kTables)) return false;
  for (int step = from; step < to; step++) {
    if (!Execute(database, kSteps[step])) return false;
  }
  return from == to || Execute(database, "PRAGMA user_version = " + std::to_string(to));
}

}  // namespace

bool ReadSqliteVersion(sqlite3* database, int* version, std::string* error) {
  Statement stored(database, "PRAGMA user_version");
  Statement tables(database, "SELECT count(*) FROM sqlite_master WHERE name IN ('forms', 'submissions', 'fields')");
  if (!stored.Next() || !tables.Next()) {
    *error = sqlite3_errmsg(database);
    return false;
  }
  *version = static_cast<int>(stored.Number(0));
  if (tables.Number(0) != (*version == 0 ? 0 : 3)) {
    *error = "the file zforms.db in the folder is not a store of zforms";
    return false;
  }
  const std::string why = *version == 0 ? std::string() : WhyNotUsable(*version);
  if (!why.empty()) *error = why;
  return why.empty();
}

bool PrepareSqliteTables(sqlite3* database, int wanted, int* version, std::string* error) {
  int before = 0;
  bool done = Execute(database, "BEGIN IMMEDIATE");
  // Reads the version again, because another process may have created or upgraded the tables meanwhile.
  if (done && !ReadSqliteVersion(database, &before, error)) {
    Execute(database, "ROLLBACK");
    return false;
  }
  const int after = wanted != 0 ? wanted : before != 0 ? before : kStoreVersion;
  done = done && Migrate(database, before, after) && Execute(database, "COMMIT");
  if (done) {
    *version = after;
  } else {
    *error = sqlite3_errmsg(database);
    if (sqlite3_get_autocommit(database) == 0) Execute(database, "ROLLBACK");
  }
  return done;
}

}  // namespace zforms::tool
