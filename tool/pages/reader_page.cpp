#include "tool/pages/reader_page.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "tool/office/form_card.h"
#include "tool/office/office.h"
#include "zforms/platform/host/template_storage.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_response.h"
#include "zforms/platform/text/text.h"

namespace zforms::tool {
namespace {

// The type with sorted members, because a lookup in ordered_json takes linear time.
using Json = nlohmann::json;

constexpr std::string_view kRoot = "/reader/";
constexpr std::string_view kOpen = "open.json";
constexpr std::string_view kForm = "form.json";
constexpr std::string_view kSaved = "saved.json";

const char* NameOf(ZDocument::Status status) {
  if (status == ZDocument::eModify) return "modify";
  return status == ZDocument::eConsult ? "consult" : "readonly";
}

std::string PathOf(const ZInetURL& url) { return url.AsChaine(false, true).ToString(); }

Json ValuesOf(const ZXFDF& xfdf) {
  Json values = Json::object();
  xfdf.Fields().VisitValues([&values](std::string_view name, const ZXFDF::Field& field) {
    Json& texts = values[std::string(name)] = Json::array();
    for (const Chaine& text : field.Values()) texts.push_back(WithLineEnds(text, "\n").ToString());
    return true;
  });
  return values;
}

Json ButtonsOf(const FormCard& card, const ZAcroFormServer& server, const Chaine& code) {
  Json buttons = Json::array();
  for (const FormCard::Button& button : card.buttons) {
    buttons.push_back({{"name", button.name},
                       {"does", button.status == ZDocument::eModify ? "save" : "modify"},
                       {"target", PathOf(server.GetXFDFURL(button.status, code))},
                       {"flags", button.flags},
                       {"fields", button.fields}});
  }
  return buttons;
}

Json ResetsOf(const FormCard& card) {
  Json resets = Json::array();
  for (const FormCard::Reset& reset : card.resets) {
    resets.push_back({{"name", reset.name}, {"flags", reset.flags}, {"fields", reset.fields}});
  }
  return resets;
}

class Session : public ZHTTPServerPageSession {
 public:
  Session(const ReaderPage* page, Office* office) : ZHTTPServerPageSession(page), page_(page), office_(office) {}

  bool SetURL(const ZInetURL& url, const Chaine& method) override {
    if (!ZHTTPServerPageSession::SetURL(url, method)) return false;
    const Chaine path = url.Path();
    name_ = path.View().starts_with(kRoot) ? path.View().substr(kRoot.size()) : std::string_view();
    if (name_.empty()) name_ = "index.html";
    if ((method == "POST") != (name_ == kOpen)) SetStatus(405);
    return !IsInError();
  }
  bool SetRequestHeader(const ZHTTPHeader& header) override {
    known_tag_ = header.Get("If-None-Match");
    return ZHTTPServerPageSession::SetRequestHeader(header);
  }
  void SendPage(ZHTTPSendResponse& response) override {
    if (name_ == kOpen) return OpenForm(response);
    if (name_ == kForm) return URL().HasParam("form") ? ResumeForm(response) : LookAtForm(response);
    if (name_ == kSaved) return SendSaved(response);
    SendFile(response);
  }

 private:
  void SendFile(ZHTTPSendResponse& response) {
    const StaticFiles::File* const file = page_->Files().Find(name_);
    if (file == nullptr) return SetStatus(404);
    response.SetHeader("Content-Security-Policy", PagePolicy("'none'", page_->RunsScripts() && name_ == "index.html"));
    response.SetEntityTag(file->entity_tag);
    if (known_tag_ == file->entity_tag) return SetStatus(304);
    SendRawData(response, file->bytes, file->content_type, Chaine());
  }

  void OpenForm(ZHTTPSendResponse& response) {
    const Chaine code = URL().Param("code");
    ZXFDF xfdf;
    const int status = office_->OpenForm(code, &xfdf);
    if (status != 200) return SetStatus(status);
    SendForm(response, code, xfdf, ZDocument::eModify);
  }
  void ResumeForm(ZHTTPSendResponse& response) {
    ZXFDF xfdf;
    Chaine code;
    bool was_saved = false;
    const int status = office_->ResumeForm(URL().Param("form").ToString(), &code, &xfdf, &was_saved);
    if (status != 200) return SetStatus(status);
    SendForm(response, code, xfdf, was_saved ? ZDocument::eConsult : ZDocument::eModify);
  }
  // Sends the saved values of a form, even if its template is missing.
  void SendSaved(ZHTTPSendResponse& response) {
    ZXFDF xfdf;
    Chaine code;
    bool was_saved = false;
    const int status = office_->ResumeForm(URL().Param("form").ToString(), &code, &xfdf, &was_saved);
    if (status != 200 || !was_saved) return SetStatus(status != 200 ? status : 404);
    const Json saved = {{"values", ValuesOf(xfdf)}};
    SendRawData(response, saved.dump(-1, ' ', false, Json::error_handler_t::replace), "application/json", Chaine());
  }
  void LookAtForm(ZHTTPSendResponse& response) {
    SendForm(response, URL().Param("code"), ZXFDF(), ZDocument::eReadOnly);
  }

  void SendForm(ZHTTPSendResponse& response, const Chaine& code, const ZXFDF& xfdf, ZDocument::Status status) {
    const ZAcroFormServer& server = office_->Server();
    const std::shared_ptr<const FormCard> card = office_->CardOf(code);
    if (card == nullptr) return SetStatus(404);
    const ZInetURL address = server.GetPDFURL(code, status);
    Json form = {{"code", code.ToString()},
                 {"title", card->title},
                 {"mode", NameOf(status)},
                 {"pdf", PathOf(address)},
                 {"f", address.AsChaine().ToString()},
                 {"ids", {{"original", card->id_original}, {"modified", card->id_modified}}},
                 {"buttons", ButtonsOf(*card, server, code)},
                 {"resets", ResetsOf(*card)},
                 {"tabs", card->tab_orders},
                 {"unset", card->unset},
                 {"labels", card->labels},
                 {"scripts", page_->RunsScripts()},
                 {"own", card->values},
                 {"values", ValuesOf(xfdf)}};
    if (status != ZDocument::eReadOnly) form["form"] = xfdf.SessionID().Param(kSessionParam).ToString();
    const std::string text = form.dump(-1, ' ', false, Json::error_handler_t::replace);
    SendRawData(response, text, "application/json", Chaine());
  }

  const ReaderPage* page_;
  Office* office_;
  std::string name_;
  Chaine known_tag_;
};

}  // namespace

std::string PagePolicy(const char* forms, bool wasm) {
  return std::string("default-src 'none'; script-src 'self'") + (wasm ? " 'wasm-unsafe-eval'" : "") +
         "; worker-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
         "font-src 'self' blob: data:; connect-src 'self'; form-action " +
         forms + "; frame-ancestors 'none'; base-uri 'none'";
}

ReaderPage::ReaderPage(Office* office, const std::string& folder, bool scripts)
    : ZHTTPServerPageBase("GET,POST"), office_(office), scripts_(scripts) {
  files_.Read(folder);
}

ReaderPage::~ReaderPage() = default;

std::unique_ptr<ZHTTPServerPageSession> ReaderPage::AllocSession() { return std::make_unique<Session>(this, office_); }

}  // namespace zforms::tool
