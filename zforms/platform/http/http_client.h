#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_header.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

// The answer to a request.
struct ZFORMS_API ZHTTPAnswer {
  int status = 0;
  ZHTTPHeader header;
  Chaine body;
};

// Sends a request to an "http:" URL and waits for the whole answer of any status; "POST" also sends a body. False with
// a reason in `*error` when no answer arrives in time, or when it has more than 256 MiB. Resolving the name of another
// machine may take longer than `time`.
ZFORMS_API bool AskHTTP(const ZInetURL& url, const Chaine& method, const Chaine& content_type, const Chaine& body,
                        ZHTTPAnswer* answer, std::string* error, std::chrono::seconds time = std::chrono::seconds(60));

}  // namespace zforms
