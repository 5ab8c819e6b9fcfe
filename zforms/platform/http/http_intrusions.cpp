#include "zforms/platform/http/http_intrusions.h"

#include <algorithm>
#include <utility>

#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_server.h"

namespace zforms {

namespace {

constexpr size_t kMaxText = 256;
constexpr size_t kMaxKinds = 16;

bool IsSameKind(const sHTTPIntrusionInfos& a, const sHTTPIntrusionInfos& b) {
  return a.reason == b.reason && a.path == b.path && a.host == b.host && a.origin == b.origin;
}

// Copies the text, so that a report does not keep a whole request in memory.
Chaine Cut(std::string_view text) { return Chaine(text.substr(0, kMaxText)); }

}  // namespace

class HTTPIntrusions::Message : public ZIdleMessage {
 public:
  Message(std::shared_ptr<HTTPIntrusions> intrusions, ZIdleMessageManager* messages)
      : intrusions_(std::move(intrusions)), messages_(messages) {}
  void OnIdleMessage() override { intrusions_->Tell(messages_); }

 private:
  std::shared_ptr<HTTPIntrusions> intrusions_;
  ZIdleMessageManager* messages_;
};

void HTTPIntrusions::Announce(ZIdleMessageManager* messages) {
  posted_ = true;
  const ZCountedPtr<Message> message(new Message(shared_from_this(), messages));
  messages->Post(message.get());
}

void HTTPIntrusions::Report(const HTTPVerdict& verdict, const ZHTTPReadRequest& request,
                            ZIdleMessageManager* messages) {
  sHTTPIntrusionInfos infos;
  infos.reason = verdict.intrusion;
  infos.status = verdict.status;
  infos.remote_address = request.RemoteAddress();
  infos.method = Cut(request.Method());
  infos.path = Cut(request.URL().Path());
  infos.host = Cut(request.Host());
  infos.origin = Cut(request.Header().Get("Origin"));
  const std::lock_guard lock(mutex_);
  if (server_ == nullptr) return;
  const auto same =
      std::find_if(infos_.begin(), infos_.end(), [&](const auto& other) { return IsSameKind(other, infos); });
  if (same != infos_.end()) {
    same->count++;
  } else if (infos_.size() < kMaxKinds) {
    infos_.push_back(infos);
  } else {
    // The list is full: counts the request with the last kind.
    infos_.back().count++;
  }
  if (!posted_) Announce(messages);
}

void HTTPIntrusions::Tell(ZIdleMessageManager* messages) {
  std::unique_lock lock(mutex_);
  const std::vector<sHTTPIntrusionInfos> infos = std::exchange(infos_, {});
  ZHTTPServer* const server = server_;
  teller_ = std::this_thread::get_id();
  lock.unlock();
  // Requests that arrive while the host handles this report go into the next one.
  for (size_t i = 0; server != nullptr && i < infos.size(); i++) server->NotifyIntrusion(infos[i]);
  lock.lock();
  teller_ = {};
  posted_ = false;
  if (!infos_.empty() && server_ != nullptr) Announce(messages);
  lock.unlock();
  told_.notify_all();
}

void HTTPIntrusions::Detach() {
  std::unique_lock lock(mutex_);
  server_ = nullptr;
  infos_.clear();
  told_.wait(lock, [this] { return teller_ == std::thread::id() || teller_ == std::this_thread::get_id(); });
}

}  // namespace zforms
