#include "zforms/platform/http/http_server.h"

#include <chrono>
#include <exception>
#include <utility>

#include "zforms/platform/base/idle_messages.h"

namespace zforms {

namespace {

using std::chrono::milliseconds;

// Calls the steps of the session; see ZHTTPServerPageSession.
void RunSession(ZHTTPServerPageSession* session, ZHTTPReadRequest& request, ZHTTPSendResponse* response) {
  const bool ready = session->SetURL(request.URL(), request.Method()) && session->SetRequestHeader(request.Header()) &&
                     session->SetFullRequest(request);
  if (!ready && !session->IsInError()) session->SetStatus(400);
  if (session->IsInError()) return session->SendError(*response);
  session->SendPage(*response);
  if (session->IsInError() && !response->HasBegun()) session->SendError(*response);
}

}  // namespace

// The functions of the server that the engine calls.
class ZHTTPServer::Host : public IHTTPEngineHost {
 public:
  explicit Host(ZHTTPServer* server) : server_(server) {}

  std::unique_ptr<ZHTTPSendResponse> Answer(ZHTTPReadRequest& request) override {
    auto response = std::make_unique<ZHTTPSendResponse>();
    // A page is the host's code. An exception from it fails this request only.
    Chaine failure = "the page gave an incomplete answer";
    try {
      Serve(request, response.get());
    } catch (const std::exception& error) {
      failure = Chaine("the page failed: ") + error.what();
      response = std::make_unique<ZHTTPSendResponse>();
    } catch (...) {
      failure = "the page failed with an exception of an unknown type";
      response = std::make_unique<ZHTTPSendResponse>();
    }
    const bool sound = response->IsComplete() && response->Status() >= 200 && response->Status() <= 599;
    if (!sound) {
      response = std::make_unique<ZHTTPSendResponse>();
      response->SetReason(failure);
      response->MakeErrorPage(500);
    }
    return response;
  }
  bool IsOverloaded() override { return server_->messages_->Pending() > server_->limits_.pending_messages; }
  void Refused(const HTTPVerdict& verdict, const ZHTTPReadRequest& request) override {
    if (verdict.intrusion != eHTTPIntrusion::eNone) {
      server_->intrusions_->Report(verdict, request, server_->messages_);
    }
  }
  void Done(const sHTTPRequestInfos& infos) override {
    if (server_->log_) server_->log_(infos);
  }

 private:
  void Serve(ZHTTPReadRequest& request, ZHTTPSendResponse* response) {
    std::unique_ptr<ZHTTPServerPageSession> session = server_->StartRequest(request.URL(), request.Method());
    if (session == nullptr) {
      Refused({404, eHTTPIntrusion::eNoPage}, request);
      return response->MakeErrorPage(404);
    }
    RunSession(session.get(), request, response);
    if (response->Status() == 200 && !session->IsInError()) response->SetStatus(session->Status());
    response->SetReason(session->Reason());
    // An error or another status without a body is a valid answer.
    if (!response->HasBegun() && response->Status() != 200) {
      response->BeginSend(0);
      response->EndSend();
    }
    server_->EndRequest(std::move(session));
  }

  ZHTTPServer* server_;
};

ZHTTPServer::ZHTTPServer(uint16_t port)
    : port_(port),
      messages_(&ZIdleMessageManager::Default()),
      intrusions_(std::make_shared<HTTPIntrusions>(this)),
      host_(std::make_unique<Host>(this)) {}

ZHTTPServer::~ZHTTPServer() {
  Stop();
  intrusions_->Detach();
}

// Opens the port, or adopts the listeners. Returns 0 or the system's error.
int ZHTTPServer::Open(HTTPEngine& engine) {
  if (listeners_.empty()) return engine.Open(Port());
  int error = 0;
  for (const uintptr_t socket : std::exchange(listeners_, {})) {
    const int found = engine.Adopt(socket);
    if (error == 0) error = found;
  }
  return error;
}

bool ZHTTPServer::Start() {
  if (IsRunning() || !NotifyStart()) return false;
  auto engine = std::make_unique<HTTPEngine>(limits_, host_.get());
  if (const int error = Open(*engine); error != 0) {
    NotifyErrorStart(error);
    return false;
  }
  port_ = engine->Port();
  engine_ = std::move(engine);
  engine_->Run();
  return true;
}

void ZHTTPServer::Stop() {
  if (!IsRunning() || engine_->IsOwnThread()) return;
  engine_->CloseDoor();
  WaitWhileServing([this](milliseconds time) { return engine_->WaitQuiet(time); }, limits_.stop_time);
  engine_->Cut();
  WaitWhileServing([this](milliseconds time) { return engine_->WaitWorkers(time); }, std::chrono::hours(24 * 365));
  engine_->Join();
  engine_.reset();
  messages_->Drain(limits_.stop_time);
  NotifyStop();
}

// Waits in slices and delivers messages in between: a page may wait for an answer of the host's thread, which is the
// thread that waits here.
void ZHTTPServer::WaitWhileServing(const std::function<bool(milliseconds)>& wait, milliseconds time) {
  constexpr milliseconds kSlice(10);
  const auto start = std::chrono::steady_clock::now();
  const bool delivers = messages_->IsHostThread();
  while (!wait(kSlice)) {
    if (delivers) messages_->RunPending();
    if (std::chrono::steady_clock::now() - start >= time) return;
  }
}

bool ZHTTPServer::NotifyStart() { return true; }

void ZHTTPServer::NotifyErrorStart(int) {}

void ZHTTPServer::NotifyIntrusion(const sIntrusionInfos&) {}

void ZHTTPServer::NotifyStop() {}

}  // namespace zforms
