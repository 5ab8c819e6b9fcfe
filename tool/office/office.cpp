#include "tool/office/office.h"

#include <chrono>
#include <memory>
#include <utility>

#include "tool/office/store_outcome.h"
#include "tool/office/submitted_fields.h"
#include "zforms/acroform/change_rules.h"
#include "zforms/platform/base/clock.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/crypto/random_token.h"
#include "zforms/platform/data/field_set.h"
#include "zforms/platform/host/template_storage.h"
#include "zforms/platform/http/http_response.h"
#include "zforms/server/pdf_handler.h"

namespace zforms::tool {
namespace {

// How long an answer waits for its submission to be stored.
constexpr std::chrono::seconds kStoreTime(30);
constexpr char kMapSection[] = "Map";
// The clock's ticks are 100 ns.
constexpr uint64_t kTicksOfHour = uint64_t{3600} * 10'000'000;
constexpr uint64_t kTicksOfDay = 24 * kTicksOfHour;

// The INI file with the maps of a template, in the same folder.
Chaine MapFileOf(const Chaine& path) { return path.Mid(0, path.size() - 4) + ".ini"; }

// Carries the data to be stored instead of the document, which would have to be copied and searched on the main thread,
// where all submissions pass.
class OfficeMessage : public ZAcroFormServerSaveXFDFMessage {
 public:
  OfficeMessage(Office* office, std::shared_ptr<StoreOutcome> outcome, const ZInetURL& url, Submission submission,
                bool accepted)
      : ZAcroFormServerSaveXFDFMessage(url, ZXFDF(), accepted),
        office_(office),
        outcome_(std::move(outcome)),
        submission_(std::move(submission)) {}

  void OnIdleMessage() override {
    if (!outcome_->Begin()) return;
    const Submission submission = std::exchange(submission_, {});
    office_->Keep(submission, DataIsOK(),
                  [outcome = outcome_](const char* failure) { outcome->Tell(failure == nullptr); });
  }

 protected:
  ~OfficeMessage() override { outcome_->Abandon(); }

 private:
  Office* office_;
  std::shared_ptr<StoreOutcome> outcome_;
  Submission submission_;
};

// Delivered after the submissions that were waiting when it was posted.
class FlushMessage : public ZIdleMessage {
 public:
  explicit FlushMessage(Store* store) : store_(store) {}

  void OnIdleMessage() override { store_->Flush(); }

 private:
  Store* store_;
};

class OfficeSession : public ZAcroFormServerXFDFSession {
 public:
  OfficeSession(Office* office, ZAcroFormServerXFDFHandler* handler, uint64_t folder, int32_t year)
      : ZAcroFormServerXFDFSession(handler, folder, year), office_(office) {}

  // Submissions must use POST (RFC 9110 9.3.3).
  bool SetURL(const ZInetURL& url, const Chaine& method) override {
    if (!ZAcroFormServerXFDFSession::SetURL(url, method)) return false;
    if (method == "POST") return true;
    Refuse(405, "a form is submitted by POST");
    return false;
  }
  bool CheckSession(const ZXFDF::SessionInfos& infos) override {
    SetReason(office_->WhyNotOut(infos));
    return Reason().IsEmpty();
  }
  bool AcceptSave() override {
    if (TransactionManager().IncTransactionIn(ReceivedXFDF())) return true;
    SetReason("it is stale: a newer copy of the form was saved before");
    return false;
  }
  bool IsWorthReading(const ZXFDF::SessionInfos* infos) override {
    return ZAcroFormServerXFDFSession::IsWorthReading(infos) && CheckSession(*infos);
  }
  ZAcroFormServerSaveXFDFMessage* CreateSaveMessage(const ZInetURL& url, const ZXFDF& xfdf, bool accepted) override {
    outcome_ = std::make_shared<StoreOutcome>();
    accepted_ = accepted;
    submitted_ = xfdf.SessionID().Transaction();
    std::string failure;
    Submission submission = office_->Prepare(url, xfdf, accepted, &failure);
    if (failure.empty()) return new OfficeMessage(office_, outcome_, url, std::move(submission), accepted);
    outcome_->Abandon();
    return nullptr;
  }
  // The answer confirms that the data are stored, so it waits until they are.
  void SendPage(ZHTTPSendResponse& response) override {
    ZAcroFormServerXFDFSession::SendPage(response);
    if (outcome_ == nullptr || outcome_->Wait(kStoreTime)) return;
    // Allows the same submission to be sent again.
    if (accepted_) TransactionManager().Restore(submitted_.id, submitted_.count);
    Refuse(503, "the submission could not be stored");
    response.MakeErrorPage(503);
  }

