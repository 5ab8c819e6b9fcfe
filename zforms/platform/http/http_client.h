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

// Asks an "http:" URL and waits for the whole answer, whatever its status; a body
// goes with "POST". False with a reason in `*error` when none comes in the time, or one
// of more than 256 MiB. The name of another machine may take its resolver longer.
ZFORMS_API bool AskHTTP(const ZInetURL& url, const Chaine& method, const Chaine& content_type, const Chaine& body,
                        ZHTTPAnswer* answer, std::string* error, std::chrono::seconds time = std::chrono::seconds(60));

}  // namespace zforms
