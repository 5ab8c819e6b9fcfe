#pragma once

#include <cstdint>
#include <string_view>

#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_header.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

// Why a request was turned away as an intrusion.
enum class eHTTPIntrusion {
  eNone,
  eHost,       // it names another server or port: a foreign name that leads to this machine
  eOrigin,     // a page of another origin sent it
  eFetchSite,  // the browser says that another site, or another port of this one, sent it
  eNoPage      // nothing is served at its path
};

// What the head of a request comes to: status 0 lets it in.
struct HTTPVerdict {
  int status = 0;
  eHTTPIntrusion intrusion = eHTTPIntrusion::eNone;
};

// Whether "name[:port]" is this server's: localhost, 127.0.0.1 or [::1] with the
// port, which may be absent where it is 80.
ZFORMS_API bool IsOwnAuthority(std::string_view authority, uint16_t port);

// Judges request line and header before anything of the body is read: framing
// that is not beyond doubt is 400 (RFC 9112 6.3), a body of unknown length 411,
// an expectation other than "100-continue" 417, and what is not addressed to
// this server or comes from another site or port 403. A link from elsewhere may
// lead to "/" alone: to a page that is shown, and that asks for all else itself.
// On success `*url` holds the path and parameters of the target.
ZFORMS_API HTTPVerdict JudgeHead(std::string_view method, std::string_view target, const ZHTTPHeader& header,
                                 bool http11, uint16_t port, ZInetURL* url);

}  // namespace zforms