 private:
  Office* office_;
  bool accepted_ = false;
  ZXFDFTransactionInfos submitted_;
  std::shared_ptr<StoreOutcome> outcome_;
};

}  // namespace

OfficeHandler::OfficeHandler(Office* office, ZAcroFormServer* server)
    : ZAcroFormServerXFDFHandler(server, server->XFDFRoot(), 0, 0), office_(office) {}

OfficeHandler::~OfficeHandler() = default;

std::unique_ptr<ZHTTPServerPageSession> OfficeHandler::AllocSession() {
  uint64_t folder = 0;
  int32_t year = 0;
  GetCurrentFolder(folder, year);
  return std::make_unique<OfficeSession>(office_, this, folder, year);
}

// A server without a screen: questions and messages for the user go to the log.
class Office::OfficeServer : public ZAcroFormServer {
 public:
  OfficeServer(const Settings& settings, const ZHostServices& services, ServerLog* log)
      : ZAcroFormServer(settings.port, settings.templates, settings.folder, settings.year, services), log_(log) {
    SetEncryptions(ZPDFEncryptions::kAll);
    SetRequestLog([log](const sRequestInfos& infos) { log->Request(infos); });
  }
  ~OfficeServer() override { Stop(); }

  // Removes the XFA form, which would not follow the changes, and usage rights, which the changes invalidate.
  void PrepareTemplate(ZAcroForm& form) const override {
    ZAcroFormChangeRules::DropXFA(form);
    ZAcroFormChangeRules::DropUsageRights(form);
  }

  void NotifyIntrusion(const sIntrusionInfos& infos) override {
    if (infos.path == "/favicon.ico") return;
    std::string text = FormatInt(infos.status).ToString() + " " + infos.method.ToString() + " " + infos.path.ToString();
    if (!infos.origin.IsEmpty()) text += " from a page of " + infos.origin.ToString();
    if (infos.count > 1) text += ", " + std::to_string(infos.count) + " times";
    log_->Event("refused", text);
  }
  void NotifyErrorStart(int error) override { start_error_ = error; }
  int StartError() const { return start_error_; }

