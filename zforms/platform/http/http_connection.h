#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

#include "zforms/platform/base/worker_pool.h"
#include "zforms/platform/http/http_engine.h"
#include "zforms/platform/http/http_request_reader.h"

namespace zforms {

class HTTPConnection;

// What the connections of an engine share. The members belong to the engine's thread unless noted otherwise.
struct HTTPConnectionShare {
  HTTPConnectionShare(const sHTTPServerLimits& wanted, IHTTPEngineHost* owner)
      : limits(wanted), host(owner), pool(wanted.threads, wanted.queue, wanted.body_bytes) {}

  // Changes the number of requests that are being answered.
  void AddBusy(int change);

  const sHTTPServerLimits limits;
  IHTTPEngineHost* const host;
  uint16_t port = 0;
  boost::asio::io_context io;
  std::unordered_set<std::shared_ptr<HTTPConnection>> connections;
  uint64_t pending_body_bytes = 0;
  // True once the server ends; any thread may read it.
  std::atomic<bool> draining{false};
  WorkerPool pool;

  // Protects the members below, which are shared with the thread that waits for the end.
  std::mutex mutex;
  std::condition_variable quiet;
  int busy = 0;
  bool door_closed = false;
};

// One client of the server, on the engine's thread: reads its requests, has them answered by a worker and sends the
// answers. Kept alive by the set of connections and by a pending read, write or worker.
class HTTPConnection : public std::enable_shared_from_this<HTTPConnection> {
 public:
  enum class Phase { eIdle, eReading, eWorking, eSending, eLingering, eClosed };

  using Clock = std::chrono::steady_clock;

  HTTPConnection(HTTPConnectionShare& share, boost::asio::ip::tcp::socket socket);

  void Start();
  // Sends an error and ends the connection; the reason goes to the log.
  void Refuse(int status, const char* reason);
  void Close();
  void CheckDeadline(Clock::time_point now);
  Phase GetPhase() const { return phase_; }
  // When the phase began, or when the client last accepted bytes of the answer.
  Clock::time_point Since() const { return since_; }

 private:
  struct Waiting;

  void Enter(Phase phase, Clock::duration time);
  bool IsBusy() const { return phase_ == Phase::eWorking || phase_ == Phase::eSending; }
  void NextRequest();
  void Read();
  void OnRead(const boost::system::error_code& error, size_t count);
  void TakeBytes();
  void OnBody();
  void SendContinue();
  void Dispatch();
  // Runs on a worker thread.
  void Work(ZHTTPReadRequest& request, bool keep);
  void Send(std::unique_ptr<ZHTTPSendResponse> response, const Chaine& head, bool with_body, bool keep);
  void OnSent(const boost::system::error_code& error);
  void Linger();
  void CountBody(uint64_t bytes);
  void LogBroken();

  HTTPConnectionShare& share_;
  boost::asio::ip::tcp::socket socket_;
  std::vector<char> buffer_;
  size_t filled_ = 0;
  std::unique_ptr<HTTPRequestReader> reader_;
  Phase phase_ = Phase::eIdle;
  Clock::time_point since_;
  Clock::time_point deadline_ = Clock::time_point::max();
  Chaine remote_;
  bool in_read_ = false;
  bool in_body_ = false;
  uint64_t body_bytes_ = 0;  // the bytes that this connection adds to pending_body_bytes
  bool is_heavy_ = false;    // true when the request that is being answered has a long body

  // The answer that is being sent, and facts about its request.
  std::unique_ptr<ZHTTPSendResponse> response_;
  Chaine head_;
  bool with_body_ = true;
  bool keep_ = false;
  sHTTPRequestInfos infos_;
  Clock::time_point received_;
};

}  // namespace zforms
