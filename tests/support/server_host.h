#pragma once

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tests/support/form_text.h"
#include "tests/support/raw_http.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/host_settings.h"
#include "zforms/platform/host/mail.h"
#include "zforms/platform/host/shell.h"
#include "zforms/platform/host/user_interface.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/pdf_handler.h"
#include "zforms/server/xfdf_handler.h"

namespace zforms {

// A form with everything that a served form needs: two widgets of the save button, the modify button, a group whose
// fields inherit type and flags, and the session's field.
inline FormText ServedForm() {
  const std::string url = "<</FS/URL/F(http://old:1/";
  const auto submit = [&](const std::string& page) {
    return "/A<</S/SubmitForm/F" + url + page + ")>>/Flags 32>>/Subtype/Widget/Rect[0 0 9 9]";
  };
  return FormText()
      .Field(10, "<</FT/Tx/T(name)/Ff 2/Subtype/Widget/Rect[0 0 9 9]>>")
      .Field(11, "<</FT/Btn/Ff 49152/T(way)/Kids[12 0 R 13 0 R]>>")
      .Object(12, "<</Parent 11 0 R/Subtype/Widget/Rect[0 0 9 9]/AP<</N<</Air 30 0 R>>>>>>")
      .Object(13, "<</Parent 11 0 R/Subtype/Widget/Rect[0 0 9 9]/AP<</N<</Sea 30 0 R>>>>>>")
      .Field(14, "<</FT/Btn/Ff 65536/T(group)/Kids[15 0 R 16 0 R]>>")
      .Object(15, "<</Parent 14 0 R/T(save)/Kids[17 0 R 18 0 R]>>")
      .Object(16, "<</Parent 14 0 R/T(modify)" + submit("x/modify.cgi?a=b") + ">>")
      .Object(17, "<</Parent 15 0 R" + submit("save.cgi") + ">>")
      .Object(18, "<</Parent 15 0 R" + submit("x/save.cgi") + ">>")
      .Field(19, "<</FT/Tx/T(ZOR.SessionID)/F 2/Subtype/Widget/Rect[0 0 9 9]>>")
      .Object(30, "<</Type/XObject>>")
      .Trailer("/ID[<01><02>]");
}

class FakeSettings : public ZHostSettings {
 public:
  bool Read(const Chaine& section, const Chaine& name, Chaine* value) const override {
    if (section != "Settings" || name != "IgnorePDFVersion" || ignore_version.empty()) return false;
    *value = ignore_version;
    return true;
  }
  std::string ignore_version = "true";
};

class FakeShell : public ZShell {
 public:
  bool Execute(const Chaine& path, const Chaine& verb) override {
    calls.push_back(verb.ToString() + " " + path.ToString());
    Chaine bytes;
    files.push_back(ReadFile(path, &bytes) ? bytes : Chaine());
    return true;
  }
  bool OpenURL(const Chaine&) override { return true; }
  Chaine ProgramFor(const Chaine&) override { return program; }
  Chaine ServerOfClass(const Chaine& class_id) override { return class_id == reader_class ? reader : Chaine(); }

  std::vector<std::string> calls;
  std::vector<Chaine> files;  // their contents when they were opened
  Chaine program, reader, reader_class;
};

class FakeInterface : public ZUserInterface {
 public:
  void ShowMessage(const Chaine& text, Icon icon) override { shown.emplace_back(text.ToString(), icon); }
  bool Confirm(const Chaine&) override { return consents; }
  std::vector<std::pair<std::string, Icon>> shown;
  bool consents = true;
};

class FakeMailer : public ZMailer {
 public:
  bool SendMail(const ZPDFEmail& message, bool dialog) override {
    sent.emplace_back(message, dialog);
    return true;
  }
  std::vector<std::pair<ZPDFEmail, bool>> sent;
};

// The contents of a save message.
struct SavedXFDF {
  std::string url;
  std::string text;
  bool accepted;
  uint32_t count;
};

// A host with a server on a free port and the form F1. The test's thread is the host's thread: messages are delivered
// when it calls Deliver.
class ServerHost {
 public:
  explicit ServerHost(uint64_t folder = 12, int32_t exercice = 3) : templates_(storage.Path()) {
    Put("F1", ServedForm().Bytes());
    services.app_short_name = "App";
    services.settings = &settings;
    services.shell = &shell;
    services.user_interface = &interface;
    services.mailer = &mailer;
    services.temp_folder = &temp;
    services.idle_messages = &messages;
    server = std::make_unique<ZAcroFormServer>(0, templates_, folder, exercice, services);
    handler = new Handler(this);
    server->SetXFDFHandler(handler, true);
  }

