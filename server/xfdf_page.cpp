#include "server/xfdf_page.h"

#include <memory>

#include "platform/http_request.h"
#include "platform/http_response.h"
#include "platform/inet_stream.h"
#include "platform/number.h"

namespace zforms {
namespace {

// Session infos are read anew for each of their parameters; a host's are short.
constexpr size_t kMaxSessionInfos = size_t{64} << 10;
constexpr char kPost[] = "POST";

}  // namespace

ZHTTPServerPageXFDFSession::ZHTTPServerPageXFDFSession(const ZHTTPServerPageXFDF* page, uint64_t folder,
                                                       int32_t exercice)
    : ZHTTPServerPageSession(page), page_(page), folder_(folder), exercice_(exercice) {}

ZHTTPServerPageXFDFSession::~ZHTTPServerPageXFDFSession() = default;

Chaine ZHTTPServerPageXFDFSession::WhyForeign() const {
  if (xfdf_.Fields()[ZXFDF::kSessionIDField].Value().AsChaine().size() > kMaxSessionInfos) {
    return "its session infos are too long";
  }
  const ZXFDFSessionInfos& infos = xfdf_.SessionID();
  const ZXFDFFolderInfos folder = infos.Folder();
  const auto differs = [](const char* what, const Chaine& its, const Chaine& own) {
    return Chaine("it is of the ") + what + " " + its + ", the server is in " + own;
  };
  if (folder.id != folder_) return differs("folder", FormatUInt(folder.id), FormatUInt(folder_));
  if (static_cast<int32_t>(folder.exercice) != exercice_) {
    return differs("year", FormatInt(static_cast<int32_t>(folder.exercice)), FormatInt(exercice_));
  }
  return infos.Software() == page_->Software() ? Chaine() : "it is of another application";
}

bool ZHTTPServerPageXFDFSession::SetFullRequest(ZHTTPReadRequest& request) {
  if (!ZHTTPServerPageSession::SetFullRequest(request)) return false;
  if (request.ContentLength() != 0) {
    // Only what is posted is to change anything (RFC 9110 9.3.1, 9.3.3).
    if (Method() != kPost) {
      Refuse(405, "a form is submitted by POST");
      return false;
    }
    const std::unique_ptr<ZInetIStream> body = request.AllocBodyStream();
    xfdf_.Read(body.get());
  }
  if (!IsInError() && !xfdf_.HasIDS()) Refuse(409, "it is no XFDF document with identifiers of a form");
  if (!IsInError() && !xfdf_.HasPDFHRef()) {
    ZInetURL href;
    href.SetProtocol("http");
    href.SetServer(request.Host());
    href.MoveTo(request.URL().AsChaine());
    xfdf_.SetPDFHRef(href);
  }
  if (!IsInError() && xfdf_.HasSessionID()) {
    if (const Chaine why = WhyForeign(); !why.IsEmpty()) Refuse(409, why);
  }
  return !IsInError();
}

void ZHTTPServerPageXFDFSession::SendError(ZHTTPSendResponse& response) {
  ZHTTPServerPageSession::SendError(response);
  if (Status() == 405) response.SetHeader("Allow", kPost);
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
