#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/host/template_storage.h"
#include "zforms/platform/http/http_page.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/server/document_status.h"
#include "zforms/server/server_form.h"

namespace zforms {

class FormCache;
class ZAcroFormServer;
class ZAcroFormServerPDFSession;
class ZPDFEmail;
class ZXFDF;

// ZAcroFormServerPDFHandler answers a reader's GET of a form: it finds the template
// of the parameter "code", puts it into the display mode of the parameter "Action",
// points its submit buttons at the server and sends it. It fills templates for
// printing, mailing and saving too; that is for the host's thread, the rest for any.
//
// The server owns it. Failures are false; nothing is shown to the user.
class ZFORMS_API ZAcroFormServerPDFHandler : public ZHTTPServerPageBase {
 public:
  using CSession = ZAcroFormServerPDFSession;

  // `root` is the path below which it is registered. The server outlives it.
  ZAcroFormServerPDFHandler(ZAcroFormServer* server, const Chaine& storage, const Chaine& root);
  ~ZAcroFormServerPDFHandler() override;

  std::unique_ptr<CSessionBase> AllocSession() override;

  const ZInetURL& RootURL() const { return root_; }
  const ZTemplateStorage& Storage() const { return storage_; }
  ZAcroFormServer* HTTPServer() const { return server_; }

  // The parameter "code"; empty when absent.
  static Chaine CodeNameFromURL(const ZInetURL& url);
  // The parameter "Action"; read-only when it is absent or unknown.
  static ZDocument::Status StatusFromURL(const ZInetURL& url);
  // Where the form of the code is served in the status.
  ZInetURL GetPDFURL(const Chaine& code, ZDocument::Status status) const;
  // Completes the URL of a form with server and "Action"; a local file's stays as it is.
  void UpdateURLPDF(ZInetURL& url, ZDocument::Status status) const;
  // The path of the code's template; empty when there is none.
  Chaine PDFLocalFilePathName(const Chaine& code) const;
  Chaine PDFLocalFilePathName(const ZInetURL& url) const;

  // Loads the code's template, fills it, has its buttons post to the server, and sets
  // its display mode. False when there is no such template or it cannot be loaded.
  // Values that a field does not take are warnings of the form.
  bool PrepareForm(const ZXFDF& xfdf, const Chaine& code, ZDocument::Status status, ZAcroFormServerForm* form) const;

  // Saves the filled form, read-only, to the path.
  bool BuildPDFFromXFDF(const ZXFDF& xfdf, const Chaine& path) const;
  bool PrintXFDF(const ZXFDF& xfdf) const;
  // False at once where the host runs for somebody elsewhere.
  bool EmailXFDF(const ZXFDF& xfdf, const ZPDFEmail& mail) const;

 private:
  friend class ZAcroFormServerPDFSession;

  bool LoadTemplate(const Chaine& path, ZAcroForm* form) const;
  void SetSubmitURLs(const Chaine& code, ZAcroFormServerForm* form) const;
  bool FillForm(const ZXFDF& xfdf, ZAcroFormServerForm* form) const;
  Chaine FillTempForm(const ZXFDF& xfdf) const;
  bool ExecPDF(const ZXFDF& xfdf, const Chaine& verb) const;

  ZAcroFormServer* server_;
  ZTemplateStorage storage_;
  ZInetURL root_;
  std::unique_ptr<FormCache> cache_;
};

// One request for a form.
class ZFORMS_API ZAcroFormServerPDFSession : public ZHTTPServerPageSession {
 public:
  explicit ZAcroFormServerPDFSession(const ZAcroFormServerPDFHandler* handler);
  ~ZAcroFormServerPDFSession() override;

  bool SetURL(const ZInetURL& url, const Chaine& method) override;
  bool SetFullRequest(ZHTTPReadRequest& request) override;
  void SendPage(ZHTTPSendResponse& response) override;

  ZAcroFormServer* HTTPServer() const { return handler_->HTTPServer(); }
  const ZTemplateStorage& Storage() const { return handler_->Storage(); }

 private:
  bool Fail(int status);

  const ZAcroFormServerPDFHandler* handler_;
  ZAcroFormServerForm form_;
  // What was served last time for the same URL and template; else the form is loaded.
  Chaine bytes_;
  bool is_made_ = false;
  Chaine key_;
  ZFileStamp stamp_;
};

}  // namespace zforms
