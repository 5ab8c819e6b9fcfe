#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "tool/postgres/libpq.h"

namespace zforms::tool {

class PostgresConnection;

// PostgresListener tells the other servers of a store what this one changed, and hears what they changed (LISTEN and
// NOTIFY), with a connection and a thread of its own. A submission is not told in its own transaction, because the
// database commits transactions with NOTIFY one after the other; it is told up to 100 ms later. Any thread may use it.
class PostgresListener {
 public:
  enum Kind : uint8_t { kStates, kRubrics };

  PostgresListener(const Libpq& pq, std::string address);
  PostgresListener(const PostgresListener&) = delete;
  PostgresListener& operator=(const PostgresListener&) = delete;
  ~PostgresListener();

  // A counter of changes. Data read after a call is current as long as further calls return the same number. 0 while
  // the connection is lost: then nothing may be cached.
  uint64_t News(Kind kind) const;
  // Tells the other servers that this one has changed something.
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
