#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_header.h"

namespace zforms {

class ZInetOStream;

// ZHTTPSendResponse is the answer to one request. A session sets the header,
// calls BeginSend, writes the body, and calls EndSend; the bytes leave after
// that, on a thread of the framework, so that no client's pace holds a session.
// The framework owns the response; only the session's thread uses it until then.
//
// The framework itself writes the fields that frame the message ("Content-Length",
// "Connection", "Date") and those that protect it: "Cache-Control: no-store" and
// "X-Content-Type-Options: nosniff" among others.
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
  // Sets a field in place of earlier ones of the name. False, and nothing is
  // changed, when the header refuses it (ZHTTPHeader::Add), when the framework
  // writes that field, or when it would let a page of another origin read the
  // answer ("Access-Control-...").
  bool SetHeader(const Chaine& name, const Chaine& value);
  bool SetContentType(const Chaine& type) { return SetHeader("Content-Type", type); }
  // For an answer that holds no data: browsers may keep it, and ask with the tag (RFC
  // 9110 8.8.3, with its quotation marks) whether it still stands before each use.
  // False, changing nothing, when that is no field value.
  bool SetEntityTag(const Chaine& tag);

  // Why the request came to this status, for the server's log; it is not sent.
  const Chaine& Reason() const { return reason_; }
  void SetReason(const Chaine& reason) { reason_ = reason; }

  // Begins the body, of exactly `size` bytes. Returns where it is written, which
  // this response owns; null when it was begun before. Writes past `size` fail.
  ZInetOStream* BeginSend(uint64_t size);
  // True when the whole body was written; what is incomplete is not sent, the
  // client gets an error instead.
  bool EndSend();
  bool HasBegun() const { return stream_ != nullptr; }
  bool IsComplete() const { return complete_; }

  const Chaine& Body() const { return body_; }
  // The status line and all fields, with the blank line that ends them. `date`
  // is the value of "Date"; empty leaves the field out.
  Chaine Head(bool keep_alive, std::string_view date) const;

  // Drops what was begun and makes this the small page for an error status. It
  // says nothing but the status. Fields that were set before stay, "Allow" for one.
  void MakeErrorPage(int status);
  // "Not Found" for 404; "Error" for a status that it does not know.
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