 private:
  ServerLog* log_;
  int start_error_ = 0;
};

Office::Office(const Settings& settings, const ZHostServices& services, Store* store, ServerLog* log)
    : store_(store),
      log_(log),
      expire_days_(settings.expire_days),
      server_(std::make_unique<OfficeServer>(settings, services, log)) {
  handler_ = new OfficeHandler(this, server_.get());
  server_->SetXFDFHandler(handler_, true);
  ExpireForms();
  TakeUpForms();
}

ZAcroFormServer& Office::Server() { return *server_; }

int Office::StartError() const { return server_->StartError(); }

Office::~Office() { server_->Stop(); }

std::string Office::Address() const { return "http://localhost:" + std::to_string(server_->Port()) + "/"; }

// --- open forms ---

void Office::TakeUpForms() {
  for (const OpenedForm& form : store_->Forms()) {
    handler_->TransactionManager().Restore(form.transaction, form.expected);
    TakeOut(form.transaction, {form.code, form.token, form.folder, form.year});
  }
}

// Called at the start, and once an hour when forms are opened.
void Office::ExpireForms() {
  const uint64_t now = ZClock::System().Ticks();
  uint64_t due = next_expiry_;
  const bool is_due = expire_days_ != 0 && expire_days_ < now / kTicksOfDay && now >= due;
  if (!is_due || !next_expiry_.compare_exchange_strong(due, now + kTicksOfHour)) return;
  std::vector<uint64_t> expired;
  if (!store_->ExpireForms(now - expire_days_ * kTicksOfDay, &expired)) {
    return log_->Event("error", "forms that were never saved could not be removed: " + store_->LastError());
  }
  if (expired.empty()) return;
  {
    const std::lock_guard lock(mutex_);
    for (const uint64_t transaction : expired) {
      const auto found = out_.find(transaction);
      if (found == out_.end()) continue;
      transactions_.erase(found->second.token);
      out_.erase(found);
    }
  }
  log_->Event("expired", std::to_string(expired.size()) +
                             (expired.size() == 1 ? " form that was" : " forms that were") + " opened and never saved");
}

void Office::TakeOut(uint64_t transaction, const Out& out) {
  const std::lock_guard lock(mutex_);
  out_[transaction] = out;
  transactions_[out.token] = transaction;
}

Chaine Office::WhyNotOut(const ZXFDF::SessionInfos& infos) const {
  const uint64_t transaction = infos.Transaction().id;
  const Chaine token = infos.Param(kSessionParam);
  const std::lock_guard lock(mutex_);
  const auto found = out_.find(transaction);
  if (found == out_.end()) return "its form was never opened from this store, or has expired";
  return token == found->second.token ? Chaine() : "its session is not the one that the form was opened with";
}

std::string Office::CodeOf(uint64_t transaction) const {
  const std::lock_guard lock(mutex_);
  const auto found = out_.find(transaction);
  return found == out_.end() ? std::string() : found->second.code;
}

void Office::FillFromRubrics(const Chaine& code, ZAcroFormServer::XFDFBuilder& builder, ZXFDF* xfdf) {
  std::map<std::string, ZFieldSet> sets;
  for (const auto& [rubric, fields] : store_->ReadRubrics()) {
    ZFieldSet& set = sets[rubric];
    for (const auto& [field, value] : fields) set.Add(field, ZVariant(value));
  }
  for (const auto& [rubric, set] : sets) builder.AddRubric(rubric, &set);
  const Chaine maps = MapFileOf(server_->PDFLocalFilePathName(code));
  if (ZFileStamp stamp; StampOfFile(maps, &stamp)) {
    builder.ReadMapsIni(maps, kMapSection, Chaine(), false);
  } else {
    builder.SetAutoMap(Chaine(), false);
  }
  *xfdf = builder.CreateXFDF();
}

int Office::OpenForm(const Chaine& code, ZXFDF* xfdf) {
  ExpireForms();
  const auto builder = server_->GetXFDFBuilder(code);
  if (!builder) return 404;
  FillFromRubrics(code, *builder, xfdf);
  handler_->TransactionManager().StartTransactionFor(*xfdf);
  const ZXFDFFolderInfos folder = xfdf->SessionID().Folder();
  const Out out{code.ToString(), RandomToken(), folder.id, folder.exercice};
  xfdf->SessionID().SetParam(kSessionParam, out.token);
  const uint64_t transaction = xfdf->SessionID().Transaction().id;
  if (!store_->AddForm({transaction, out.code, out.token, out.folder, out.year, 0})) {
    log_->Event("error", "a form could not be opened: " + store_->LastError());
    return 503;
  }
  TakeOut(transaction, out);
  return 200;
}

int Office::ResumeForm(const std::string& token, Chaine* code, ZXFDF* xfdf, bool* was_saved) {
  uint64_t transaction = 0;
  Out out;
  {
    const std::lock_guard lock(mutex_);
    const auto found = transactions_.find(token);
    if (found == transactions_.end()) return 404;
    transaction = found->second;
    out = out_[transaction];
  }
  *code = out.code;
  const std::string saved = store_->LatestXFDF(transaction);
  *was_saved = !saved.empty();
  if (*was_saved) {
    xfdf->FromChaine(saved);
    xfdf->SessionID().IncTransactionCount();
    return 200;
  }
  const auto builder = server_->GetXFDFBuilder(*code);
  if (!builder) return 404;
  FillFromRubrics(*code, *builder, xfdf);
  xfdf->SessionID().SetFolder(out.folder, out.year);
  xfdf->SessionID().SetTransactionID(transaction);
  xfdf->SessionID().SetParam(kSessionParam, token);
  return 200;
}

std::shared_ptr<const FormCard> Office::CardOf(const Chaine& code) {
  return cards_.Of(server_->PDFLocalFilePathName(code));
}

// --- submissions ---

Submission Office::Prepare(const ZInetURL& url, const ZXFDF& xfdf, bool accepted, std::string* failure) {
  const ZXFDFTransactionInfos transaction = xfdf.SessionID().Transaction();
  const ZXFDFFolderInfos folder = xfdf.SessionID().Folder();
  Submission submission;
  submission.received = TimeStamp();
  submission.code = CodeOf(transaction.id);
  submission.transaction = transaction.id;
  submission.count = transaction.count;
  submission.folder = folder.id;
  submission.year = folder.exercice;
  submission.url = url.AsChaine().ToString();
  submission.xfdf = xfdf.AsChaine().ToString();
  submission.fields = SubmittedFields(xfdf);
  *failure = store_->Stage(&submission, accepted);
  if (!failure->empty()) ReportFailure(*failure);
  return submission;
}

void Office::ReportFailure(const std::string& failure) {
  log_->Event("error", "a submission could not be stored; its sender is told so: " + failure);
}

void Office::Keep(const Submission& submission, bool accepted, Store::Done done) {
  const auto finish = [this, told = std::move(done)](const char* failure) {
    if (failure != nullptr) ReportFailure(failure);
    told(failure);
  };
  if (!store_->AddSubmission(submission, accepted, finish)) return;
  const ZCountedPtr<ZIdleMessage> message(new FlushMessage(store_));
  server_->IdleMessages().Post(message.get());
}

}  // namespace zforms::tool
