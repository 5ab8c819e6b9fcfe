#include "zforms/platform/http/http_request.h"

#include "zforms/platform/files/inet_stream.h"

namespace zforms {

std::unique_ptr<ZInetIStream> ZHTTPReadRequest::AllocBodyStream() const {
  return std::make_unique<ZInetChaineIStream>(body_);
}

}  // namespace zforms
