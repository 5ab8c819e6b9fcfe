#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tool/postgres/postgres_connection.h"

namespace zforms::tool {

// PostgresPool keeps up to `most` connections to one database for the threads of a server. After the loss of a
// connection it makes a new one. Any thread may use it.
class PostgresPool {
 public:
  // `first` is a connection that the pool takes over.
  PostgresPool(const Libpq& pq, std::string address, size_t most, std::unique_ptr<PostgresConnection> first);

  // Null, with a reason, when no connection is available before the deadline.
  std::unique_ptr<PostgresConnection> Take(Deadline deadline, std::string* error);
  // Returns a connection to the pool. When it is lost, closes it and the idle ones, since they are probably lost too.
  void Give(std::unique_ptr<PostgresConnection> connection);

  // Runs the work with a connection. When the work fails and the connection is lost, runs it again with another one,
  // until the deadline; so a repetition must do no harm. The work returns false on failure. `error` gets the reason
  // when there is no connection or it is lost.
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
