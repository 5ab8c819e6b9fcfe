#pragma once

#include <cstdint>
#include <string_view>

#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_header.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

// Why a request was refused as an intrusion.
enum class eHTTPIntrusion {
  eNone,
  eHost,       // it names another server or port, such as a foreign name that resolves to this machine
  eOrigin,     // a page of another origin sent it
  eFetchSite,  // the browser says that another site, or another port, sent it
  eNoPage      // no page is served at its path
};

// The verdict on the head of a request: status 0 accepts it.
struct HTTPVerdict {
  int status = 0;
  eHTTPIntrusion intrusion = eHTTPIntrusion::eNone;
};

// True when "name[:port]" is this server: localhost, 127.0.0.1 or [::1] with the port, which may be omitted when it is
// 80.
ZFORMS_API bool IsOwnAuthority(std::string_view authority, uint16_t port);

// Judges the request line and header before the body is read. Ambiguous framing gives 400 (RFC 9112 6.3), a body of
// unknown length 411, an expectation other than "100-continue" 417. A request that is not addressed to this server, or
// comes from another site or port, gives 403. A link on another site may only open "/": the browser displays that page,
// and the page requests everything else. On success `*url` gets the path and parameters of the target.
ZFORMS_API HTTPVerdict JudgeHead(std::string_view method, std::string_view target, const ZHTTPHeader& header,
                                 bool http11, uint16_t port, ZInetURL* url);

}  // namespace zforms
