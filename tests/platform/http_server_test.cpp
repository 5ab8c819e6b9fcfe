#include "zforms/platform/http/http_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/http_requests.h"
#include "tests/support/http_test_server.h"
#include "tests/support/raw_http.h"
#include "tests/support/raw_socket.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_response.h"

namespace zforms {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

TEST(ZHTTPServer, EveryRequestComesToItsStatus) {
  TestServer server;
  ASSERT_TRUE(server.Start());
  int expected_served = 0;
  for (const HTTPRequestCase& test : HTTPRequestCases()) {
    RawClient client(server.Port());
    ASSERT_TRUE(client.IsConnected());
    // After a refused request the server reads no other one, because the bytes may be the rest of the refused one.
    const bool goes_on = test.status == 200 || test.status == 404 || test.status == 405;
    const bool is_open = test.title.starts_with("endless");
    client.Send(WithPort(test.bytes, server.Port()) + (is_open ? "" : server.Get("/app/echo/")));
    const RawAnswer answer = client.Receive();
    EXPECT_EQ(answer.status, test.status) << test.title << "\n" << answer.head;
    EXPECT_EQ((answer.head + answer.body).find("zqx"), std::string::npos) << test.title << ": repeated";
    EXPECT_EQ(answer.head.find("Access-Control"), std::string::npos) << test.title;
    EXPECT_NE(answer.head.find("\r\nX-Content-Type-Options: nosniff\r\n"), std::string::npos) << test.title;
    EXPECT_NE(answer.head.find("\r\nCache-Control: no-store\r\n"), std::string::npos) << test.title;
    EXPECT_EQ(answer.head.find("\r\nAllow: GET, HEAD, POST\r\n") != std::string::npos, test.status == 405)
        << test.title;
    const bool keeps = answer.head.find("\r\nConnection: keep-alive\r\n") != std::string::npos;
    EXPECT_EQ(keeps, goes_on && test.title != "HTTP/1.0") << test.title;
    EXPECT_EQ(client.Receive().status, keeps ? 200 : 0) << test.title;
    EXPECT_EQ(client.IsEnded(0), !keeps) << test.title;
    expected_served += (test.status == 200) + keeps;
  }
  EXPECT_EQ(server.served, expected_served) << "a request within another one was answered";
}

TEST(ZHTTPServer, ServesByBothAddressesAndKeepsOrder) {
  TestServer server;
  server.AddPage("/app/echo/deep/", "GET", [](const Exchange& exchange, ZHTTPSendResponse& response) {
    response.SetHeader("Location", "/a\r\nSet-Cookie: b");
    response.SetHeader("X-Code", exchange.url.Param("code"));
    return SendText(response, "deep");
  });
  ASSERT_TRUE(server.Start());
  EXPECT_NE(server.Port(), 0);
  RawClient v6(server.Port(), true);
  EXPECT_EQ(v6.Ask(server.Get("/app/echo/")).body, "GET 0");
  RawClient client(server.Port());
  client.Send(server.Post("/app/echo/", "hello") + server.Get("/app/echo/deep") + server.Post("/app/echo/", "12"));
  EXPECT_EQ(client.Receive().body, "POST 5");
  EXPECT_EQ(client.Receive().body, "deep");
  EXPECT_EQ(client.Receive().body, "POST 2");
  // Decoded escapes of a URL never get into a header of the answer.
  const RawAnswer split = client.Ask(server.Get("/app/echo/deep/?code=a%0D%0ASet-Cookie:%20b"));
  EXPECT_EQ(split.status, 200);
  EXPECT_EQ(split.head.find("Set-Cookie"), std::string::npos);
  client.Send("HEAD /app/echo/deep HTTP/1.1\r\n" + server.Host() + "\r\n");
  const RawAnswer head = client.Receive(false);
  EXPECT_NE(head.head.find("Content-Length: 4\r\n"), std::string::npos) << head.head;
  EXPECT_EQ(client.Ask(server.Post("/app/echo/deep", "x")).status, 405);
  client.Send("POST /app/echo/ HTTP/1.1\r\n" + server.Host() + "Content-Length: 5\r\nExpect: 100-continue\r\n\r\n");
  EXPECT_EQ(client.Receive().status, 100);
  EXPECT_EQ(client.Ask("hello").body, "POST 5");
}

TEST(ZHTTPServer, WhatPagesDoWrongIsAnError) {
  TestServer server;
  const struct {
    const char* path;
    FunctionPage::Answer answer;
    int status;
  } kCases[] = {
      {"/nothing", [](const auto&, auto&) { return 200; }, 500},
      {"/short",
       [](const auto&, auto& response) { return response.BeginSend(5)->Write("x", 1), response.EndSend(), 200; }, 500},
      {"/open", [](const auto&, auto& response) { return response.BeginSend(1)->Write("x", 1), 200; }, 500},
      {"/throws", [](const auto&, auto&) -> int { throw std::runtime_error("page"); }, 500},
      {"/late", [](const auto&, auto&) { return 404; }, 404},
      {"/late409", [](const auto&, auto&) { return 409; }, 409},
      {"/status", [](const auto&, auto& response) { return response.SetStatus(99), SendText(response, "x"); }, 500},
      {"/moved", [](const auto&, auto& response) { return response.SetHeader("Location", "/x"), 303; }, 303},
      {"/empty", [](const auto&, auto&) { return 204; }, 204},
      {"/deny?deny", [](const auto&, auto& response) { return SendText(response, "x"); }, 400},
  };
  for (const auto& test : kCases) server.AddPage(test.path, "GET", test.answer);
  ASSERT_TRUE(server.Start());
  RawClient client(server.Port());
  for (const auto& test : kCases) {
    EXPECT_EQ(client.Ask(server.Get(test.path)).status, test.status) << test.path;
    EXPECT_EQ(client.Ask(server.Get("/app/echo/")).status, 200) << test.path;
  }
}

TEST(ZHTTPServer, DeadlinesEndWhatDoesNotCome) {
  const std::string post = "POST /app/echo/ HTTP/1.1\r\nHost: localhost:PORT\r\nContent-Length: 5\r\n\r\n";
  const struct {
    milliseconds sHTTPServerLimits::*limit;
    std::string bytes;
    int status;
  } kCases[] = {
      {&sHTTPServerLimits::idle_time, "", 0},
      {&sHTTPServerLimits::header_time, "G", 408},
      {&sHTTPServerLimits::header_time, post.substr(0, 60), 408},
      {&sHTTPServerLimits::body_time, post + "hell", 408},
      {&sHTTPServerLimits::idle_time, post + "hello", 200},
  };
  for (const auto& test : kCases) {
    TestServer server;
    server.ChangeLimits([&](auto& limits) { limits.*test.limit = milliseconds(200); });
    ASSERT_TRUE(server.Start());
    Clock::time_point start;
    int status = 0;
    // On a busy machine the server may disconnect the client as idle before it sends. Then the test tries again.
    do {
      start = Clock::now();
      RawClient client(server.Port());
      client.Send(WithPort(test.bytes, server.Port()));
      status = client.Receive().status;
      EXPECT_TRUE(client.IsEnded()) << test.bytes;
    } while (status != test.status && status == 0);
    EXPECT_EQ(status, test.status) << test.bytes;
    EXPECT_GE(Clock::now() - start, milliseconds(200)) << test.bytes;
  }
}

TEST(ZHTTPServer, ClientsThatTakeNoAnswerAreCut) {
  TestServer server;
  server.AddPage("/large", "GET", [](const Exchange&, ZHTTPSendResponse& response) {
    return SendText(response, Chaine(64 << 20, 'x'));
  });
  server.ChangeLimits([](auto& limits) { limits.stall_time = milliseconds(1000); });
  ASSERT_TRUE(server.Start());
  RawClient deaf(server.Port());
  for (int i = 0; i < 3; i++) deaf.Send(server.Get("/large"));
  RawClient slow(server.Port());
  slow.Send(server.Get("/large"));
  const auto start = Clock::now();
  // The slow client reads large pieces: the system tells the server about free room only when there is a lot of it.
  // With smaller pieces, the server would take the client for one that reads nothing.
  while (server.Log().empty()) {
    std::this_thread::sleep_for(milliseconds(20));
    slow.Take(500'000);
  }
  const auto log = server.Log();
  ASSERT_EQ(log.size(), 1U) << "who pipelines and never reads is cut, who reads slowly is not";
  EXPECT_FALSE(log[0].delivered);
  EXPECT_GE(Clock::now() - start, milliseconds(950));
  EXPECT_EQ(slow.Receive().body.size(), size_t{64} << 20);
}

// The test measures no time. If a request waited for a slow client, the server would disconnect that client before, and
// the last check would fail.
TEST(ZHTTPServer, EightDrippingClientsDelayNobody) {
  TestServer server;
  server.AddPage("/large", "GET",
                 [](const Exchange&, ZHTTPSendResponse& response) { return SendText(response, Chaine(8 << 20, 'x')); });
  server.ChangeLimits([](auto& limits) {
    limits.threads = 2;
    limits.header_time = milliseconds(2 * kPatience);
  });
  ASSERT_TRUE(server.Start());
  std::vector<std::pair<std::unique_ptr<RawClient>, std::string>> slow;
  for (int i = 0; i < 8; i++) {
    slow.emplace_back(std::make_unique<RawClient>(server.Port()), server.Post("/app/echo/", std::string(900, 'x')));
    // Every second client has sent its header, and goes on with the body.
    const size_t at = i % 2 == 0 ? 0 : slow[i].second.size() - 900;
    slow[i].first->Send(slow[i].second.substr(0, at));
    slow[i].second.erase(0, at);
  }
  // These clients read no byte of a long answer.
  const auto deaf = Clients(4, server, server.Get("/large"));
  for (size_t round = 0; round < 40; round++) {
    for (auto& [client, rest] : slow) client->Send(rest.substr(round, 1));
    EXPECT_EQ(RawClient(server.Port()).Ask(server.Get("/app/echo/")).status, 200);
  }
  for (auto& [client, rest] : slow) EXPECT_EQ(client->Ask(rest.substr(40)).status, 200) << "was not cut";
}

TEST(ZHTTPServer, LongBodiesShareARoomThatIsBounded) {
  const struct {
    size_t size;
    int at_work;  // how many of four requests run
    int answered;
  } kCases[] = {{300'000, 2, 4}, {700'000, 1, 3}};
  for (const auto& [size, at_work, answered] : kCases) {
    Gate gate;
    TestServer server;
    gate.AddTo(server);
    server.ChangeLimits([](auto& limits) {
      limits.threads = 4;
      limits.body_bytes = 1 << 20;
      limits.pending_body_bytes = 2'200'000;
    });
    ASSERT_TRUE(server.Start());
    auto slow = Clients(4, server, server.Post("/wait", std::string(size, 'x')));
    // A body takes room until its request is answered: one of four long bodies is refused, a short one is not.
    const int refused = answered == 4 ? 503 : Refused(server, slow);
    EXPECT_EQ(refused, 503);
    gate.Await(at_work);
    RawClient client(server.Port());
    EXPECT_EQ(client.Ask(server.Post("/app/echo/", std::string(2000, 'x'))).body, "POST 2000");
    EXPECT_EQ(gate.waiting, at_work) << size;
    gate.promise.set_value();
    for (const auto& one : slow) EXPECT_EQ(one->Receive().status, 200) << size;
  }
}

TEST(ZHTTPServer, ConnectionsAndMessagesAreBounded) {
  TestServer server;
  server.ChangeLimits([](auto& limits) {
    limits.connections = 2;
    limits.pending_messages = 1;
  });
  ASSERT_TRUE(server.Start());
  RawClient idle(server.Port());
  RawClient second_idle(server.Port());
  EXPECT_EQ(RawClient(server.Port()).Receive().status, 503) << "connections";
  // An idle connection is closed to make room for a new one.
  std::this_thread::sleep_for(milliseconds(1200));
  RawClient late(server.Port());
  EXPECT_TRUE(idle.IsEnded());
  EXPECT_EQ(late.Ask(server.Get("/app/echo/")).status, 200);
  for (int i = 0; i < 2; i++) {
    const ZCountedPtr<Call> message(new Call([] {}));
    server.messages.Post(message.get());
  }
  EXPECT_EQ(late.Ask(server.Get("/app/echo/")).status, 503) << "messages";
  server.messages.RunPending();
  EXPECT_EQ(second_idle.Ask(server.Get("/app/echo/")).status, 200);
}

TEST(ZHTTPServer, BodiesThatComeTogetherAreBounded) {
  TestServer server;
  server.ChangeLimits([](auto& limits) { limits.pending_body_bytes = 1500; });
  ASSERT_TRUE(server.Start());
  const std::string whole = server.Post("/app/echo/", std::string(1000, 'x'));
  auto two = Clients(2, server, whole.substr(0, whole.size() - 100));
  EXPECT_EQ(Refused(server, two), 503);
  EXPECT_EQ(two[0]->Ask(std::string(100, 'x')).body, "POST 1000");
  EXPECT_EQ(RawClient(server.Port()).Ask(whole).body, "POST 1000");
}

TEST(ZHTTPServer, PortsAreExclusive) {
  TestServer first;
  ASSERT_TRUE(first.Start());
  EXPECT_FALSE(first.Start());
  TestServer second(first.Port());
  EXPECT_FALSE(second.Start());
  EXPECT_EQ(second.start_error, kAddressInUse);
  EXPECT_FALSE(second.IsRunning());
  // The port can be used again at once, although old connections are still closing.
  RawClient client(first.Port());
  EXPECT_EQ(client.Ask(first.Get("/app/echo/")).status, 200);
  first.Stop();
  EXPECT_EQ(first.stops, 1);
  first.Stop();
  EXPECT_EQ(first.stops, 1);
  EXPECT_TRUE(second.Start());
  RawClient other(second.Port());
  EXPECT_EQ(other.Ask(second.Get("/app/echo/")).status, 200);
  TestServer refused;
  refused.allowed = false;
  EXPECT_FALSE(refused.Start());
  EXPECT_EQ(refused.start_error, 0);
}

TEST(ZHTTPServer, IntrusionsAreToldTogetherOnTheHostsThread) {
  TestServer server;
  ASSERT_TRUE(server.Start());
  const std::string foreign = "GET /a?secret HTTP/1.1\r\nHost: evil.example\r\n\r\n";
  for (int i = 0; i < 100; i++) EXPECT_EQ(RawClient(server.Port()).Ask(foreign).status, 403);
  EXPECT_EQ(RawClient(server.Port()).Ask(server.Get("/favicon.ico")).status, 404);
  EXPECT_TRUE(server.intrusions.empty());
  EXPECT_EQ(server.messages.Pending(), 1U);
  server.messages.RunPending();
  ASSERT_EQ(server.intrusions.size(), 2U);
  EXPECT_EQ(server.intrusions[0].reason, eHTTPIntrusion::eHost);
  EXPECT_EQ(server.intrusions[0].status, 403);
  EXPECT_EQ(server.intrusions[0].count, 100U);
  EXPECT_EQ(server.intrusions[0].host, "evil.example");
  EXPECT_EQ(server.intrusions[0].path, "/a");
  EXPECT_EQ(server.intrusions[1].reason, eHTTPIntrusion::eNoPage);
  EXPECT_EQ(server.intrusions[1].path, "/favicon.ico");
  for (int i = 0; i < 40; i++) {
    RawClient(server.Port()).Ask("GET / HTTP/1.1\r\nHost: " + std::string(static_cast<size_t>(i), 'e') + "\r\n\r\n");
  }
  server.messages.RunPending();
  EXPECT_EQ(server.intrusions.size(), 2U + 16U);
}

TEST(ZHTTPServer, EveryRequestIsLoggedOnce) {
  TestServer server;
  ASSERT_TRUE(server.Start());
  RawClient broken(server.Port());
  broken.Send("POST /app/echo/broken HTTP/1.1\r\n" + server.Host() + "Content-Length: 9\r\n\r\nhell");
  // When these requests are answered, the server has also received the broken one.
  RawClient(server.Port()).Ask(server.Post("/app/echo/?code=F1", "hello"));
  RawClient(server.Port()).Ask("GET / HTTP/1.1\r\n\r\n");
  RawClient(server.Port()).Ask(server.Get("/app/echo/"));
  server.Stop();
  // An answer is logged after it was sent, so the order of the entries is not certain.
  std::map<Chaine, sHTTPRequestInfos> log;
  for (const auto& entry : server.Log()) EXPECT_TRUE(log.emplace(entry.url.AsChaine(), entry).second);
  ASSERT_EQ(log.size(), 4U);
  const auto& whole = log["/app/echo/?code=F1"];
  EXPECT_EQ(whole.method, "POST");
  EXPECT_EQ(whole.remote_address, "127.0.0.1");
  EXPECT_EQ(whole.bytes_received, 5U);
  EXPECT_EQ(whole.bytes_sent, 6U);
  EXPECT_TRUE(whole.delivered);
  EXPECT_EQ(whole.reason, "");
  EXPECT_EQ(log["/"].status, 400);
  EXPECT_EQ(log["/"].reason, "Bad Request");
  EXPECT_EQ(log["/app/echo/broken"].bytes_received, 4U);
  EXPECT_EQ(log["/app/echo/broken"].reason, "the connection ended before the body was complete");
}

TEST(ZHTTPServer, PagesAreReplacedWhileRequestsRun) {
  TestServer server;
  ASSERT_TRUE(server.Start());
  std::atomic<bool> done{false};
  std::vector<std::thread> clients;
  for (int i = 0; i < 4; i++) {
    clients.emplace_back([&] {
      RawClient client(server.Port());
      while (!done) EXPECT_EQ(client.Ask(server.Get("/app/echo/new/")).status, 200);
    });
  }
  for (int i = 0; i < 200; i++) {
    server.AddPage("/app/echo/new", "GET", [text = Chaine(100, 'n')](const Exchange&, ZHTTPSendResponse& response) {
      return SendText(response, text);
    });
    std::this_thread::sleep_for(milliseconds(1));
  }
  server.SetPageHandler(ZInetURL("/app/echo/new"), nullptr, false);
  done = true;
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(RawClient(server.Port()).Ask(server.Get("/app/echo/new")).body, "GET 0");
}

}  // namespace
}  // namespace zforms
