#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tool/postgres/postgres_connection.h"
#include "zforms/filling/row_reader.h"

namespace zforms::tool {

// PostgresRows reads the rows of a query, one after the other, in a transaction that cannot write. Only one row is in
// memory. Each value is read as text, as PostgreSQL casts it; a NULL is a missing value. One thread at a time.
class PostgresRows final : public RowReader {
 public:
  struct Fault {
    std::string what;
    bool is_trouble = false;  // another try may succeed
  };

  // Starts the query and waits for its first row; `is_asked_to_stop` ends the wait. Null with the fault when the
  // database cannot be reached, the query fails or its columns cannot feed fields.
  static std::unique_ptr<PostgresRows> Open(const std::string& address, const std::string& query,
                                            std::function<bool()> is_asked_to_stop, Fault* fault);

  bool Next(Row* row) override;
  RowNames Header() const override { return header_; }
  // True when reading failed for a temporary reason; see Failure().
  bool HasTrouble() const { return has_trouble_; }

 private:
  PostgresRows(std::unique_ptr<PostgresConnection> connection, const std::string& query, std::function<bool()> stop);

  void Start();
  void Fetch();
  bool Fail(const std::string& what, bool is_trouble);
  bool FailQuery();
  bool ReadHeader();
  void ReadCell(int column, Row* row) const;

  const std::unique_ptr<PostgresConnection> connection_;
  const std::string query_;
  const std::function<bool()> is_asked_to_stop_;
  RowNames header_;
  std::vector<uint32_t> types_;  // the types of the columns
  PostgresResult next_;          // the next row; without a row at the end
  uint64_t count_ = 0;
  bool has_trouble_ = false;
};

// True when the query contains the words ORDER BY.
bool OrdersRows(std::string_view query);

}  // namespace zforms::tool
