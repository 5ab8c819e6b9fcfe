// Stopping a server: running requests end within limits, and no message is lost.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/http_test_server.h"
#include "tests/support/raw_http.h"
#include "zforms/platform/http/http_server.h"

namespace zforms {
namespace {

using std::chrono::milliseconds;

TEST(ZHTTPServer, StopLetsRunningRequestsFinish) {
  Gate gate;
  TestServer server;
  gate.AddTo(server);
  ASSERT_TRUE(server.Start());
  RawClient working(server.Port());
  working.Send(server.Get("/wait"));
  RawClient idle(server.Port());
  EXPECT_EQ(idle.Ask(server.Get("/app/echo/")).status, 200);
  RawClient partial(server.Port());
  partial.Send("GET /app");
  gate.Await(1);
  std::thread opener([&] {
    EXPECT_TRUE(idle.IsEnded());
    EXPECT_TRUE(partial.IsEnded());
    EXPECT_FALSE(RawClient(server.Port()).IsConnected());
    gate.promise.set_value();
  });
  server.Stop();
  opener.join();
  const RawAnswer answer = working.Receive();
  EXPECT_EQ(answer.body, "waited");
  EXPECT_NE(answer.head.find("Connection: close\r\n"), std::string::npos);
}

TEST(ZHTTPServer, StopCutsWhatTakesTooLong) {
  Gate gate;
  TestServer server;
  gate.AddTo(server);
  server.ChangeLimits([](auto& limits) {
    limits.stop_time = milliseconds(100);
    limits.threads = limits.queue = 1;
  });
  ASSERT_TRUE(server.Start());
  RawClient working(server.Port());
  working.Send(server.Get("/wait"));
  gate.Await(1);
  auto queued = Clients(2, server, server.Get("/app/echo/"));
  RawAnswer full;
  EXPECT_EQ(Refused(server, queued, &full), 503) << "one waits, so the other is too much";
  EXPECT_NE(full.head.find("Retry-After: 1\r\n"), std::string::npos);
  std::thread opener([&] {
    EXPECT_TRUE(working.IsEnded());
    EXPECT_EQ(queued[0]->Receive().status, 503);
    EXPECT_TRUE(queued[0]->IsEnded());
    gate.promise.set_value();
  });
  server.Stop();
  opener.join();
  EXPECT_EQ(server.served, 0) << "a request was served after its connection was cut";
  ASSERT_EQ(server.Log().size(), 3U);
  EXPECT_EQ(server.Log()[1].reason, "the server is stopping");
}

// A page may ask the host's thread for something while that thread stops the server.
TEST(ZHTTPServer, StopServesPagesThatWaitForTheHost) {
  TestServer server;
  std::atomic<bool> asked{false};
  server.AddPage("/ask", "GET", [&](const Exchange&, ZHTTPSendResponse& response) {
    std::promise<void> told;
    const ZCountedPtr<Call> message(new Call([&told] { told.set_value(); }));
    server.messages.Post(message.get());
    asked = true;
    told.get_future().wait();
    return SendText(response, "told");
  });
  ASSERT_TRUE(server.Start());
  RawClient client(server.Port());
  client.Send(server.Get("/ask"));
  while (!asked) std::this_thread::sleep_for(milliseconds(1));
  server.Stop();
  EXPECT_EQ(client.Receive().body, "told");
}

}  // namespace
}  // namespace zforms
