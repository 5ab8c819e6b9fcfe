#include "zforms/platform/base/counted_unknown.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/http/http_response.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/pdf_handler.h"
#include "zforms/server/xfdf_handler.h"

namespace zforms {
namespace {

// A filled form contains each value twice, and may need four bytes for a character of one byte.
constexpr size_t kLong = size_t{1} << 20;
constexpr size_t kGrowth = 8;
constexpr char kNoSession[] = "the submission has no session";

}  // namespace

ZAcroFormServerSaveXFDFMessage::~ZAcroFormServerSaveXFDFMessage() = default;

ZAcroFormServerXFDFSession::ZAcroFormServerXFDFSession(ZAcroFormServerXFDFHandler* handler, uint64_t folder,
                                                       int32_t exercice)
    : ZHTTPServerPageXFDFSession(handler, folder, exercice), handler_(handler) {}

ZAcroFormServerXFDFSession::~ZAcroFormServerXFDFSession() = default;

ZDocument::Status ZAcroFormServerXFDFSession::Action() const {
  return ZAcroFormServerXFDFHandler::GetDisplayMode(URL());
}

ZAcroFormServer* ZAcroFormServerXFDFSession::HTTPServer() const { return handler_->HTTPServer(); }

ZXFDFTransaction& ZAcroFormServerXFDFSession::TransactionManager() const { return handler_->TransactionManager(); }

void ZAcroFormServerXFDFSession::UpdatePDFHRef(ZXFDF& xfdf, ZDocument::Status status) const {
  handler_->UpdatePDFHRef(xfdf, status);
}

bool ZAcroFormServerXFDFSession::SetURL(const ZInetURL& url, const Chaine& method) {
  if (!ZHTTPServerPageXFDFSession::SetURL(url, method)) return false;
  if (!IsInFolder()) {
    Refuse(404, "no folder is open in the host");
  } else if (Action() == ZDocument::eReadOnly) {
    Refuse(404, "forms are submitted only to save.cgi and modify.cgi");
  }
  return !IsInError();
}

bool ZAcroFormServerXFDFSession::SetFullRequest(ZHTTPReadRequest& request) {
  if (!ZHTTPServerPageXFDFSession::SetFullRequest(request)) return false;
  const bool has_session = XFDFRequest().HasSessionID();
  const bool is_live = has_session && CheckSession(XFDFRequest().SessionID());
  if (!is_live && !IsInError()) {
    SetStatus(409);
    if (Reason().IsEmpty())
      SetReason(has_session ? "the host does not know the session of the submission" : kNoSession);
  }
  return !IsInError();
}

bool ZAcroFormServerXFDFSession::IsWorthReading(const ZXFDFSessionInfos* infos) {
  if (infos == nullptr) SetReason(kNoSession);
  return infos != nullptr;
}

void ZAcroFormServerXFDFSession::SendPage(ZHTTPSendResponse& response) {
  ZXFDF answer = XFDFRequest();
  ZInetURL href = answer.PDFHRef();
  const bool is_local = href.IsLocalFile();
  Chaine code =
      is_local ? ZAcroFormServerXFDFHandler::CodeNameFromFileURL(href) : ZAcroFormServer::CodeNameFromPDFURL(href);
  const bool is_missing = code.IsEmpty();
  if (is_missing) code = ZAcroFormServer::CodeNameFromPDFURL(URL());
  if (is_local || is_missing) answer.SetPDFHRef(HTTPServer()->GetPDFURL(code, Action()));

  const ZXFDFTransactionInfos before = XFDFRequest().SessionID().Transaction();
  const bool accepted = Action() == ZDocument::eModify && AcceptAndPost(answer);
  if (accepted) CopySession(&answer, before);
  UpdatePDFHRef(answer, accepted ? ZDocument::eConsult : ZDocument::eModify);

  href = answer.PDFHRef();
  ZAcroFormServerForm form;
  const ZDocument::Status status = ZAcroFormServerPDFHandler::StatusFromURL(href);
  if (!HTTPServer()->PrepareForm(answer, code, status, &form)) {
    return Refuse(404, "the template of the form is missing or cannot be read");
  }
  // Reserves the memory for long values at once: growing the buffer would need twice as much.
  Chaine bytes;
  if (XFDFSize() > kLong) bytes.Reserve(kGrowth * XFDFSize());
  ZInetChaineOStream out(bytes);
  if (!form.Save(out)) return SetStatus(500);
  response.SetHeader("Location", href.AsChaine());
  response.SetHeader("Content-Location", href.AsChaine());
  SendRawData(response, bytes, "application/pdf", Chaine());
}

// Posts the message before the answer is made, so that a failed answer cannot lose it.
bool ZAcroFormServerXFDFSession::AcceptAndPost(const ZXFDF& submitted) {
  const bool accepted = AcceptSave();
  if (!accepted && Reason().IsEmpty()) SetReason("the host does not accept the submission");
  const ZCountedPtr<CSaveXFDFMessage> message(CreateSaveMessage(URL(), submitted, accepted));
  if (message) HTTPServer()->IdleMessages().Post(message.get());
  return accepted;
}

// Copies the session infos into the returned form, with the increased count: otherwise its next save would be refused
// as outdated.
void ZAcroFormServerXFDFSession::CopySession(ZXFDF* to, const ZXFDFTransactionInfos& before) const {
  to->Fields().AddField(ZXFDF::kSessionIDField) = XFDFRequest().Fields()[ZXFDF::kSessionIDField].Value();
  if (to->SessionID().Transaction() == before) to->SessionID().IncTransactionCount();
}

}  // namespace zforms
