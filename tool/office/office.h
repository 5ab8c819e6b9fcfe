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
#include "tool/office/store.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/xfdf_handler.h"

namespace zforms::tool {

class Office;

// OfficeHandler receives what is submitted: of forms that this office has opened
// and that are still out, each step once.
class OfficeHandler : public ZAcroFormServerXFDFHandler {
 public:
  OfficeHandler(Office* office, ZAcroFormServer* server);
  ~OfficeHandler() override;

  std::unique_ptr<CSessionBase> AllocSession() override;

 private:
  Office* office_;
};

// Office is the server of a small office: it opens forms from its templates, takes
// back what is submitted and keeps it in a store.
//
// The main thread makes, starts, stops and deletes it and stores what comes in; the
// store and the log outlive it. Forms are opened on the server's threads.
class Office {
 public:
  struct Settings {
    std::string templates;
    uint16_t port = 0;
    uint64_t folder = 1;
    int32_t year = 0;
    uint32_t expire_days = 0;  // after which a form that was never saved is forgotten; 0: never
  };

  Office(const Settings& settings, const ZHostServices& services, Store* store, ServerLog* log);
  Office(const Office&) = delete;
  Office& operator=(const Office&) = delete;
  ~Office();

  ZAcroFormServer& Server();
  // The system's error when the port could not be had; 0 otherwise.
  int StartError() const;
  ServerLog& Log() { return *log_; }
  // Of the page that lists the forms.
  std::string Address() const;

  // Starts a transaction for the form, fills it from the store, and writes down that
  // it is out. The status is 200, 404 without the form, 503 when that fails.
  int OpenForm(const Chaine& code, ZXFDF* xfdf);
  // The same for a form that is out, by the parameter kSessionParam of its session: as
  // it was saved last, if it was, to be saved again.
  int ResumeForm(const std::string& token, Chaine* code, ZXFDF* xfdf, bool* was_saved);
  // Null without the form.
  std::shared_ptr<const FormCard> CardOf(const Chaine& code);
  Store::FormState StateOf(const Chaine& code) { return store_->StateOf(code.ToString()); }

  // Why the form is none of those that are out, by the session that it went out with;
  // empty when it is one.
  Chaine WhyNotOut(const ZXFDF::SessionInfos& infos) const;
  // What is to be stored of a document that was submitted, on the thread that received it;
  // what is long is stored already. `failure` says why that failed.
  Submission Prepare(const ZInetURL& url, const ZXFDF& xfdf, bool accepted, std::string* failure);
  // Stores a submission, together with others that came at the time; `done` is told
  // what became of it. On the main thread.
  void Keep(const Submission& submission, bool accepted, Store::Done done);
  void ReportFailure(const std::string& failure);

 private:
  class OfficeServer;
  struct Out {
    std::string code;
    std::string token;
    uint64_t folder = 0;
    uint32_t year = 0;
  };

  void TakeOut(uint64_t transaction, const Out& out);
  void FillFromRubrics(const Chaine& code, ZAcroFormServer::XFDFBuilder& builder, ZXFDF* xfdf);
  void TakeUpForms();
  void ExpireForms();
  std::string CodeOf(uint64_t transaction) const;

  Store* store_;
  ServerLog* log_;
  const uint32_t expire_days_;
  std::atomic<uint64_t> next_expiry_ = 0;  // in ticks
  mutable std::mutex mutex_;
  std::map<uint64_t, Out> out_;
  std::map<std::string, uint64_t, std::less<>> transactions_;  // by the token
  FormCards cards_;
  OfficeHandler* handler_ = nullptr;  // owned by the server
  std::unique_ptr<OfficeServer> server_;
};

// The parameter of a form's session infos that nobody can guess.
inline constexpr char kSessionParam[] = "Session.ID";

}  // namespace zforms::tool
