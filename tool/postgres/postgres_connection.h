#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tool/postgres/libpq.h"

namespace zforms::tool {

using Deadline = std::chrono::steady_clock::time_point;

// The parameters of a statement, $1 and so on in the order in which they are added.
class PostgresParameters {
 public:
  // Adds a number as text, for a parameter of type bigint. Numbers from 2^63 on are passed as negative ones with the
  // same bits.
  PostgresParameters& Number(uint64_t number);
  PostgresParameters& Text(std::string_view text);
  // Adds any bytes, as type bytea.
  PostgresParameters& Bytes(std::string_view bytes);
  // Adds an array, as type bytea[].
  PostgresParameters& ByteArray(const std::vector<std::string_view>& items);

 private:
  friend class PostgresConnection;
  PostgresParameters& Add(std::string value, int format);
  std::vector<std::string> values_;
  std::vector<int> formats_;
};

// True when a failure with this code (SQLSTATE) is temporary, so that another try may succeed.
bool MayPass(std::string_view state);

// The result of one statement. Values are in binary form, except those of NextRow. Rows and columns count from 0.
class PostgresResult {
 public:
  PostgresResult() = default;
  PostgresResult(const Libpq* pq, PGresult* result) : pq_(pq), result_(result) {}
  PostgresResult(PostgresResult&& other) noexcept;
  PostgresResult& operator=(PostgresResult&& other) noexcept;
  ~PostgresResult();

  bool IsDone() const;
  // True when there is no result.
  bool IsEnd() const { return result_ == nullptr; }
  // The code of a failure (SQLSTATE), empty when there is none, and its text, without values of rows.
  std::string State() const;
  std::string Error() const;
  // At which character of the statement the failure is, from 1; 0 when unknown.
  size_t Position() const;
  // True when the result has columns. Precondition of the functions below.
  bool IsTable() const;
  int Rows() const;
  int Columns() const;
  std::string NameOf(int column) const;
  // The number of the type in the table pg_type.
  uint32_t TypeOf(int column) const;
  bool IsNull(int row, int column) const;
  // A value of type boolean, integer or bigint.
  uint64_t Number(int row, int column) const;
  // A value of type text or bytea.
  std::string Bytes(int row, int column) const;
  std::vector<std::string> ByteArray(int row, int column) const;
  std::string_view View(int row, int column) const;

 private:
  std::string Field(int which) const;
  const Libpq* pq_ = nullptr;
  PGresult* result_ = nullptr;
};

// One session with a database. Nothing waits longer than its deadline. One thread at a time.
class PostgresConnection {
 public:
  // Null, with a reason, when the database cannot be reached. `is_trouble` gets whether another try may succeed.
  static std::unique_ptr<PostgresConnection> Open(const Libpq& pq, const std::string& address, Deadline deadline,
                                                  std::string* error, bool* is_trouble = nullptr);
  PostgresConnection(const PostgresConnection&) = delete;
  PostgresConnection& operator=(const PostgresConnection&) = delete;
  ~PostgresConnection();

  // Runs statements without parameters; returns the result of the last one.
  PostgresResult Run(const std::string& sql, Deadline deadline);
  // Runs one statement. With `is_kept`, it is prepared at its first use and kept for further uses; `sql` must then be a
  // constant, whose address names the statement.
  PostgresResult Run(const char* sql, const PostgresParameters& parameters, Deadline deadline, bool is_kept = true);

  // Begins one statement without parameters, whose rows NextRow gives one at a time, as text.
  bool StartRows(const std::string& sql);
  enum class Step { kRow, kEnd, kError, kNotYet };
  // `row` gets the next row; at the end, a result with columns but no row; or the failure. Returns kNotYet when no row
  // arrives before the deadline: then call it again.
  Step NextRow(Deadline deadline, PostgresResult* row);

  // Waits for notifications and appends their payloads. False when the connection is lost.
  bool ReadNotifications(int milliseconds, std::vector<std::string>* payloads);

  // Checks a connection that was idle: false when the database has ended the session.
  bool IsAlive() const;
  // True when the last failure was the loss of the connection. It is then unknown whether the statement was executed.
  bool IsLost() const { return is_lost_; }
  std::string Error() const;

 private:
  PostgresConnection(const Libpq* pq, PGconn* connection) : pq_(pq), connection_(connection) {}
  bool Connect(Deadline deadline);
  PostgresResult Await(bool is_sent, Deadline deadline);
  bool NoteLoss(const PostgresResult& last, bool is_ready);
  bool ExplainFailure(std::string* error) const;
  bool Pump(Deadline deadline);
  std::string NameOf(const char* sql, int parameters, Deadline deadline);

  const Libpq* pq_;
  PGconn* connection_;
  bool is_lost_ = false;
  std::string timeout_;
  std::set<const char*> prepared_;
};

}  // namespace zforms::tool
