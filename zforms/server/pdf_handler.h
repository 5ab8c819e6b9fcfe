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

// ZAcroFormServerPDFHandler answers a reader's GET of a form: it finds the template of the parameter "code", sets the
// display mode of the parameter "Action", makes its submit buttons post to the server and sends it. It also fills
// templates for printing, mailing and saving; only the host's thread may call these functions. Any thread may call the
// others.
//
// The server owns it. Failures return false; nothing is shown to the user.
class ZFORMS_API ZAcroFormServerPDFHandler : public ZHTTPServerPageBase {
 public:
  using CSession = ZAcroFormServerPDFSession;

  // `root` is the path below which it is registered. The server must outlive it.
  ZAcroFormServerPDFHandler(ZAcroFormServer* server, const Chaine& storage, const Chaine& root);
  ~ZAcroFormServerPDFHandler() override;

  std::unique_ptr<CSessionBase> AllocSession() override;

  const ZInetURL& RootURL() const { return root_; }
  const ZTemplateStorage& Storage() const { return storage_; }
  ZAcroFormServer* HTTPServer() const { return server_; }

  // The parameter "code"; empty when absent.
  static Chaine CodeNameFromURL(const ZInetURL& url);
  // The parameter "Action"; read-only when absent or unknown.
  static ZDocument::Status StatusFromURL(const ZInetURL& url);
  // The URL at which the form of the code is served in that status.
  ZInetURL GetPDFURL(const Chaine& code, ZDocument::Status status) const;
  // Adds this server and the parameter "Action" to the URL of a form. Does not change the URL of a local file.
  void UpdateURLPDF(ZInetURL& url, ZDocument::Status status) const;
  // The path of the code's template; empty when there is none.
  Chaine PDFLocalFilePathName(const Chaine& code) const;
  Chaine PDFLocalFilePathName(const ZInetURL& url) const;

  // Loads the code's template, fills it, makes its buttons post to the server, and sets its display mode. False when
  // the template does not exist or cannot be loaded. Values that a field refuses give warnings of the form.
  bool PrepareForm(const ZXFDF& xfdf, const Chaine& code, ZDocument::Status status, ZAcroFormServerForm* form) const;

  // Saves the filled form, read-only, to the path.
  bool BuildPDFFromXFDF(const ZXFDF& xfdf, const Chaine& path) const;
  bool PrintXFDF(const ZXFDF& xfdf) const;
  // Fails without doing anything when the host runs on a server for a remote user.
  bool EmailXFDF(const ZXFDF& xfdf, const ZPDFEmail& mail) const;

 private:
  friend class ZAcroFormServerPDFSession;

  bool LoadTemplate(const Chaine& path, ZAcroForm* form) const;
  void SetSubmitURLs(const Chaine& code, ZAcroFormServerForm* form) const;
  void Draw(ZAcroForm* form) const;
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
  // The bytes served last time for the same URL and template, from the cache; else empty.
  Chaine bytes_;
  bool is_made_ = false;
  Chaine key_;
  ZFileStamp stamp_;
};

}  // namespace zforms
