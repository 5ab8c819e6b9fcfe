#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "zforms/platform/http/http_guard.h"
#include "zforms/platform/http/http_limits.h"
#include "zforms/platform/http/http_request.h"

namespace zforms {

// HTTPRequestReader parses a request from the bytes of a connection, in pieces of any size. It does not use sockets or
// clocks. Its owner keeps the bytes that were not taken and passes them again together with the following ones. One
// thread at a time.
class HTTPRequestReader {
 public:
  enum class State {
    eStart,     // no byte was received yet
    eHead,      // within the header
    eBody,      // the header is complete and accepted; within the body
    eComplete,  // call TakeRequest
    eRefused    // Verdict() says why; further bytes on the connection are meaningless
  };

  // `limits` must outlive the reader.
  HTTPRequestReader(const sHTTPServerLimits& limits, uint16_t port);
  ~HTTPRequestReader();

  // Takes bytes from the front of `data` and returns their number; takes none when the request is complete or refused.
  // `data` must begin with the bytes that were not taken before.
  size_t Take(std::string_view data);

  State GetState() const { return state_; }
  // The verdict on a refused request.
  const HTTPVerdict& Verdict() const { return verdict_; }
  // True when the client waits for "100 Continue" before it sends the body.
  bool ExpectsContinue() const;
  // The number of bytes of the body received so far.
  size_t BodySize() const;
  // True when the client wants the connection kept open (RFC 9112 9.3). Valid when complete.
  bool KeepsAlive() const;
  // The method, path and header as far as they are known, also for a refused request.
  const ZHTTPReadRequest& Request() const { return request_; }
  // Moves the request out. Precondition: complete; afterwards only the state may be used.
  ZHTTPReadRequest TakeRequest();

 private:
  class Parser;

  size_t Parse(std::string_view data);
  int JudgeOpenLine(std::string_view bytes);

  State state_ = State::eStart;
  HTTPVerdict verdict_;
  ZHTTPReadRequest request_;
  bool skipped_line_ = false;
  size_t scanned_ = 0;              // how many of the bytes that were not taken have been checked
  bool chunk_line_judged_ = false;  // the first chunk line in these bytes has been checked
  std::unique_ptr<Parser> parser_;
};

}  // namespace zforms
