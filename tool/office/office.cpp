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

constexpr char kNotStored[] = "the submission could not be stored";
constexpr char kNotOut[] = "the form was never opened from this store, or it has expired";
// How long the answer to a submission waits until the submission is stored.
constexpr std::chrono::seconds kStoreTime(30);
constexpr char kMapSection[] = "Map";
// The clock's ticks are 100 ns.
constexpr uint64_t kTicksOfHour = uint64_t{3600} * 10'000'000;
// At most this many numbers are tried for a new transaction. The number comes from the clock, so another server of the
// store may have used it already.
constexpr int kMostNumbers = 16;

// The INI file with the maps of a template, in the same folder.
Chaine MapFileOf(const Chaine& path) { return path.Mid(0, path.size() - 4) + ".ini"; }

// A message with the data to be stored. It does not contain the document, which would have to be copied and searched on
// the main thread: that thread stores all submissions.
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

// Flushes the queue. The message is delivered after the submissions that were waiting when it was posted, so they are
// stored together.
class FlushMessage : public ZIdleMessage {
 public:
  explicit FlushMessage(SubmissionQueue* queue) : queue_(queue) {}

  void OnIdleMessage() override { queue_->Flush(); }

 private:
  SubmissionQueue* queue_;
};

// The part of a submission's session that is the same for all stores. Accepting and storing depend on the store.
class OfficeSession : public ZAcroFormServerXFDFSession {
 public:
  OfficeSession(Office* office, ZAcroFormServerXFDFHandler* handler, uint64_t folder, int32_t year)
      : ZAcroFormServerXFDFSession(handler, folder, year), office_(office) {}

  // Submissions must use POST (RFC 9110 9.3.3).
  bool SetURL(const ZInetURL& url, const Chaine& method) override {
    if (!ZAcroFormServerXFDFSession::SetURL(url, method)) return false;
    if (method == "POST") return true;
    Refuse(405, "only POST can submit a form");
    return false;
  }
  bool CheckSession(const ZXFDF::SessionInfos& infos) override {
    const Office::Finding finding = office_->Find(infos);
    if (finding.status == 503) Refuse(503, finding.reason);
    SetReason(finding.reason);
    return finding.status == 200;
  }
  // False when the form is not open. When the store cannot be read, returns true: CheckSession refuses the submission
  // later, with the right status.
  bool IsWorthReading(const ZXFDF::SessionInfos* infos) override {
    if (!ZAcroFormServerXFDFSession::IsWorthReading(infos)) return false;
    const Office::Finding finding = office_->Find(*infos);
    if (finding.status == 409) SetReason(finding.reason);
    return finding.status != 409;
  }

 protected:
  static constexpr char kStale[] = "the submission is outdated: a newer copy of the form was saved before";
  void AnswerError(ZHTTPSendResponse& response, int status, const char* reason) {
    Refuse(status, reason);
    response.MakeErrorPage(status);
  }
  Office* office_;
};

// For a store that no other server uses: the server decides which submissions it accepts, and stores them on its main
// thread.
class QueueSession : public OfficeSession {
 public:
  using OfficeSession::OfficeSession;

  bool AcceptSave() override {
    if (TransactionManager().IncTransactionIn(ReceivedXFDF())) return true;
    SetReason(kStale);
    return false;
  }
  ZAcroFormServerSaveXFDFMessage* CreateSaveMessage(const ZInetURL& url, const ZXFDF& xfdf, bool accepted) override {
    outcome_ = std::make_shared<StoreOutcome>();
    accepted_ = accepted;
    submitted_ = xfdf.SessionID().Transaction();
    std::string failure;
    Submission submission = office_->Prepare(url, xfdf);
    office_->Stage(&submission, accepted, &failure);
    if (failure.empty()) return new OfficeMessage(office_, outcome_, url, std::move(submission), accepted);
    outcome_->Abandon();
    return nullptr;
  }
  // Waits until the data are stored, because the answer confirms that.
  void SendPage(ZHTTPSendResponse& response) override {
    ZAcroFormServerXFDFSession::SendPage(response);
    if (outcome_ == nullptr || outcome_->Wait(kStoreTime)) return;
    // Restores the count of the transaction, so that the same submission can be sent again.
    if (accepted_) TransactionManager().Restore(submitted_.id, submitted_.count);
    AnswerError(response, 503, kNotStored);
  }

 private:
  bool accepted_ = false;
  ZXFDFTransactionInfos submitted_;
  std::shared_ptr<StoreOutcome> outcome_;
};

// For a store that several servers share: the store decides which submissions are accepted. The thread that received a
// submission stores it, since the decision and the storing are one transaction of the database.
class SharedSession : public OfficeSession {
 public:
  using OfficeSession::OfficeSession;

