#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "zforms/platform/http/http_guard.h"
#include "zforms/platform/http/http_limits.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_response.h"

namespace zforms {

// The outcome of one request.
struct sHTTPRequestInfos {
  Chaine remote_address;
  Chaine method;                          // empty when the request was refused before its first line was read
  ZInetURL url;                           // path and parameters; empty in the same case
  int status = 0;                         // 0 when the connection ended before the body was complete
  uint64_t bytes_received = 0;            // bytes of the body
  uint64_t bytes_sent = 0;                // bytes of the body
  std::chrono::microseconds duration{0};  // from the last byte of the request to the last byte of the answer
  bool delivered = false;                 // false when the client had disconnected
  // Why the request was refused, or what its page reported (ZHTTPServerPageSession::Refuse).
  Chaine reason;
};

// The functions of the server that the engine calls.
class IHTTPEngineHost {
 public:
  virtual ~IHTTPEngineHost() = default;

  // Answers a request, on one of the worker threads.
  virtual std::unique_ptr<ZHTTPSendResponse> Answer(ZHTTPReadRequest& request) = 0;
  // This and the following functions are called on the engine's own thread and must not wait. True when requests must
  // be refused for now.
  virtual bool IsOverloaded() = 0;
  // Reports a request that was refused because of its header.
  virtual void Refused(const HTTPVerdict& verdict, const ZHTTPReadRequest& request) = 0;
  virtual void Done(const sHTTPRequestInfos& infos) = 0;
};

// HTTPEngine does the network input and output. Its own thread accepts connections, reads requests and sends answers,
// and never waits for a single client. Complete requests are answered by worker threads. The owner calls the functions
// of this class from one thread.
class HTTPEngine {
 public:
  // The host must outlive the engine.
  HTTPEngine(const sHTTPServerLimits& limits, IHTTPEngineHost* host);
  ~HTTPEngine();

  // Binds 127.0.0.1 and, if the machine supports it, ::1 to the port; 0 chooses a free one. Returns 0 or the system's
  // error.
  int Open(uint16_t port);
  // Call it in place of Open: takes over a socket that already listens. May be called for several sockets with the same
  // port. Returns 0 or the system's error; EINVAL when the socket does not listen on 127.0.0.1 or ::1.
  int Adopt(uintptr_t socket);
  uint16_t Port() const;
  // Starts the threads. Precondition: Open or Adopt succeeded.
  void Run();
  // Stops accepting, and closes the connections that have no complete request.
  void CloseDoor();
  // Waits until no request is being answered, at most for `time`; true when none is.
  bool WaitQuiet(std::chrono::milliseconds time);
  // Closes all connections and tells the workers to end; queued requests are dropped.
  void Cut();
  // Waits until the workers have ended, at most for `time`; true when they have.
  bool WaitWorkers(std::chrono::milliseconds time);
  // Ends all threads. Call it after Cut.
  void Join();
  // True when the calling thread is one of the engine's.
  bool IsOwnThread() const;

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace zforms
