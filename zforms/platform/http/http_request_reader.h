#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "zforms/platform/http/http_guard.h"
#include "zforms/platform/http/http_limits.h"
#include "zforms/platform/http/http_request.h"

namespace zforms {

// HTTPRequestReader makes a request of the bytes of a connection, in whatever
// pieces they come. It knows no socket and no clock. Its owner keeps the bytes
// that it has not taken and shows them again with what follows them.
class HTTPRequestReader {
 public:
  enum class State {
    eStart,     // nothing has come yet
    eHead,      // within the header
    eBody,      // the header is in and judged; within the body
    eComplete,  // the request can be taken
    eRefused    // Verdict() says why; what follows on the connection has no meaning
  };

  // `limits` must outlive the reader.
  HTTPRequestReader(const sHTTPServerLimits& limits, uint16_t port);
  ~HTTPRequestReader();

  // Takes bytes from the front of `data` and returns their number. It takes
  // nothing more once the request is complete or refused. `data` holds what was
  // not taken before, and more.
  size_t Take(std::string_view data);

  State GetState() const { return state_; }
  // What a refused request came to.
  const HTTPVerdict& Verdict() const { return verdict_; }
  // The client waits for "100 Continue" before it sends the body.
  bool ExpectsContinue() const;
  // The bytes of the body that came so far.
  size_t BodySize() const;
  // Whether the client wants the connection kept (RFC 9112 9.3). Valid when complete.
  bool KeepsAlive() const;
  // The method, path and header as far as they are known; for a refused request too.
  const ZHTTPReadRequest& Request() const { return request_; }
  // Keeps nothing of it. Precondition: complete; nothing but the state is asked afterwards.
  ZHTTPReadRequest TakeRequest();

 private:
  class Parser;

  size_t Parse(std::string_view data);
  int JudgeOpenLine(std::string_view bytes);

  State state_ = State::eStart;
  HTTPVerdict verdict_;
  ZHTTPReadRequest request_;
  bool skipped_line_ = false;
  size_t scanned_ = 0;              // how many of the bytes that are left over were looked at
  bool chunk_line_judged_ = false;  // the first line of these
  std::unique_ptr<Parser> parser_;
};

}  // namespace zforms