  bool AcceptSave() override {
    ZXFDF submitted = ReceivedXFDF();
    if (const ZInetURL href = submitted.PDFHRef(); href.IsLocalFile()) {
      const Chaine code = ZAcroFormServerXFDFHandler::CodeNameFromFileURL(href);
      submitted.SetPDFHRef(HTTPServer()->GetPDFURL(code, Action()));
    }
    verdict_ = office_->Submit(office_->Prepare(URL(), submitted));
    if (verdict_ == SharedForms::Verdict::kAccepted) ReceivedXFDF().SessionID().IncTransactionCount();
    if (verdict_ == SharedForms::Verdict::kStale) SetReason(kStale);
    return verdict_ == SharedForms::Verdict::kAccepted;
  }
  ZAcroFormServerSaveXFDFMessage* CreateSaveMessage(const ZInetURL&, const ZXFDF&, bool) override { return nullptr; }
  void SendPage(ZHTTPSendResponse& response) override {
    ZAcroFormServerXFDFSession::SendPage(response);
    if (verdict_ == SharedForms::Verdict::kFailure) AnswerError(response, 503, kNotStored);
    if (verdict_ == SharedForms::Verdict::kGone) AnswerError(response, 409, kNotOut);
  }

 private:
  // Stays kAccepted for a request to modify, which stores nothing.
  SharedForms::Verdict verdict_ = SharedForms::Verdict::kAccepted;
};

}  // namespace

OfficeHandler::OfficeHandler(Office* office, ZAcroFormServer* server)
    : ZAcroFormServerXFDFHandler(server, server->XFDFRoot(), 0, 0), office_(office) {}

OfficeHandler::~OfficeHandler() = default;

std::unique_ptr<ZHTTPServerPageSession> OfficeHandler::AllocSession() {
  uint64_t folder = 0;
  int32_t year = 0;
  GetCurrentFolder(folder, year);
  if (office_->SharesStore()) return std::make_unique<SharedSession>(office_, this, folder, year);
  return std::make_unique<QueueSession>(office_, this, folder, year);
}

// A server without a user interface: it writes messages for the user to the log.
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

// Loads the open forms from the store, if no other server uses it. In a shared store each form is looked up when it is
// needed.
void Office::TakeUpForms() {
  if (store_->Queue() == nullptr) return;
  for (const OpenedForm& form : store_->Queue()->Forms()) {
    handler_->TransactionManager().Restore(form.transaction, form.expected);
    TakeOut(form.transaction, {form.code, form.token, form.folder, form.year});
  }
}

