#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/raw_http.h"
#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_response.h"
#include "zforms/platform/http/http_server.h"

namespace zforms {

// A server for tests, whose pages are functions.

class Call : public ZIdleMessage {
 public:
  explicit Call(std::function<void()> call) : call_(std::move(call)) {}
  void OnIdleMessage() override { call_(); }

 private:
  std::function<void()> call_;
};

// A request as the session received it; FunctionPage passes it to the function that answers.
struct Exchange {
  Chaine method;
  ZInetURL url;
  ZHTTPHeader header;
  Chaine body;
};

class FunctionPage : public ZHTTPServerPageBase {
 public:
  using Answer = std::function<int(const Exchange&, ZHTTPSendResponse&)>;
  FunctionPage(const Chaine& methods, Answer answer) : ZHTTPServerPageBase(methods), answer_(std::move(answer)) {}

  std::unique_ptr<CSessionBase> AllocSession() override { return std::make_unique<Session>(this); }

 private:
  class Session : public CSessionBase {
   public:
    explicit Session(const FunctionPage* page) : CSessionBase(page), page_(page) {}
    bool SetRequestHeader(const ZHTTPHeader& header) override {
      exchange_.header = header;
      return CSessionBase::SetRequestHeader(header);
    }
    bool SetFullRequest(ZHTTPReadRequest& request) override {
      exchange_.method = Method();
      exchange_.url = URL();
      exchange_.body = request.Body();
      return CSessionBase::SetFullRequest(request) && !URL().HasParam("deny");
    }
    void SendPage(ZHTTPSendResponse& response) override { SetStatus(page_->answer_(exchange_, response)); }

   private:
    const FunctionPage* page_;
    Exchange exchange_;
  };

  Answer answer_;
};

inline int SendText(ZHTTPSendResponse& response, const Chaine& text) {
  response.SetContentType("text/plain");
  response.BeginSend(text.size())->WriteAll(text);
  response.EndSend();
  return 200;
}

class TestServer : public ZHTTPServer {
 public:
  explicit TestServer(uint16_t port = 0) : ZHTTPServer(port) {
    sLimits limits;
    limits.header_bytes = 2000;
    limits.header_fields = 32;
    limits.body_bytes = 1000;
    SetLimits(limits);
    SetIdleMessages(&messages);
    SetRequestLog([this](const sRequestInfos& infos) {
      const std::lock_guard lock(mutex);
      log.push_back(infos);
    });
    AddPage("/app/echo/", "", [this](const Exchange& exchange, ZHTTPSendResponse& response) {
      served++;
      return SendText(response, exchange.method + " " + FormatLength(exchange.body));
    });
  }
  ~TestServer() override { Stop(); }

  void AddPage(const char* root, const char* methods, FunctionPage::Answer answer) {
    SetPageHandler(ZInetURL(root), new FunctionPage(methods, std::move(answer)), true);
  }
  template <class Change>
  void ChangeLimits(Change change) {
    sLimits limits = Limits();
    change(limits);
    SetLimits(limits);
  }
  std::string Host() const { return "Host: localhost:" + std::to_string(Port()) + "\r\n"; }
  std::string Get(const std::string& path) const { return "GET " + path + " HTTP/1.1\r\n" + Host() + "\r\n"; }
  std::string Post(const std::string& path, const std::string& body) const {
    return "POST " + path + " HTTP/1.1\r\n" + Host() + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
           body;
  }
  // Waits until this many requests are done.
  void AwaitLog(size_t count) {
    while (Log().size() < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::vector<sRequestInfos> Log() {
    const std::lock_guard lock(mutex);
    return log;
  }

  bool NotifyStart() override { return allowed; }
  void NotifyErrorStart(int error) override { start_error = error; }
  void NotifyIntrusion(const sIntrusionInfos& infos) override {
    EXPECT_EQ(std::this_thread::get_id(), host);
    intrusions.push_back(infos);
  }
  void NotifyStop() override { stops++; }

  static Chaine FormatLength(const Chaine& body) { return Chaine(std::to_string(body.size())); }

  ZIdleMessageManager messages;
  const std::thread::id host = std::this_thread::get_id();
  bool allowed = true;
  int start_error = 0;
  int stops = 0;
  std::vector<sIntrusionInfos> intrusions;
  std::atomic<int> served{0};
  std::mutex mutex;
  std::vector<sRequestInfos> log;
};

// Connects this many clients, each of which sends these bytes.
inline std::vector<std::unique_ptr<RawClient>> Clients(int count, TestServer& server, const std::string& bytes) {
  std::vector<std::unique_ptr<RawClient>> clients;
  while (count-- > 0) {
    clients.push_back(std::make_unique<RawClient>(server.Port()));
    clients.back()->Send(bytes);
  }
  return clients;
}

// Waits for the first answer of the server to any of the clients; returns its status and drops that client.
inline int Refused(TestServer& server, std::vector<std::unique_ptr<RawClient>>& clients, RawAnswer* whole = nullptr) {
  server.AwaitLog(1);
  for (auto client = clients.begin(); client != clients.end(); ++client) {
    const RawAnswer answer = (*client)->Receive(true, 0);
    if (answer.status == 0) continue;
    clients.erase(client);
    if (whole != nullptr) *whole = answer;
    return answer.status;
  }
  return 0;
}

// Adds a page "/wait", whose requests are not answered until the gate is opened.
struct Gate {
  std::promise<void> promise;
  std::shared_future<void> opened{promise.get_future()};
  std::atomic<int> waiting{0};

  void AddTo(TestServer& server) {
    server.AddPage("/wait", "", [this](const Exchange&, ZHTTPSendResponse& response) {
      waiting++;
      opened.wait();
      return SendText(response, "waited");
    });
  }
  void Await(int count) {
    while (waiting < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
};

}  // namespace zforms
