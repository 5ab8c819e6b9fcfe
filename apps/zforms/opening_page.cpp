#include "apps/zforms/opening_page.h"

#include <string>

#include "apps/zforms/office.h"
#include "platform/http_response.h"
#include "platform/inet_stream.h"
#include "platform/template_storage.h"

namespace zforms::tool {
namespace {

constexpr char kOpen[] = "/open.cgi";

std::string Escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&': result += "&amp;"; break;
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      case '"': result += "&quot;"; break;
      default: result += c;
    }
  }
  return result;
}

std::string Link(std::string_view target, std::string_view text) {
  return "<a href=\"" + Escaped(target) + "\">" + Escaped(text) + "</a>";
}

class Session : public ZHTTPServerPageSession {
 public:
  Session(const OpeningPage* page, Office* office) : ZHTTPServerPageSession(page), office_(office) {}

  void SendPage(ZHTTPSendResponse& response) override {
    if (URL().Path() == kOpen) return SendForm(response);
    response.SetHeader("Content-Security-Policy",
                       "default-src 'none'; style-src 'unsafe-inline'; frame-ancestors 'none'");
    SendRawData(response, List(), "text/html; charset=utf-8", Chaine());
  }

 private:
  std::string List() const {
    const ZAcroFormServer& server = office_->Server();
    std::string page =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>Forms</title>\n"
        "<style>body{font:16px sans-serif;margin:3em auto;max-width:44em}td{padding:.3em 1.5em .3em 0}</style>"
        "</head><body>\n<h1>Forms</h1>\n<table>\n";
    for (const Chaine& code : server.Storage().Codes()) {
      const std::string open = "open.cgi?code=" + ZInetURL::Encode(code).ToString();
      const std::string look = server.GetPDFURL(code, ZDocument::eReadOnly).AsChaine(false, true).ToString();
      page += "<tr><td>" + Escaped(code) + "<td>" + Link(open, "open") + "<td>" + Link(open + "&as=xfdf", "as XFDF") +
              "<td>" + Link(look, "look at") + "\n";
    }
    return page +
           "</table>\n<p>Open a form in a PDF reader that submits forms, fill it in and press its button to "
           "save.</p></body></html>\n";
  }

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
};

}  // namespace

OpeningPage::~OpeningPage() = default;

std::unique_ptr<ZHTTPServerPageSession> OpeningPage::StartRequest(const ZInetURL& url, const Chaine&) {
  const Chaine path = url.Path();
  return path == "/" || path == kOpen ? AllocSession() : nullptr;
}

std::unique_ptr<ZHTTPServerPageSession> OpeningPage::AllocSession() { return std::make_unique<Session>(this, office_); }

}  // namespace zforms::tool
