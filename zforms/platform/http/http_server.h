#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_engine.h"
#include "zforms/platform/http/http_intrusions.h"
#include "zforms/platform/http/http_limits.h"
#include "zforms/platform/http/http_page.h"

namespace zforms {

class ZIdleMessageManager;

// ZHTTPServer serves pages to programs on the same machine: it listens on
// 127.0.0.1 and ::1 only, and answers only requests that are addressed to it by
// those names and come from no other site's page.
//
// The host's thread makes, starts, stops and deletes it. Pages answer on worker
// threads. A class derived from it calls Stop in its own destructor, since pages
// and notifications may run until then.
class ZFORMS_API ZHTTPServer : public ZHTTPServerPageNode {
 public:
  using sIntrusionInfos = sHTTPIntrusionInfos;
  using sRequestInfos = sHTTPRequestInfos;
  using sLimits = sHTTPServerLimits;
  using RequestLog = std::function<void(const sRequestInfos&)>;

  // Port 0 takes a free one when the server starts. No thread is started yet.
  explicit ZHTTPServer(uint16_t port);
  ~ZHTTPServer() override;

  // Asks NotifyStart, listens and starts the threads. False when it is refused,
  // when it runs already, or when the port cannot be had, which NotifyErrorStart
  // is told first.
  bool Start();
  // Takes no more connections, gives the requests that run the time of
  // sLimits::stop_time and then cuts them, waits for the pages that still
  // work, and empties the idle loop, so that no message of an answered request
  // is left. Messages go on being delivered meanwhile when the host's thread
  // calls; another thread waits up to stop_time for the host's to deliver them.
  // Does nothing in a server that does not run, or on a request's thread.
  void Stop();
  bool IsRunning() const { return engine_ != nullptr; }

  // The port that is listened on, or was last, which the next start asks for again;
  // before the first start the one that was asked for.
  uint16_t Port() const { return port_.load(std::memory_order_relaxed); }

  // What follows is set before the server starts, and not while it runs.
  const sLimits& Limits() const { return limits_; }
  void SetLimits(const sLimits& limits) { limits_ = limits; }
  // Is told of every request once it is answered, on one thread of the server; must not wait.
  void SetRequestLog(RequestLog log) { log_ = std::move(log); }
  // The host's idle loop; the process's own one unless another is set.
  ZIdleMessageManager& IdleMessages() const { return *messages_; }
  void SetIdleMessages(ZIdleMessageManager* messages) { messages_ = messages; }

  // On the host's thread. Whether to start.
  virtual bool NotifyStart();
  // The port cannot be had; the system's error.
  virtual void NotifyErrorStart(int error);
  // Requests were turned away. Comes through the idle loop.
  virtual void NotifyIntrusion(const sIntrusionInfos& infos);
  virtual void NotifyStop();

 private:
  class Host;

  void WaitWhileServing(const std::function<bool(std::chrono::milliseconds)>& wait, std::chrono::milliseconds time);

  std::atomic<uint16_t> port_;
  sLimits limits_;
  RequestLog log_;
  ZIdleMessageManager* messages_;
  std::shared_ptr<HTTPIntrusions> intrusions_;
  std::unique_ptr<Host> host_;
  std::unique_ptr<HTTPEngine> engine_;
};

}  // namespace zforms
