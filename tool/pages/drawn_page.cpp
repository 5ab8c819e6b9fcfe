#include "tool/pages/drawn_page.h"

#include "tool/office/office.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/filling/form_drawing.h"
#include "zforms/filling/form_flattening.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/http/http_response.h"

namespace zforms::tool {
namespace {

class Session : public ZHTTPServerPageXFDFSession {
 public:
  Session(const DrawnPage* page, Office* office, uint64_t folder, int32_t year)
      : ZHTTPServerPageXFDFSession(page, folder, year), page_(page), office_(office) {}

  bool SetURL(const ZInetURL& url, const Chaine& method) override {
    if (!ZHTTPServerPageXFDFSession::SetURL(url, method)) return false;
    if (method != "POST") Refuse(405, "only POST can draw a form");
    return !IsInError();
  }

  bool SetFullRequest(ZHTTPReadRequest& request) override {
    if (!ZHTTPServerPageXFDFSession::SetFullRequest(request)) return false;
    const bool has_session = XFDFRequest().HasSessionID();
    const Office::Finding found =
        has_session ? office_->Find(XFDFRequest().SessionID()) : Office::Finding{409, "the submission has no session"};
    if (found.status != 200) Refuse(found.status, found.reason);
    return !IsInError();
  }

  void SendPage(ZHTTPSendResponse& response) override {
    const Chaine code = office_->CodeOf(XFDFRequest().SessionID().Transaction().id);
    // Removes the session, so that nobody who gets the file can submit the form.
    ReceivedXFDF().Fields()[ZXFDF::kSessionIDField] = "";
    ZAcroFormServerForm form;
    if (!office_->Server().PrepareForm(XFDFRequest(), code, ZDocument::eReadOnly, &form)) return SetStatus(404);
    ZFormMessages unsaid;
    const FieldScripts scripts(form);
    FormDrawing(form, page_->Fonts(), nullptr, &scripts).DrawAll(&unsaid);
    if (URL().HasParam("flat") && !FlattenForm(form, {}, {false, true}, &unsaid)) return SetStatus(500);
    Chaine bytes;
    ZInetChaineOStream out(bytes);
    if (!form.Save(out)) return SetStatus(500);
    SendRawData(response, bytes, "application/pdf", code + ".pdf");
  }

 protected:
  bool IsWorthReading(const ZXFDFSessionInfos* infos) override {
    return infos != nullptr && office_->Find(*infos).status != 409;
  }

 private:
  const DrawnPage* page_;
  Office* office_;
};

}  // namespace

DrawnPage::DrawnPage(Office* office) : ZHTTPServerPageXFDF(0, 0, office->Server().AppShortName()), office_(office) {}

DrawnPage::~DrawnPage() = default;

std::unique_ptr<ZHTTPServerPageSession> DrawnPage::AllocSession() {
  const ZXFDFFolderInfos folder = office_->Server().CurrentFolderInfos();
  return std::make_unique<Session>(this, office_, folder.id, static_cast<int32_t>(folder.exercice));
}

}  // namespace zforms::tool
