#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "tool/postgres/libpq.h"

namespace zforms::tool {

class PostgresConnection;

// PostgresListener notifies the other servers of a store of changes by this one, and receives their notifications
// (LISTEN and NOTIFY). It has a connection and a thread of its own. A submission is announced up to 100 ms later, not
// in its own transaction, because the database commits transactions with NOTIFY one after the other. Any thread may use
// it.
class PostgresListener {
 public:
  enum Kind : uint8_t { kStates, kRubrics };

  PostgresListener(const Libpq& pq, std::string address);
  PostgresListener(const PostgresListener&) = delete;
  PostgresListener& operator=(const PostgresListener&) = delete;
  ~PostgresListener();

  // A counter of changes by any server. Data that is read after a call is up to date as long as further calls return
  // the same number. 0 while the connection is lost: then nothing may be cached.
  uint64_t News(Kind kind) const;
  // Counts a change by this server, and notifies the other servers of it.
  void Tell(Kind kind);

 private:
  void Run();
  void Listen(PostgresConnection& connection);
  bool TellOthers(PostgresConnection& connection);

  const Libpq& pq_;
  const std::string address_;
  std::atomic<bool> stops_ = false;
  std::atomic<bool> hears_ = false;
  std::array<std::atomic<uint64_t>, 2> news_ = {1, 1};
  std::array<std::atomic<bool>, 2> untold_ = {false, false};
  std::thread thread_;
};

}  // namespace zforms::tool
