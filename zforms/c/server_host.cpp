#include "zforms/c/server_host.h"

#include <system_error>
#include <utility>

#include "zforms/acroform/change_rules.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/crypto/random_token.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/http/http_response.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::c {
namespace {

// The server has one folder and no financial years.
constexpr uint64_t kFolder = 1;
constexpr int32_t kYear = 0;
constexpr char kTokenParam[] = "Form.Token";

}  // namespace

// A server without a user interface: it never refuses to start, and refusals are reported as messages.
class ServerHost::Server : public ZAcroFormServer {
 public:
  Server(ServerHost* host, uint16_t port, const std::string& folder, const ZHostServices& services)
      : ZAcroFormServer(port, folder, kFolder, kYear, services), host_(host) {
    SetEncryptions(ZPDFEncryptions::kAll);
  }
  ~Server() override { Stop(); }

  void PrepareTemplate(ZAcroForm& form) const override {
    ZAcroFormChangeRules::DropXFA(form);
    ZAcroFormChangeRules::DropUsageRights(form);
  }
  bool NotifyStart() override { return true; }
  void NotifyErrorStart(int error) override { start_error_ = error; }
  void NotifyIntrusion(const sIntrusionInfos& infos) override {
    if (infos.path == "/favicon.ico") return;
    host_->Tell(ZFORMS_WARNING, "refused: " + infos.method.ToString() + " " + infos.path.ToString() + ", status " +
                                    FormatInt(infos.status).ToString());
  }
  void NotifyStop() override {}
  int StartError() const { return start_error_; }

 private:
  ServerHost* host_;
  int start_error_ = 0;
};

// Handles one submission, on a thread of the server.
class ServerHost::Session : public ZAcroFormServerXFDFSession {
 public:
  Session(ServerHost* host, ZAcroFormServerXFDFHandler* handler)
      : ZAcroFormServerXFDFSession(handler, kFolder, kYear), host_(host) {}

  bool CheckSession(const ZXFDF::SessionInfos& infos) override {
    if (host_->IsOut(infos)) return true;
    SetReason("the form was not opened by this server");
    return false;
  }
  bool IsWorthReading(const ZXFDF::SessionInfos* infos) override {
    return ZAcroFormServerXFDFSession::IsWorthReading(infos) && CheckSession(*infos);
  }
  bool AcceptSave() override {
    submitted_ = XFDFRequest().SessionID().Transaction();
    if (TransactionManager().IncTransactionIn(ReceivedXFDF())) return true;
    SetReason("the submission is outdated: a newer copy of the form was saved before");
    host_->Tell(ZFORMS_WARNING, "refused: " + Reason().ToString());
    return false;
  }
  // Passes the submission to the host before the answer is sent, so that the answer can say whether it was stored.
  ZAcroFormServerSaveXFDFMessage* CreateSaveMessage(const ZInetURL&, const ZXFDF& xfdf, bool accepted) override {
    is_lost_ = accepted && !host_->Submit(xfdf);
    return nullptr;
  }
  void SendPage(ZHTTPSendResponse& response) override {
    ZAcroFormServerXFDFSession::SendPage(response);
    if (!is_lost_) return;
    // Allows the same submission to be sent again.
    TransactionManager().Restore(submitted_.id, submitted_.count);
    Refuse(503, "the submission could not be stored");
    response.MakeErrorPage(503);
  }

 private:
  ServerHost* host_;
  ZXFDFTransactionInfos submitted_;
  bool is_lost_ = false;
};

class ServerHost::Handler : public ZAcroFormServerXFDFHandler {
 public:
  Handler(ServerHost* host, ZAcroFormServer* server)
      : ZAcroFormServerXFDFHandler(server, server->XFDFRoot(), kFolder, kYear), host_(host) {}
  std::unique_ptr<CSessionBase> AllocSession() override { return std::make_unique<Session>(host_, this); }

 private:
  ServerHost* host_;
};

ServerHost::ServerHost(const std::string& folder, const std::string& app, uint16_t port) : system_(app) {
  ZHostServices services = system_.Services();
  services.idle_messages = &messages_;
  server_ = std::make_unique<Server>(this, port, folder, services);
  handler_ = new Handler(this, server_.get());
  server_->SetXFDFHandler(handler_, true);
}

ServerHost::~ServerHost() { Stop(); }

bool ServerHost::Start(std::string* error) {
  if (!server_->Start()) {
    const int reason = server_->StartError();
    *error = "port " + std::to_string(server_->Port()) + ": " +
             (reason == 0 ? "the server is already running" : std::system_category().message(reason));
    return false;
  }
  deliverer_ = std::thread([this] { messages_.Run(); });
  return true;
}

void ServerHost::Stop() {
  server_->Stop();
  if (!deliverer_.joinable()) return;
  messages_.Quit();
  deliverer_.join();
}

bool ServerHost::IsRunning() const { return server_->IsRunning(); }

uint16_t ServerHost::Port() const { return server_->Port(); }

bool ServerHost::IsOut(const ZXFDF::SessionInfos& infos) const {
  const Chaine token = infos.Param(kTokenParam);
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = out_.find(infos.Transaction().id);
  return found != out_.end() && token == found->second.token;
}

bool ServerHost::Open(const std::string& code, const ZXFDF& values, ZXFDF* opened) {
  const auto builder = server_->GetXFDFBuilder(code);
  if (!builder) return false;
  *opened = builder->CreateXFDF();
  if (values.HasFields()) {
    values.Fields().VisitValues([&](std::string_view name, const ZXFDF::Field& field) {
      opened->Fields().AddField(name).SetValues(field.Values());
      return true;
    });
  }
  handler_->TransactionManager().StartTransactionFor(*opened);
  const Out out{code, RandomToken()};
  opened->SessionID().SetParam(kTokenParam, out.token);
  const std::lock_guard<std::mutex> lock(mutex_);
  out_[opened->SessionID().Transaction().id] = out;
  return true;
}

bool ServerHost::MakePDF(const std::string& code, const ZXFDF& opened, std::string* bytes) const {
  ZAcroFormServerForm form;
  Chaine pdf;
  ZInetChaineOStream out(pdf);
  if (!server_->PrepareForm(opened, code, ZDocument::eModify, &form) || !form.Save(out)) return false;
  *bytes = pdf.ToString();
  return true;
}

bool ServerHost::Submit(const ZXFDF& xfdf) {
  zforms_submission submission;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = out_.find(xfdf.SessionID().Transaction().id);
    if (found != out_.end()) submission.code = found->second.code;
  }
  submission.xfdf = xfdf.AsChaine().ToString();
  xfdf.Fields().VisitValues([&](std::string_view name, const ZXFDF::Field& field) {
    if (name != ZXFDF::kSessionIDField) submission.values.emplace_back(name, field.ValuesAsText().ToString());
    return true;
  });
  const std::lock_guard<std::mutex> lock(submitting_);
  return callback_(user_, &submission) != 0;
}

void ServerHost::Tell(zforms_severity severity, const std::string& text) const {
  const std::lock_guard<std::mutex> lock(telling_);
  listener_.Tell(severity, ZFORMS_ABOUT_SERVER, text);
}

}  // namespace zforms::c