// Removes the forms that have expired, at most once an hour. Called at the start and whenever a form is opened.
void Office::ExpireForms() {
  const uint64_t now = ZClock::System().Ticks();
  uint64_t due = next_expiry_;
  const bool is_due = expire_days_ != 0 && now >= due;
  if (!is_due || !next_expiry_.compare_exchange_strong(due, now + kTicksOfHour)) return;
  std::vector<uint64_t> expired;
  if (!store_->ExpireForms(expire_days_, &expired)) {
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

SharedForms::Found Office::TakeUp(SharedForms::Found found, const OpenedForm& form) {
  if (found == SharedForms::Found::kYes) TakeOut(form.transaction, {form.code, form.token, form.folder, form.year});
  if (found == SharedForms::Found::kFailure)
    log_->Event("error", "a form cannot be looked up in the store: " + store_->LastError());
  return found;
}

SharedForms::Found Office::Seek(uint64_t transaction, Out* out) {
  const auto known = [&] {
    const std::lock_guard lock(mutex_);
    const auto found = out_.find(transaction);
    if (found != out_.end()) *out = found->second;
    return found != out_.end();
  };
  if (known()) return SharedForms::Found::kYes;
  if (!SharesStore()) return SharedForms::Found::kNo;
  OpenedForm form;
  const SharedForms::Found found = TakeUp(store_->Shared()->FindForm(transaction, &form), form);
  *out = {form.code, form.token, form.folder, form.year};
  return found;
}

SharedForms::Found Office::SeekToken(const std::string& token, uint64_t* transaction, Out* out) {
  {
    const std::lock_guard lock(mutex_);
    const auto found = transactions_.find(token);
    if (found != transactions_.end()) *transaction = found->second;
  }
  OpenedForm form;
  if (*transaction == 0 && SharesStore()) {
    const SharedForms::Found found = TakeUp(store_->Shared()->FindFormOf(token, &form), form);
    if (found != SharedForms::Found::kYes) return found;
    *transaction = form.transaction;
  }
  return *transaction == 0 ? SharedForms::Found::kNo : Seek(*transaction, out);
}

Office::Finding Office::Find(const ZXFDF::SessionInfos& infos) {
  Out out;
  const SharedForms::Found found = Seek(infos.Transaction().id, &out);
  if (found == SharedForms::Found::kFailure) return {503, "the store cannot be reached"};
  if (found == SharedForms::Found::kNo) return {409, kNotOut};
  if (infos.Param(kSessionParam) == out.token) return {};
  return {409, "the session is not the one that the form was opened with"};
}

std::string Office::CodeOf(uint64_t transaction) const {
  const std::lock_guard lock(mutex_);
  const auto found = out_.find(transaction);
  return found == out_.end() ? std::string() : found->second.code;
}

bool Office::FillFromRubrics(const Chaine& code, ZAcroFormServer::XFDFBuilder& builder, ZXFDF* xfdf) {
  std::map<std::string, ZFieldSet> sets;
  Store::Rubrics rubrics;
  if (!store_->ReadRubrics(&rubrics)) {
    log_->Event("error", "the rubrics for form \"" + code.ToString() + "\" cannot be read: " + store_->LastError());
    return false;
  }
  for (const auto& [rubric, fields] : rubrics) {
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
  return true;
}

int Office::OpenForm(const Chaine& code, ZXFDF* xfdf) {
  ExpireForms();
  const auto builder = server_->GetXFDFBuilder(code);
  if (!builder) return 404;
  if (!FillFromRubrics(code, *builder, xfdf)) return 503;
  const ZXFDFFolderInfos folder = xfdf->SessionID().Folder();
  const Out out{code.ToString(), RandomToken(), folder.id, folder.exercice};
  xfdf->SessionID().SetParam(kSessionParam, out.token);
  Store::Added added = Store::Added::kTaken;
  // In a store that servers share, another server may have used the number of the transaction. Then tries the next one.
  for (int tries = 0; added == Store::Added::kTaken && tries < kMostNumbers; tries++) {
    handler_->TransactionManager().StartTransactionFor(*xfdf);
    added = store_->AddForm({xfdf->SessionID().Transaction().id, out.code, out.token, out.folder, out.year, 0});
  }
  if (added != Store::Added::kAdded) {
    log_->Event("error", "form \"" + out.code + "\" cannot be opened: " + store_->LastError());
    return 503;
  }
  TakeOut(xfdf->SessionID().Transaction().id, out);
  return 200;
}

int Office::ResumeForm(const std::string& token, Chaine* code, ZXFDF* xfdf, bool* was_saved) {
  uint64_t transaction = 0;
  Out out;
  const SharedForms::Found found = SeekToken(token, &transaction, &out);
  if (found != SharedForms::Found::kYes) return found == SharedForms::Found::kNo ? 404 : 503;
  *code = out.code;
  std::string saved;
  if (!store_->LatestXFDF(transaction, &saved)) {
    log_->Event("error", "the saved values of form \"" + out.code + "\" cannot be read: " + store_->LastError());
    return 503;
  }
  *was_saved = !saved.empty();
  if (*was_saved) {
    xfdf->FromChaine(saved);
    xfdf->SessionID().IncTransactionCount();
    return 200;
  }
  const auto builder = server_->GetXFDFBuilder(*code);
  if (!builder) return 404;
  if (!FillFromRubrics(*code, *builder, xfdf)) return 503;
  xfdf->SessionID().SetFolder(out.folder, out.year);
  xfdf->SessionID().SetTransactionID(transaction);
  xfdf->SessionID().SetParam(kSessionParam, token);
  return 200;
}

std::shared_ptr<const FormCard> Office::CardOf(const Chaine& code) {
  return cards_.Of(server_->PDFLocalFilePathName(code));
}

// --- submissions ---

Submission Office::Prepare(const ZInetURL& url, const ZXFDF& xfdf) const {
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
  return submission;
}

void Office::Stage(Submission* submission, bool accepted, std::string* failure) {
  *failure = store_->Queue()->Stage(submission, accepted);
  if (!failure->empty()) ReportFailure(*failure);
}

void Office::ReportFailure(const std::string& failure) {
  log_->Event("error", "a submission could not be stored (its sender was told): " + failure);
}

void Office::Keep(const Submission& submission, bool accepted, SubmissionQueue::Done done) {
  const auto finish = [this, told = std::move(done)](const char* failure) {
    if (failure != nullptr) ReportFailure(failure);
    told(failure);
  };
  SubmissionQueue* const queue = store_->Queue();
  if (!queue->Add(submission, accepted, finish)) return;
  const ZCountedPtr<ZIdleMessage> message(new FlushMessage(queue));
  server_->IdleMessages().Post(message.get());
}

SharedForms::Verdict Office::Submit(const Submission& submission) {
  std::string failure;
  const SharedForms::Verdict verdict = store_->Shared()->Submit(submission, &failure);
  if (verdict == SharedForms::Verdict::kFailure) ReportFailure(failure);
  return verdict;
}

}  // namespace zforms::tool
