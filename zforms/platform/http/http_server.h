#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_engine.h"
#include "zforms/platform/http/http_intrusions.h"
#include "zforms/platform/http/http_limits.h"
#include "zforms/platform/http/http_page.h"

namespace zforms {

class ZIdleMessageManager;

// ZHTTPServer serves pages to programs on the same machine: it listens on 127.0.0.1 and ::1 only, and answers only
// requests that are addressed to it by these names and do not come from a page of another site.
//
// The host's thread creates, starts, stops and deletes it. Pages answer on worker threads. A derived class must call
// Stop in its own destructor, since pages and notifications may run until then.
class ZFORMS_API ZHTTPServer : public ZHTTPServerPageNode {
 public:
  using sIntrusionInfos = sHTTPIntrusionInfos;
  using sRequestInfos = sHTTPRequestInfos;
  using sLimits = sHTTPServerLimits;
  using RequestLog = std::function<void(const sRequestInfos&)>;

  // Port 0 chooses a free port at the start. Starts no thread.
  explicit ZHTTPServer(uint16_t port);
  ~ZHTTPServer() override;

  // Calls NotifyStart, listens and starts the threads. False when NotifyStart refuses, when the server is running
  // already, or when the port or a listener is not available; in the last case NotifyErrorStart is called first.
  bool Start();
  // Stops the server. Accepts no more connections, waits up to sLimits::stop_time for running requests and then closes
  // their connections, waits for the pages that still run, and empties the idle loop, so that no message of an answered
  // request is left. If called on the host's thread, it delivers messages while it waits; another thread waits up to
  // stop_time for the host's thread to deliver them. Does nothing when the server is not running, or on a request's
  // thread.
  void Stop();
  bool IsRunning() const { return engine_ != nullptr; }

  // The port of the running or last run, which the next start uses again; before the first start, the port given to the
  // constructor.
  uint16_t Port() const { return port_.load(std::memory_order_relaxed); }

  // Set the following before the server starts, not while it runs.
  const sLimits& Limits() const { return limits_; }
  void SetLimits(const sLimits& limits) { limits_ = limits; }
  // Sets sockets that a service manager opened and that already listen on 127.0.0.1 or ::1, all with the same port. The
  // next start uses these sockets and opens no port; Stop closes them. Values are native handles.
  void SetListeners(std::vector<uintptr_t> sockets) { listeners_ = std::move(sockets); }
  // The log is called for every answered request, on one thread of the server, and must not wait.
  void SetRequestLog(RequestLog log) { log_ = std::move(log); }
  // The host's idle loop; by default the process's own.
  ZIdleMessageManager& IdleMessages() const { return *messages_; }
  void SetIdleMessages(ZIdleMessageManager* messages) { messages_ = messages; }

  // Called on the host's thread. Returns whether to start.
  virtual bool NotifyStart();
  // Called when the port is not available, with the system's error.
  virtual void NotifyErrorStart(int error);
  // Called through the idle loop when requests were refused.
  virtual void NotifyIntrusion(const sIntrusionInfos& infos);
  virtual void NotifyStop();

 private:
  class Host;

  int Open(HTTPEngine& engine);
  void WaitWhileServing(const std::function<bool(std::chrono::milliseconds)>& wait, std::chrono::milliseconds time);

  std::atomic<uint16_t> port_;
  sLimits limits_;
  std::vector<uintptr_t> listeners_;
  RequestLog log_;
  ZIdleMessageManager* messages_;
  std::shared_ptr<HTTPIntrusions> intrusions_;
  std::unique_ptr<Host> host_;
  std::unique_ptr<HTTPEngine> engine_;
};

}  // namespace zforms
