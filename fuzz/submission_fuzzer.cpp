// Takes the input as the body of a submission. Checks that it is refused, or that it causes one message and is answered
// with a form that can be read.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "tests/support/pdf_text.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_response.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/xfdf_handler.h"

namespace {

using zforms::Chaine;

constexpr uint64_t kFolder = 12;
constexpr int32_t kYear = 3;
constexpr uint64_t kTransaction = 7;

Chaine Form() {
  const std::string button = "/FT/Btn/Ff 65536/Subtype/Widget/Rect[0 0 9 9]/A<</S/SubmitForm/Flags 32/F<</FS/URL/F(";
  return zforms::PdfText()
      .Header()
      .Object(1, "<</Type/Catalog/AcroForm<</Fields[2 0 R 3 0 R 4 0 R 5 0 R 6 0 R]>>>>")
      .Object(2, "<</FT/Tx/T(name)>>")
      .Object(3, "<</FT/Btn/Ff 32768/T(way)/Kids[7 0 R]>>")
      .Object(4, "<</T(save)" + button + "save.cgi)>>>>>>")
      .Object(5, "<</T(modify)" + button + "modify.cgi)>>>>>>")
      .Object(6, "<</FT/Ch/T(choice)/Opt[(a)(b)]>>")
      .Object(7, "<</Parent 3 0 R/Subtype/Widget/Rect[0 0 9 9]/AP<</N<</Sea null>>>>>>")
      .Xref()
      .Trailer("/Root 1 0 R/ID[<01><02>]")
      .Bytes();
}

class Message : public zforms::ZAcroFormServerSaveXFDFMessage {
 public:
  using ZAcroFormServerSaveXFDFMessage::ZAcroFormServerSaveXFDFMessage;
  void OnIdleMessage() override {
    if (XFDF().SessionID().Folder() != zforms::ZXFDFFolderInfos{kFolder, kYear}) std::abort();
  }
};

class Session : public zforms::ZAcroFormServerXFDFSession {
 public:
  using ZAcroFormServerXFDFSession::ZAcroFormServerXFDFSession;
  bool CheckSession(const zforms::ZXFDF::SessionInfos&) override { return true; }
  bool AcceptSave() override { return TransactionManager().IncTransactionIn(ReceivedXFDF()); }
  CSaveXFDFMessage* CreateSaveMessage(const zforms::ZInetURL& url, const zforms::ZXFDF& xfdf, bool accepted) override {
    return new Message(url, xfdf, accepted);
  }
};

class Handler : public zforms::ZAcroFormServerXFDFHandler {
 public:
  using ZAcroFormServerXFDFHandler::ZAcroFormServerXFDFHandler;
  std::unique_ptr<CSessionBase> AllocSession() override { return std::make_unique<Session>(this, kFolder, kYear); }
};

// A host whose server is never started: requests are passed to its sessions directly.
class Host {
 public:
  Host() {
    folder_.Write("F1.pdf", Form());
    zforms::ZHostServices services;
    services.app_short_name = "App";
    services.idle_messages = &messages_;
    server_ = std::make_unique<zforms::ZAcroFormServer>(8080, folder_.Path(), kFolder, kYear, services);
    handler_ = new Handler(server_.get(), server_->XFDFRoot(), kFolder, kYear);
    server_->SetXFDFHandler(handler_, true);
  }

  void Submit(const char* page, std::string_view body) {
    handler_->TransactionManager().Restore(kTransaction, 0);
    zforms::ZHTTPHeader header;
    header.Add("Host", "localhost:8080");
    const zforms::ZInetURL url(Chaine(page) + "?code=F1");
    zforms::ZHTTPReadRequest request("POST", url, header, Chaine(body));
    zforms::ZHTTPSendResponse response;
    Session session(handler_, kFolder, kYear);
    if (!session.SetURL(url, "POST")) std::abort();
    const bool taken = session.SetFullRequest(request);
    if (taken == session.IsInError()) std::abort();
    if (taken) session.SendPage(response);
    const bool saves = taken && session.Action() == zforms::ZDocument::eModify;
    if (messages_.RunPending() != (saves ? 1 : 0)) std::abort();
    if (taken && !session.IsInError()) CheckAnswer(response);
  }

 private:
  static void CheckAnswer(const zforms::ZHTTPSendResponse& response) {
    zforms::ZAcroFormServerForm form;
    zforms::ZInetChaineIStream in(response.Body());
    if (!response.IsComplete() || !form.Load(in, Chaine())) std::abort();
    for (const auto status : {zforms::ZDocument::eModify, zforms::ZDocument::eConsult}) {
      for (const auto& [name, buttons] : form.FindSubmitFormButtons(status)) {
        const Chaine target = buttons[0]->GetAction()->URL().AsChaine();
        if (!target.View().starts_with("http://localhost:8080/App/xfdf/")) std::abort();
      }
    }
  }

  zforms::ZTempFolder folder_;
  zforms::ZIdleMessageManager messages_;
  std::unique_ptr<zforms::ZAcroFormServer> server_;
  Handler* handler_ = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Host host;
  const std::string_view body(reinterpret_cast<const char*>(data), size);
  for (const char* page : {"/App/xfdf/save.cgi", "/App/xfdf/modify.cgi"}) host.Submit(page, body);
  return 0;
}
