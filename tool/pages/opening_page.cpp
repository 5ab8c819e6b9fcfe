#include "tool/pages/opening_page.h"

#include <string>

#include "tool/office/office.h"
#include "tool/pages/form_list.h"
#include "tool/pages/list_texts.h"
#include "tool/pages/reader_page.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/http/http_response.h"

namespace zforms::tool {
namespace {

constexpr char kOpen[] = "/open.cgi";

class Session : public ZHTTPServerPageSession {
 public:
  Session(const OpeningPage* page, Office* office, const ReaderPage* reader)
      : ZHTTPServerPageSession(page), office_(office), reader_(reader) {}

  bool SetURL(const ZInetURL& url, const Chaine& method) override {
    if (!ZHTTPServerPageSession::SetURL(url, method)) return false;
    if ((method == "POST") != Opens()) SetStatus(405);
    return !IsInError();
  }
  bool SetRequestHeader(const ZHTTPHeader& header) override {
    texts_ = &ListTextsFor(header.Get("Accept-Language").View());
    return ZHTTPServerPageSession::SetRequestHeader(header);
  }
  void SendError(ZHTTPSendResponse& response) override {
    ZHTTPServerPageSession::SendError(response);
    if (Status() == 405) response.SetHeader("Allow", Opens() ? "POST" : "GET, HEAD");
  }
  void SendPage(ZHTTPSendResponse& response) override {
    if (Opens()) return SendForm(response);
    std::string list;
    if (!FormList(*office_, reader_, *texts_, &list)) {
      return Refuse(503, "the store cannot be read: " + office_->StoreError());
    }
    response.SetHeader("Content-Security-Policy", PagePolicy("'self'", false));
    SendRawData(response, list, "text/html; charset=utf-8", Chaine());
  }

 private:
  bool Opens() const { return URL().Path() == kOpen; }
  void SendForm(ZHTTPSendResponse& response) {
    const Chaine code = URL().Param("code");
    const bool as_xfdf = URL().Param("as") == "xfdf";
    if (!URL().HasParam("code")) return SetStatus(400);
    ZXFDF xfdf;
    const int status = office_->OpenForm(code, &xfdf);
    if (status != 200) return SetStatus(status);
    if (as_xfdf) {
      SendRawData(response, xfdf.AsChaine(), "application/vnd.adobe.xfdf", code + ".xfdf");
      return;
    }
    ZAcroFormServerForm form;
    Chaine bytes;
    ZInetChaineOStream out(bytes);
    if (!office_->Server().PrepareForm(xfdf, code, ZDocument::eModify, &form) || !form.Save(out)) {
      return SetStatus(404);
    }
    SendRawData(response, bytes, "application/pdf", Chaine());
  }

  Office* office_;
  const ReaderPage* reader_;
  const ListTexts* texts_ = &ListTextsFor({});
};

}  // namespace

OpeningPage::~OpeningPage() = default;

std::unique_ptr<ZHTTPServerPageSession> OpeningPage::StartRequest(const ZInetURL& url, const Chaine&) {
  const Chaine path = url.Path();
  return path == "/" || path == kOpen ? AllocSession() : nullptr;
}

std::unique_ptr<ZHTTPServerPageSession> OpeningPage::AllocSession() {
  return std::make_unique<Session>(this, office_, reader_);
}

}  // namespace zforms::tool