  void Put(const std::string& code, const Chaine& bytes) const { storage.Write(code + ".pdf", bytes); }
  void Deliver() { messages.RunPending(); }
  std::string Port() const { return std::to_string(server->Port()); }

  RawAnswer Get(const std::string& target) const {
    return RawClient(server->Port()).Ask("GET " + target + " HTTP/1.1\r\nHost: localhost:" + Port() + "\r\n\r\n");
  }
  RawAnswer Post(const std::string& target, const std::string& body, const std::string& fields = "") const {
    return Send("POST", target, body, fields);
  }
  RawAnswer Send(const std::string& method, const std::string& target, const std::string& body,
                 const std::string& fields = "") const {
    RawClient client(server->Port());
    client.Send(method + " " + target + " HTTP/1.1\r\nHost: localhost:" + Port() + "\r\n" + fields +
                "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return client.Receive(method != "HEAD");
  }

  // The XFDF document with which the host opens the form.
  ZXFDF Open(const std::string& code = "F1") {
    ZXFDF xfdf = server->GetXFDFBuilder(code)->CreateXFDF();
    handler->TransactionManager().StartTransactionFor(xfdf);
    xfdf.SessionID().SetParam("Live", "yes");
    return xfdf;
  }
  // The XFDF document that a reader posts from this form, with the values of its fields.
  static ZXFDF Submitted(const std::string& pdf, const std::string& href) {
    ZAcroForm form;
    ZInetChaineIStream in{Chaine(pdf)};
    EXPECT_TRUE(form.Load(in, "")) << pdf;
    ZXFDF xfdf;
    xfdf.SetPDFHRef(ZInetURL(Chaine(href)));
    xfdf.SetIDS(form.Parser()->IDOriginal(), form.Parser()->IDModified());
    for (const char* name : {"name", "way", "ZOR.SessionID"}) {
      if (form.Fields().Exist(name)) xfdf.Fields()[name] = ZVariant(form.Fields()[name]->ValueUTF8());
    }
    return xfdf;
  }

  class Message : public ZAcroFormServerSaveXFDFMessage {
   public:
    Message(ServerHost* host, const ZInetURL& url, const ZXFDF& xfdf, bool accepted)
        : ZAcroFormServerSaveXFDFMessage(url, xfdf, accepted), host_(host) {}
    void OnIdleMessage() override {
      host_->saved.push_back({URL().AsChaine().ToString(), XFDF().AsChaine().ToString(), DataIsOK(),
                              XFDF().SessionID().Transaction().count});
    }

   private:
    ServerHost* host_;
  };

  class Session : public ZAcroFormServerXFDFSession {
   public:
    Session(ServerHost* host, ZAcroFormServerXFDFHandler* page, uint64_t folder, int32_t exercice)
        : ZAcroFormServerXFDFSession(page, folder, exercice), host_(host) {}
    bool CheckSession(const ZXFDF::SessionInfos& infos) override { return infos.Param("Live") == "yes"; }
    bool AcceptSave() override {
      if (host_->before_accept) host_->before_accept();
      if (!host_->accepts_copies) return TransactionManager().IncTransactionIn(ReceivedXFDF());
      ZXFDF copy = ReceivedXFDF();
      return TransactionManager().IncTransactionIn(copy);
    }
    ZAcroFormServerSaveXFDFMessage* CreateSaveMessage(const ZInetURL& url, const ZXFDF& xfdf, bool accepted) override {
      return new Message(host_, url, xfdf, accepted);
    }

   private:
    ServerHost* host_;
  };

  class Handler : public ZAcroFormServerXFDFHandler {
   public:
    explicit Handler(ServerHost* host)
        : ZAcroFormServerXFDFHandler(host->server.get(), host->server->XFDFRoot(), 0, 0), host_(host) {}
    std::unique_ptr<CSessionBase> AllocSession() override {
      uint64_t folder = 0;
      int32_t exercice = 0;
      GetCurrentFolder(folder, exercice);
      return std::make_unique<Session>(host_, this, folder, exercice);
    }

   private:
    ServerHost* host_;
  };

  ZTempFolder storage, temp;
  FakeSettings settings;
  FakeShell shell;
  FakeInterface interface;
  FakeMailer mailer;
  ZIdleMessageManager messages;
  ZHostServices services;
  std::function<void()> before_accept;
  bool accepts_copies = false;
  std::vector<SavedXFDF> saved;
  std::unique_ptr<ZAcroFormServer> server;
  Handler* handler;

 private:
  Chaine templates_;
};

}  // namespace zforms
