#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "zforms/platform/http/http_guard.h"
#include "zforms/platform/http/http_limits.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_response.h"

namespace zforms {

// What became of one request.
struct sHTTPRequestInfos {
  Chaine remote_address;
  Chaine method;                          // empty, as the path, when the request was refused before it was known
  ZInetURL url;                           // path and parameters
  int status = 0;                         // 0 when the connection ended within the body
  uint64_t bytes_received = 0;            // of the body
  uint64_t bytes_sent = 0;                // of the body
  std::chrono::microseconds duration{0};  // from the request's last byte to the answer's
  bool delivered = false;                 // false when the client had gone
  // Why it was refused, or what else its page says of it (ZHTTPServerPageSession::Refuse).
  Chaine reason;
};

// What the engine asks of the server that it works for.
class IHTTPEngineHost {
 public:
  virtual ~IHTTPEngineHost() = default;

  // Answers a request, on one of the worker threads.
  virtual std::unique_ptr<ZHTTPSendResponse> Answer(ZHTTPReadRequest& request) = 0;
  // The others run on the engine's own thread and must not wait.
  // Whether requests are to be turned away for now.
  virtual bool IsOverloaded() = 0;
  // A request was turned away by the judgement of its head.
  virtual void Refused(const HTTPVerdict& verdict, const ZHTTPReadRequest& request) = 0;
  virtual void Done(const sHTTPRequestInfos& infos) = 0;
};

// HTTPEngine moves the bytes: one thread of its own accepts connections, reads
// requests and sends answers, all without waiting on any client; complete
// requests go to worker threads. One thread calls its functions.
class HTTPEngine {
 public:
  // The host outlives the engine.
  HTTPEngine(const sHTTPServerLimits& limits, IHTTPEngineHost* host);
  ~HTTPEngine();

  // Binds 127.0.0.1 and, where the machine has it, ::1 to the port; 0 takes a free
  // one. Returns 0 or the system's error.
  int Open(uint16_t port);
  uint16_t Port() const;
  // Starts the threads. Precondition: open.
  void Run();
  // Accepts no more, and closes the connections that have no complete request.
  void CloseDoor();
  // Waits until no request is being answered, or the time is over; true for the former.
  bool WaitQuiet(std::chrono::milliseconds time);
  // Cuts all connections and lets the workers end; what is queued for them is dropped.
  void Cut();
  // Waits until the workers have ended, or the time is over; true for the former.
  bool WaitWorkers(std::chrono::milliseconds time);
  // Ends all threads. After Cut.
  void Join();
  // Whether the calling thread is one of the engine's.
  bool IsOwnThread() const;

 private:
  class Connection;
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace zforms
