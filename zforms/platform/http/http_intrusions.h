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

// A kind of refused request, and how many requests of this kind arrived. Texts are as sent by the client, cut at 256
// bytes.
struct ZFORMS_API sHTTPIntrusionInfos {
  eHTTPIntrusion reason = eHTTPIntrusion::eNone;
  int status = 0;
  Chaine remote_address;
  Chaine method;
  Chaine path;  // without parameters
  Chaine host;
  Chaine origin;
  // How many such requests arrived since the last report.
  uint64_t count = 1;
};

// HTTPIntrusions passes reports from any thread to the host's thread. Each kind is reported once with its count, and at
// most one message waits in the idle loop. Shared by the message and the server.
class HTTPIntrusions : public std::enable_shared_from_this<HTTPIntrusions> {
 public:
  explicit HTTPIntrusions(ZHTTPServer* server) : server_(server) {}

  void Report(const HTTPVerdict& verdict, const ZHTTPReadRequest& request, ZIdleMessageManager* messages);
  // Stops reporting. If another thread is delivering a report at this moment, waits until it has finished.
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
