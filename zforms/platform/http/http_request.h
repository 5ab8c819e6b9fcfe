#pragma once

#include <cstdint>
#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_header.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

class ZInetIStream;

// ZHTTPReadRequest is one complete request. The framework owns it and passes it to the session that answers it; only
// that session's thread uses it.
class ZFORMS_API ZHTTPReadRequest {
 public:
  ZHTTPReadRequest() = default;
  ZHTTPReadRequest(const Chaine& method, const ZInetURL& url, const ZHTTPHeader& header, const Chaine& body)
      : method_(method), url_(url), header_(header), body_(body) {}

  // The method as it was sent, such as "GET" or "POST".
  const Chaine& Method() const { return method_; }
  // The path and the parameters as they were sent; protocol, server and reference are empty.
  const ZInetURL& URL() const { return url_; }
  const ZHTTPHeader& Header() const { return header_; }
  // The "Host" field: the name and, if given, the port.
  Chaine Host() const { return header_.Get("Host"); }
  // The number of bytes of the decoded body; 0 without a body.
  uint64_t ContentLength() const { return body_.size(); }
  const Chaine& Body() const { return body_; }
  // A stream over the body, which shares its bytes.
  std::unique_ptr<ZInetIStream> AllocBodyStream() const;
  // The client's address as text; empty when the request did not come over a connection.
  const Chaine& RemoteAddress() const { return remote_address_; }
  void SetRemoteAddress(const Chaine& address) { remote_address_ = address; }

 private:
  Chaine method_;
  ZInetURL url_;
  ZHTTPHeader header_;
  Chaine body_;
  Chaine remote_address_;
};

}  // namespace zforms
