#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_header.h"

namespace zforms {

class ZInetOStream;

// ZHTTPSendResponse is the answer to one request. A session sets the header, calls BeginSend, writes the body and calls
// EndSend. The bytes are sent afterwards, by a thread of the framework, so that a slow client does not block a session.
// The framework owns the response. Only the session's thread uses it until the session has ended.
//
// The framework itself writes the fields that frame the message ("Content-Length", "Connection", "Date") and those that
// protect it, such as "Cache-Control: no-store" and "X-Content-Type-Options: nosniff".
class ZFORMS_API ZHTTPSendResponse {
 public:
  ZHTTPSendResponse();
  ZHTTPSendResponse(const ZHTTPSendResponse&) = delete;
  ZHTTPSendResponse& operator=(const ZHTTPSendResponse&) = delete;
  ~ZHTTPSendResponse();

  // 200 at first.
  int Status() const { return status_; }
  void SetStatus(int status) { status_ = status; }
  const ZHTTPHeader& Header() const { return header_; }
  // Sets a field and replaces earlier ones of the name. False, with nothing changed, when the header refuses it
  // (ZHTTPHeader::Add), when the framework writes that field itself, or when it would let a page of another origin read
  // the answer ("Access-Control-...").
  bool SetHeader(const Chaine& name, const Chaine& value);
  bool SetContentType(const Chaine& type) { return SetHeader("Content-Type", type); }
  // Sets the "ETag" of an answer without form data: browsers may store it, and before each use ask whether it is still
  // current (RFC 9110 8.8.3; the tag includes its quotation marks). False, with nothing changed, when the tag is not a
  // valid field value.
  bool SetEntityTag(const Chaine& tag);

  // The reason of this status for the server's log; it is not sent.
  const Chaine& Reason() const { return reason_; }
  void SetReason(const Chaine& reason) { reason_ = reason; }

  // Begins the body of exactly `size` bytes. Returns the stream for the body, which this response owns; null when the
  // body was begun before. Writes past `size` fail.
  ZInetOStream* BeginSend(uint64_t size);
  // True when the whole body was written. An incomplete body is not sent; the client gets an error instead.
  bool EndSend();
  bool HasBegun() const { return stream_ != nullptr; }
  bool IsComplete() const { return complete_; }

  const Chaine& Body() const { return body_; }
  // The status line and all fields, with the blank line at the end. `date` is the value of "Date"; empty leaves the
  // field out.
  Chaine Head(bool keep_alive, std::string_view date) const;

  // Discards the body and makes this the short page of an error status, which contains only the status. Fields that
  // were set before are kept, such as "Allow".
  void MakeErrorPage(int status);
  // "Not Found" for 404; "Error" for an unknown status.
  static std::string_view ReasonPhrase(int status);

 private:
  class BodyStream;

  int status_ = 200;
  ZHTTPHeader header_;
  Chaine entity_tag_;
  Chaine reason_;
  Chaine body_;
  bool complete_ = false;
  std::unique_ptr<BodyStream> stream_;
};

}  // namespace zforms
