#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "tool/office/form_card.h"
#include "tool/office/server_log.h"
#include "tool/store/store.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/xfdf_handler.h"

namespace zforms::tool {

class Office;

// OfficeHandler receives submissions. It accepts a submission when this office has opened the form, the form is still
// open, and the same submission was not accepted before.
class OfficeHandler : public ZAcroFormServerXFDFHandler {
 public:
  OfficeHandler(Office* office, ZAcroFormServer* server);
  ~OfficeHandler() override;

  std::unique_ptr<CSessionBase> AllocSession() override;

 private:
  Office* office_;
};

// Office is the server of a small office: it opens forms from its templates, receives the submissions and keeps them in
// a store.
//
// The main thread creates, starts, stops and deletes it and stores submissions; the store and the log must outlive it.
// Forms are opened on the server's threads.
class Office {
 public:
  struct Settings {
    std::string templates;
    uint16_t port = 0;
    uint64_t folder = 1;
    int32_t year = 0;
    uint32_t expire_days = 0;  // days after which a form that was never saved is removed; 0 means never
  };

  Office(const Settings& settings, const ZHostServices& services, Store* store, ServerLog* log);
  Office(const Office&) = delete;
  Office& operator=(const Office&) = delete;
  ~Office();

  ZAcroFormServer& Server();
  // The system's error when the port was not available; 0 otherwise.
  int StartError() const;
  ServerLog& Log() { return *log_; }
  // Why the last access to the store failed.
  std::string StoreError() const { return store_->LastError(); }
  // The address of the page that lists the forms.
  std::string Address() const;

  // Starts a transaction for the form, fills it from the store, and records that it is open. Returns 200, 404 when the
  // form does not exist, or 503 on failure.
  int OpenForm(const Chaine& code, ZXFDF* xfdf);
  // Like OpenForm, for a form that is already open. `token` is the parameter kSessionParam of its session infos. `xfdf`
  // gets the values that were saved last, if any; the form can be saved again.
  int ResumeForm(const std::string& token, Chaine* code, ZXFDF* xfdf, bool* was_saved);
  // Null when the form does not exist.
  std::shared_ptr<const FormCard> CardOf(const Chaine& code);
  bool StateOf(const Chaine& code, Store::FormState* state) { return store_->StateOf(code.ToString(), state); }

  // Finds out whether the form with these session infos is open. The HTTP status is 200 when it is, 409 when it is not,
  // and 503 when the store cannot be read; `reason` says why it is not 200.
  struct Finding {
    int status = 200;
    Chaine reason;
  };
  Finding Find(const ZXFDF::SessionInfos& infos);
  // The code of the open form of that transaction; empty when there is none. Call Find first: it may have to load the
  // form from the store.
  std::string CodeOf(uint64_t transaction) const;

  // Makes the data to be stored from a submitted document, on the thread that received it.
  Submission Prepare(const ZInetURL& url, const ZXFDF& xfdf) const;
  // For a store that no other server uses: stores the long texts of a submission in advance (see
  // SubmissionQueue::Stage). `failure` gets the reason of a failure.
  void Stage(Submission* submission, bool accepted, std::string* failure);
  // Stores a submission, together with others that arrived at the same time; calls `done` with the result. Call it on
  // the main thread.
  void Keep(const Submission& submission, bool accepted, SubmissionQueue::Done done);
  // For a store that several servers share: the store decides whether the submission is accepted, and stores it, on the
  // calling thread.
  SharedForms::Verdict Submit(const Submission& submission);
  bool SharesStore() const { return store_->Shared() != nullptr; }

 private:
  class OfficeServer;
  struct Out {
    std::string code;
    std::string token;
    uint64_t folder = 0;
    uint32_t year = 0;
  };

  void TakeOut(uint64_t transaction, const Out& out);
  SharedForms::Found Seek(uint64_t transaction, Out* out);
  SharedForms::Found SeekToken(const std::string& token, uint64_t* transaction, Out* out);
  SharedForms::Found TakeUp(SharedForms::Found found, const OpenedForm& form);
  void ReportFailure(const std::string& failure);
  bool FillFromRubrics(const Chaine& code, ZAcroFormServer::XFDFBuilder& builder, ZXFDF* xfdf);
  void TakeUpForms();
  void ExpireForms();

  Store* store_;
  ServerLog* log_;
  const uint32_t expire_days_;
  std::atomic<uint64_t> next_expiry_ = 0;  // in ticks
  mutable std::mutex mutex_;
  std::map<uint64_t, Out> out_;
  std::map<std::string, uint64_t, std::less<>> transactions_;  // by token
  FormCards cards_;
  OfficeHandler* handler_ = nullptr;  // owned by the server
  std::unique_ptr<OfficeServer> server_;
};

// The parameter of a form's session infos that contains a random token.
inline constexpr char kSessionParam[] = "Session.ID";

}  // namespace zforms::tool
