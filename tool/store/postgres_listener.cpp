#include "tool/store/postgres_listener.h"

#include <chrono>
#include <memory>
#include <utility>
#include <vector>

#include "tool/store/postgres_schema.h"

namespace zforms::tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kAnswerTime(2);
constexpr int kListenTime = 100;
constexpr std::chrono::milliseconds kPause(100);
constexpr const char* kPayloads[] = {"states", "rubrics"};

}  // namespace

PostgresListener::PostgresListener(const Libpq& pq, std::string address)
    : pq_(pq), address_(std::move(address)), thread_([this] { Run(); }) {}

PostgresListener::~PostgresListener() {
  stops_ = true;
  thread_.join();
}

uint64_t PostgresListener::News(Kind kind) const { return hears_ ? news_[kind].load() : 0; }

void PostgresListener::Tell(Kind kind) {
  news_[kind]++;
  untold_[kind] = true;
}

void PostgresListener::Run() {
  while (!stops_) {
    std::string ignored;
    const auto connection = ConnectToStore(pq_, address_, Clock::now() + kAnswerTime, &ignored);
    if (connection != nullptr) Listen(*connection);
    hears_ = false;
    for (std::atomic<uint64_t>& news : news_) news++;
    if (!stops_) std::this_thread::sleep_for(kPause);
  }
}

void PostgresListener::Listen(PostgresConnection& connection) {
  // A notification stores no data, so its commit need not wait for the disk.
  const std::string sql = "SET synchronous_commit = off; LISTEN zforms";
  if (!connection.Run(sql, Clock::now() + kAnswerTime).IsDone()) return;
  // From now on no notification is missed. Earlier ones may have been missed, so all data counts as changed.
  for (std::atomic<uint64_t>& news : news_) news++;
  hears_ = true;
  std::vector<std::string> heard;
  while (connection.ReadNotifications(kListenTime, &heard) && TellOthers(connection) && !stops_) {
    for (const std::string& payload : heard) {
      for (size_t kind = 0; kind < news_.size(); kind++) {
        if (payload == kPayloads[kind]) news_[kind]++;
      }
    }
    heard.clear();
  }
  // Announces the last changes of a server that stops.
  if (stops_ && !connection.IsLost()) TellOthers(connection);
}

bool PostgresListener::TellOthers(PostgresConnection& connection) {
  for (size_t kind = 0; kind < untold_.size(); kind++) {
    if (!untold_[kind].exchange(false)) continue;
    const std::string sql = std::string("NOTIFY zforms, '") + kPayloads[kind] + "'";
    if (connection.Run(sql, Clock::now() + kAnswerTime).IsDone()) continue;
    untold_[kind] = true;
    return false;
  }
  return true;
}

}  // namespace zforms::tool
