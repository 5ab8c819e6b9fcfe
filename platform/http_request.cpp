#include "platform/http_request.h"

#include "platform/inet_stream.h"

namespace zforms {

std::unique_ptr<ZInetIStream> ZHTTPReadRequest::AllocBodyStream() const {
  return std::make_unique<ZInetChaineIStream>(body_);
}

}  // namespace zforms
