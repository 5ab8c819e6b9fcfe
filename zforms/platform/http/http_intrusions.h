#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_guard.h"

namespace zforms {

class ZHTTPServer;
class ZHTTPReadRequest;
class ZIdleMessageManager;

// A request that was turned away, and how often. Texts are as the client sent
// them, cut at 256 bytes.
struct ZFORMS_API sHTTPIntrusionInfos {
  eHTTPIntrusion reason = eHTTPIntrusion::eNone;
  int status = 0;
  Chaine remote_address;
  Chaine method;
  Chaine path;  // without parameters
  Chaine host;
  Chaine origin;
  // How many such requests came since the last report.
  uint64_t count = 1;
};

// HTTPIntrusions carries reports from any thread to the host's, where each kind
// is told once however many there were: at most one message waits in the idle
// loop. The messages and the server share it.
class HTTPIntrusions : public std::enable_shared_from_this<HTTPIntrusions> {
 public:
  explicit HTTPIntrusions(ZHTTPServer* server) : server_(server) {}

  void Report(const HTTPVerdict& verdict, const ZHTTPReadRequest& request, ZIdleMessageManager* messages);
  // Nothing is told any more; waits for a report that is just being told by another thread.
  void Detach();

 private:
  class Message;

  void Tell(ZIdleMessageManager* messages);
  void Announce(ZIdleMessageManager* messages);

  std::mutex mutex_;
  std::condition_variable told_;
  ZHTTPServer* server_;
  std::vector<sHTTPIntrusionInfos> infos_;
  bool posted_ = false;
  std::thread::id teller_;
};

}  // namespace zforms
