#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tool/postgres/postgres_connection.h"

namespace zforms::tool {

// PostgresPool keeps some connections to one database for the threads of a server. After a loss it connects again by
// itself. Any thread may use it.
class PostgresPool {
 public:
  // Takes over a first connection.
  PostgresPool(const Libpq& pq, std::string address, size_t most, std::unique_ptr<PostgresConnection> first);

  // Null, with a reason, when no connection is available before the deadline.
  std::unique_ptr<PostgresConnection> Take(Deadline deadline, std::string* error);
  // A connection that is lost is closed, and the idle ones with it, since they are probably lost too.
  void Give(std::unique_ptr<PostgresConnection> connection);

  // Runs the work with a connection, again with another one when it is lost, until the deadline; so the work must do no
  // harm when it is done twice. The work returns false on failure. `error` gets the reason when there is no connection.
  bool Run(Deadline deadline, const std::function<bool(PostgresConnection&)>& work, std::string* error);

 private:
  std::unique_ptr<PostgresConnection> Connect(Deadline deadline, std::string* error);

  const Libpq& pq_;
  const std::string address_;
  const size_t most_;
  std::mutex mutex_;
  std::condition_variable given_;
  std::vector<std::unique_ptr<PostgresConnection>> idle_;
  size_t taken_ = 0;
};

}  // namespace zforms::tool
