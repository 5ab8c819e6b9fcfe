#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace zforms::tool {

// A prepared statement of SQLite, which can be run many times. Parameters are bound in order. 64-bit numbers keep their
// bits: SQLite stores them as signed numbers. A statement that cannot be prepared returns no row, and its Run fails.
// One thread at a time.
class Statement {
 public:
  Statement(sqlite3* database, const char* sql) { sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement() { sqlite3_finalize(statement_); }

  // Resets the statement and its parameters.
  Statement& Restart() {
    sqlite3_reset(statement_);
    if (statement_ != nullptr) sqlite3_clear_bindings(statement_);
    next_ = 1;
    return *this;
  }
  Statement& Bind(uint64_t number) {
    sqlite3_bind_int64(statement_, next_++, static_cast<sqlite3_int64>(number));
    return *this;
  }
  // The text is not copied: it must stay valid until the statement has run.
  Statement& Bind(std::string_view text) {
    sqlite3_bind_text(statement_, next_++, text.data() == nullptr ? "" : text.data(), static_cast<int>(text.size()),
                      SQLITE_STATIC);
    return *this;
  }
  // Steps to the next row; false at the end.
  bool Next() { return statement_ != nullptr && (result_ = sqlite3_step(statement_)) == SQLITE_ROW; }
  // Runs to the end; false on failure. Releases the statement's locks.
  bool Run() {
    while (Next()) continue;
    const bool done = statement_ != nullptr && result_ == SQLITE_DONE;
    if (statement_ != nullptr) sqlite3_reset(statement_);
    return done;
  }
  bool IsDone() const { return result_ == SQLITE_DONE; }

  uint64_t Number(int column) const { return static_cast<uint64_t>(sqlite3_column_int64(statement_, column)); }
  std::string Text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return text == nullptr ? std::string()
                           : std::string(text, static_cast<size_t>(sqlite3_column_bytes(statement_, column)));
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
  int next_ = 1;
  int result_ = SQLITE_OK;
};

}  // namespace zforms::tool
