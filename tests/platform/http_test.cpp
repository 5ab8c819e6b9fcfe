#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/support/http_requests.h"
#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/http/http_date.h"
#include "zforms/platform/http/http_guard.h"
#include "zforms/platform/http/http_header.h"
#include "zforms/platform/http/http_request_reader.h"
#include "zforms/platform/http/http_response.h"

namespace zforms {
namespace {

using std::chrono::milliseconds;

constexpr uint16_t kPort = 54321;

sHTTPServerLimits SmallLimits() {
  sHTTPServerLimits limits;
  limits.header_bytes = 2000;
  limits.header_fields = 32;
  limits.body_bytes = 1000;
  return limits;
}

// Passes the bytes to a reader in pieces of this size; returns its results in one line.
std::string Read(std::string_view bytes, size_t piece) {
  const sHTTPServerLimits limits = SmallLimits();
  HTTPRequestReader reader(limits, kPort);
  std::string kept;
  size_t given = 0;
  while (given < bytes.size() && reader.GetState() < HTTPRequestReader::State::eComplete) {
    const std::string_view more = bytes.substr(given, piece);
    kept += more;
    given += more.size();
    kept.erase(0, reader.Take(kept));
  }
  if (reader.GetState() == HTTPRequestReader::State::eRefused) return std::to_string(reader.Verdict().status);
  if (reader.GetState() != HTTPRequestReader::State::eComplete) return "incomplete";
  const bool keeps = reader.KeepsAlive();
  const ZHTTPReadRequest request = reader.TakeRequest();
  std::string text = request.Method().ToString() + " " + request.URL().AsChaine().ToString() + (keeps ? " keep" : "");
  for (size_t i = 0; i < request.Header().Count(); i++) text += "|" + request.Header()[i].name.ToString();
  return text + "|" + request.Body().ToString() + "|rest " + std::to_string(bytes.size() - given + kept.size());
}

TEST(HTTPRequestReader, PiecesMakeNoDifference) {
  for (const HTTPRequestCase& test : HTTPRequestCases()) {
    const std::string bytes = WithPort(test.bytes, kPort);
    const std::string whole = Read(bytes, bytes.size());
    for (const size_t piece : {size_t{1}, size_t{2}, size_t{3}, size_t{7}, size_t{64}}) {
      EXPECT_EQ(Read(bytes, piece), whole) << test.title << " in pieces of " << piece;
    }
    if (test.status == 200) {
      EXPECT_NE(whole.find("rest 0"), std::string::npos) << test.title << ": " << whole;
    } else if (test.status != 404 && test.status != 405) {
      EXPECT_EQ(whole, std::to_string(test.status)) << test.title;
    }
  }
}

TEST(HTTPRequestReader, WhatIsRead) {
  const std::string host = "Host: localhost:54321\r\n";
  const struct {
    std::string bytes;
    const char* expected;
  } kCases[] = {
      {"GET /a?b=%41 HTTP/1.1\r\n" + host + "\r\n", "GET /a?b=%41 keep|Host||rest 0"},
      {"GET / HTTP/1.1\r\n" + host + "Connection: close\r\n\r\n", "GET /|Host|Connection||rest 0"},
      {"GET / HTTP/1.0\r\n" + host + "Connection: keep-alive\r\n\r\n", "GET / keep|Host|Connection||rest 0"},
      {"GET http://LOCALHOST:54321?x HTTP/1.1\r\n" + host + "\r\n", "400"},
      {"GET http://LOCALHOST:54321 HTTP/1.1\r\n" + host + "\r\n", "GET / keep|Host||rest 0"},
      // A trailer changes nothing, and the bytes of the next request are kept.
      {"POST / HTTP/1.1\r\n" + host + "Transfer-Encoding: Chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\nX: 1\r\n\r\nGET",
       "POST / keep|Host|Transfer-Encoding|abcde|rest 3"},
      {"POST / HTTP/1.1\r\n" + host + "Content-Length: 3\r\n\r\nab", "incomplete"},
  };
  for (const auto& test : kCases) EXPECT_EQ(Read(test.bytes, test.bytes.size()), test.expected) << test.bytes;
}

TEST(HTTPHeader, NothingEndsALineEarly) {
  const struct {
    std::string name;
    std::string value;
    bool in_header;
    bool in_answer;
  } kCases[] = {
      {"Location", "http://localhost/?code=a%0D%0Ab", true, true},
      {"X-Note", "tab\tand \xC3\xA9", true, true},
      {"Location", "a\r\nSet-Cookie: b", false, false},
      {"Location", "a\rb", false, false},
      {"Location", "a\nb", false, false},
      {"Location", std::string("a\0b", 3), false, false},
      {"Location", "a\x7F", false, false},
      {"", "a", false, false},
      {"X Y", "a", false, false},
      {"X:", "a", false, false},
      {"X\r\nY", "a", false, false},
      {"Content-Length", "5", true, false},
      {"transfer-encoding", "chunked", true, false},
      {"Connection", "close", true, false},
      {"Cache-Control", "public", true, false},
      {"access-control-allow-origin", "*", true, false},
  };
  for (const auto& test : kCases) {
    ZHTTPHeader header;
    EXPECT_EQ(header.Add(test.name, test.value), test.in_header) << test.name << ": " << test.value;
    EXPECT_EQ(header.Count(), test.in_header ? 1U : 0U);
    ZHTTPSendResponse response;
    EXPECT_EQ(response.SetHeader(test.name, test.value), test.in_answer) << test.name << ": " << test.value;
    const std::string line = "\r\n" + test.name + ": " + test.value + "\r\n";
    EXPECT_EQ(response.Head(true, "").ToString().find(line) != std::string::npos, test.in_answer) << test.name;
  }
}

TEST(HTTPDate, AsOthersWriteIt) {
  EXPECT_EQ(HTTPDate(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(HTTPDate(951782400), "Tue, 29 Feb 2000 00:00:00 GMT");
  EXPECT_EQ(HTTPDate(0), "Thu, 01 Jan 1970 00:00:00 GMT");
}

class Note : public ZIdleMessage {
 public:
  Note(std::vector<int>* told, int number) : told_(told), number_(number) {}
  void OnIdleMessage() override {
    told_->push_back(number_);
    if (next_) manager_->Post(next_.get());
  }
  void Then(ZIdleMessageManager* manager, Note* next) {
    manager_ = manager;
    next_ = ZCountedPtr<Note>(next);
  }

 private:
  ~Note() override { told_->push_back(-number_); }

  std::vector<int>* told_;
  int number_;
  ZIdleMessageManager* manager_ = nullptr;
  ZCountedPtr<Note> next_;
};

TEST(ZIdleMessageManager, DeliversOnceInOrderAndReleases) {
  std::vector<int> told;
  {
    ZIdleMessageManager manager;
    ZCountedPtr<Note> kept(new Note(&told, 1));
    kept->Then(&manager, new Note(&told, 3));
    manager.Post(kept.get());
    ZCountedPtr<Note> second(new Note(&told, 2));
    manager.Post(second.get());
    second = {};
    EXPECT_EQ(manager.Pending(), 2U);
    EXPECT_EQ(manager.RunPending(), 3U);
    EXPECT_EQ(told, (std::vector{1, 2, -2, 3}));
    EXPECT_EQ(manager.RunPending(), 0U);
    manager.Post(kept.get());
    kept = {};
    EXPECT_EQ(manager.Pending(), 1U);
  }
  EXPECT_EQ(told, (std::vector{1, 2, -2, 3, -1, -3})) << "what was not delivered is released";
}

TEST(ZIdleMessageManager, WakesAHostThatHasALoopOfItsOwn) {
  std::vector<int> told;
  ZIdleMessageManager manager;
  int wakes = 0;
  const auto post = [&] { manager.Post(ZCountedPtr<Note>(new Note(&told, 1)).get()); };
  post();
  manager.SetWake([&] { wakes++; });
  EXPECT_EQ(wakes, 1) << "one waits already";
  post();
  EXPECT_EQ(wakes, 1) << "the host was woken for the first";
  EXPECT_EQ(manager.RunPending(), 2U);
  std::thread(post).join();
  EXPECT_EQ(wakes, 2);
  manager.RunPending();
  manager.SetWake({});
  post();
  EXPECT_EQ(wakes, 2);
}

}  // namespace
}  // namespace zforms
