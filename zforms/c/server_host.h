#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zforms/c/handle.h"
#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/host/host_services.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/xfdf_handler.h"
#include "zforms/zforms_server.h"

// A submission as the callback receives it.
struct zforms_submission {
  std::string code;
  std::string xfdf;
  std::vector<std::pair<std::string, std::string>> values;
};

namespace zforms::c {

// The server behind the C interface. A token in the session of a submission shows that this server opened the form.
// Each valid submission is passed to the callback on the thread of the request, one at a time.
//
// The thread of the owner starts, stops and deletes it. Another thread delivers the messages of the HTTP server.
class ServerHost {
 public:
  ServerHost(const std::string& folder, const std::string& app, uint16_t port);
  ServerHost(const ServerHost&) = delete;
  ServerHost& operator=(const ServerHost&) = delete;
  ~ServerHost();

  // Set these before the start.
  void SetCallback(zforms_submission_callback callback, void* user) { callback_ = callback, user_ = user; }
  void SetListener(const Listener& listener) { listener_ = listener; }
  bool HasCallback() const { return callback_ != nullptr; }

  bool Start(std::string* error);
  void Stop();
  bool IsRunning() const;
  uint16_t Port() const;

  // Opens the form with this code for a submission, filled with these values. False when there is no such form.
  bool Open(const std::string& code, const ZXFDF& values, ZXFDF* opened);
  // Makes the PDF file of a form that Open opened. False when the form cannot be filled.
  bool MakePDF(const std::string& code, const ZXFDF& opened, std::string* bytes) const;

 private:
  class Server;
  class Session;
  class Handler;

  bool IsOut(const ZXFDF::SessionInfos& infos) const;
  bool Submit(const ZXFDF& xfdf);
  void Tell(zforms_severity severity, const std::string& text) const;

  zforms_submission_callback callback_ = nullptr;
  void* user_ = nullptr;
  Listener listener_;
  std::mutex submitting_;  // one submission at a time
  mutable std::mutex telling_;
  mutable std::mutex mutex_;  // protects out_
  struct Out {
    std::string code;
    std::string token;
  };
  std::map<uint64_t, Out> out_;  // the forms that were opened, by transaction
  ZIdleMessageManager messages_;
  std::thread deliverer_;
  ZSystemServices system_;
  std::unique_ptr<Server> server_;
  Handler* handler_;  // owned by the server
};

}  // namespace zforms::c
