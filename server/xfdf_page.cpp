#include "server/xfdf_page.h"

#include <memory>

#include "platform/http_request.h"
#include "platform/inet_stream.h"

namespace zforms {
namespace {

// Session infos are read anew for each of their parameters; a host's are short.
constexpr size_t kMaxSessionInfos = size_t{64} << 10;

}  // namespace

ZHTTPServerPageXFDFSession::ZHTTPServerPageXFDFSession(const ZHTTPServerPageXFDF* page, uint64_t folder,
                                                       int32_t exercice)
    : ZHTTPServerPageSession(page), page_(page), folder_(folder), exercice_(exercice) {}

ZHTTPServerPageXFDFSession::~ZHTTPServerPageXFDFSession() = default;

bool ZHTTPServerPageXFDFSession::IsOwn(const ZXFDF& xfdf) const {
  if (xfdf.Fields()[ZXFDF::kSessionIDField].Value().AsChaine().size() > kMaxSessionInfos) return false;
  const ZXFDFSessionInfos& infos = xfdf.SessionID();
  return infos.Folder() == ZXFDFFolderInfos{folder_, static_cast<uint32_t>(exercice_)} &&
         infos.Software() == page_->Software();
}

bool ZHTTPServerPageXFDFSession::SetFullRequest(ZHTTPReadRequest& request) {
  if (!ZHTTPServerPageSession::SetFullRequest(request)) return false;
  if (request.ContentLength() != 0) {
    const std::unique_ptr<ZInetIStream> body = request.AllocBodyStream();
    xfdf_.Read(body.get());
  }
  if (!IsInError() && !xfdf_.HasIDS()) SetStatus(409);
  if (!IsInError() && !xfdf_.HasPDFHRef()) {
    ZInetURL href;
    href.SetProtocol("http");
    href.SetServer(request.Host());
    href.MoveTo(request.URL().AsChaine());
    xfdf_.SetPDFHRef(href);
  }
  if (!IsInError() && xfdf_.HasSessionID() && !IsOwn(xfdf_)) SetStatus(409);
  return !IsInError();
}

bool ZHTTPServerPageXFDFSession::SendXFDF(ZHTTPSendResponse& response, const ZXFDF& xfdf) {
  return SendRawData(response, xfdf.AsChaine(), "application/vnd.adobe.xfdf", Chaine());
}

ZHTTPServerPageXFDF::ZHTTPServerPageXFDF(uint64_t folder, int32_t exercice, const Chaine& software)
    : ZHTTPServerPageBase(Chaine()), folder_(folder), exercice_(exercice), software_(software) {}

ZHTTPServerPageXFDF::~ZHTTPServerPageXFDF() = default;

void ZHTTPServerPageXFDF::SetCurrentFolder(uint64_t folder, int32_t exercice) {
  const CSingleLock lock(section_);
  folder_ = folder;
  exercice_ = exercice;
}

void ZHTTPServerPageXFDF::GetCurrentFolder(uint64_t& folder, int32_t& exercice) const {
  const CSingleLock lock(section_);
  folder = folder_;
  exercice = exercice_;
}

}  // namespace zforms
