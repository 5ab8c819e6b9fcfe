#include "tool/store/postgres_pool.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "tool/store/postgres_schema.h"

namespace zforms::tool {
namespace {

using Clock = std::chrono::steady_clock;

// The pause between two attempts to reach a database that does not answer.
constexpr std::chrono::milliseconds kPause(100);

}  // namespace

PostgresPool::PostgresPool(const Libpq& pq, std::string address, size_t most, std::unique_ptr<PostgresConnection> first)
    : pq_(pq), address_(std::move(address)), most_(most) {
  idle_.push_back(std::move(first));
}

std::unique_ptr<PostgresConnection> PostgresPool::Take(Deadline deadline, std::string* error) {
  {
    std::unique_lock lock(mutex_);
    if (!given_.wait_until(lock, deadline, [this] { return taken_ < most_; })) {
      *error = "all connections of this program to the database are in use";
      return nullptr;
    }
    taken_++;
    while (!idle_.empty()) {
      std::unique_ptr<PostgresConnection> connection = std::move(idle_.back());
      idle_.pop_back();
      if (connection->IsAlive()) return connection;
    }
  }
  std::unique_ptr<PostgresConnection> connection = Connect(deadline, error);
  if (connection == nullptr) Give(nullptr);
  return connection;
}

std::unique_ptr<PostgresConnection> PostgresPool::Connect(Deadline deadline, std::string* error) {
  std::string first;
  for (;;) {
    std::string reason;
    std::unique_ptr<PostgresConnection> connection = ConnectToStore(pq_, address_, deadline, &reason);
    if (connection != nullptr) return connection;
    // Keeps the reason of the first attempt: the last one has little time, so it may fail only for that.
    if (first.empty()) first = reason;
    std::this_thread::sleep_until(std::min(deadline, Clock::now() + kPause));
    if (Clock::now() < deadline) continue;
    *error = first;
    return nullptr;
  }
}

void PostgresPool::Give(std::unique_ptr<PostgresConnection> connection) {
  std::vector<std::unique_ptr<PostgresConnection>> lost;
  {
    const std::lock_guard lock(mutex_);
    taken_--;
    if (connection != nullptr && connection->IsLost()) {
      lost = std::exchange(idle_, {});
    } else if (connection != nullptr) {
      idle_.push_back(std::move(connection));
    }
  }
  given_.notify_one();
}

bool PostgresPool::Run(Deadline deadline, const std::function<bool(PostgresConnection&)>& work, std::string* error) {
  for (;;) {
    std::unique_ptr<PostgresConnection> connection = Take(deadline, error);
    if (connection == nullptr) return false;
    const bool done = work(*connection);
    const bool is_lost = connection->IsLost();
    if (is_lost) *error = connection->Error();
    Give(std::move(connection));
    if (done || !is_lost || Clock::now() >= deadline) return done;
  }
}

}  // namespace zforms::tool
