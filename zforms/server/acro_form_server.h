#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "zforms/appearance/drawing_fonts.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/counted_unknown.h"
#include "zforms/platform/base/critical_section.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/host/host_services.h"
#include "zforms/platform/http/http_server.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/server/document_status.h"
#include "zforms/server/server_form.h"
#include "zforms/server/xfdf_builder.h"
#include "zforms/xfdf/session_infos.h"

namespace zforms {

class ZAcroFormServerPDFHandler;
class ZAcroFormServerXFDFHandler;
class ZPDFEmail;
class ZTemplateStorage;
class ZXFDF;

// ZAcroFormServer serves PDF forms to a reader on the same machine and receives what the reader submits. Its addresses
// are http://localhost:PORT/App/acroform/ for the forms and /App/xfdf/ for submissions, where App is the host's short
// name.
//
// The host's thread creates, starts, stops and deletes it, shows forms and changes the folder. Const functions may be
// called by any thread, except Show, Print and Email.
class ZFORMS_API ZAcroFormServer : public ZHTTPServer {
 public:
  using Form = ZAcroFormServerForm;
  using XFDFBuilder = ZAcroFormServerXFDFBuilder;
  using FolderInfos = ZXFDFFolderInfos;

  // Serves the templates of the folder `storage` (see ZTemplateStorage) on the port; 0 chooses a free one. `folder` and
  // `exercice` are the host's current folder and financial year. The services must outlive the server.
  ZAcroFormServer(uint16_t port, const Chaine& storage, uint64_t folder, int32_t exercice,
                  const ZHostServices& services);
  ~ZAcroFormServer() override;

  const ZHostServices& Services() const { return services_; }
  const Chaine& AppShortName() const { return services_.app_short_name; }
  // The roots of the pages: "/App/acroform/" and "/App/xfdf/".
  Chaine PDFRoot() const;
  Chaine XFDFRoot() const;

  // Registers the host's handler, which gets the current folder; null removes it. With `own` the server deletes it. Do
  // not call it while the server runs.
  void SetXFDFHandler(ZAcroFormServerXFDFHandler* handler, bool own);
  ZAcroFormServerPDFHandler& PDFHandler() const { return *pdf_handler_; }

  // Sets the encryptions of templates that are served; kRC4Only at first. An encrypted template must open without a
  // password. Do not call it while the server runs.
  void SetEncryptions(ZPDFEncryptions encryptions) { encryptions_ = encryptions; }
  ZPDFEncryptions Encryptions() const { return encryptions_; }

  // Sets the current folder. Forms that were sent before keep the folder in which they were opened.
  void SetCurrentFolder(uint64_t folder, int32_t exercice);
  uint64_t CurrentFolder() const { return CurrentFolderInfos().id; }
  int32_t CurrentExercice() const { return static_cast<int32_t>(CurrentFolderInfos().exercice); }
  FolderInfos CurrentFolderInfos() const;

  // Sets protocol, server and port to this server's; a local file's URL is not changed.
  void UpdateURL(ZInetURL& url) const;

  // See ZAcroFormServerPDFHandler.
  void UpdateURLPDF(ZInetURL& url, ZDocument::Status status) const;
  ZInetURL GetPDFURL(const Chaine& code, ZDocument::Status status) const;
  static Chaine CodeNameFromPDFURL(const ZInetURL& url);
  Chaine PDFLocalFilePathName(const Chaine& code) const;
  Chaine PDFLocalFilePathName(const ZInetURL& url) const;
  bool PrepareForm(const ZXFDF& xfdf, const Chaine& code, ZDocument::Status status, Form* form) const;
  bool BuildPDFFromXFDF(const ZXFDF& xfdf, const Chaine& path) const;
  bool PrintXFDF(const ZXFDF& xfdf) const;
  bool EmailXFDF(const ZXFDF& xfdf, const ZPDFEmail& mail) const;
  const ZTemplateStorage& Storage() const;

  // The URL to which the form's button of that status submits: "save.cgi" for forms to be modified, else "modify.cgi";
  // includes the code when it is not empty.
  ZInetURL GetXFDFURL(ZDocument::Status status, const Chaine& code) const;
  // Opens the form in the reader if `external`, else filled in the host's own window. False without a handler for
  // submissions.
  bool ShowXFDF(const ZXFDF& xfdf, bool external) const;
  bool ShowXFDF(const ZXFDF& xfdf, ZDocument::Status status, bool external) const;

  // Called for each template after it was loaded, before it is filled and sent; on any thread. A host may remove
  // content that readers would show in place of the fields, such as an XFA form. The default does nothing.
  virtual void PrepareTemplate(ZAcroForm& form) const;

  // Draws the fields of each filled form before it is sent, printed or mailed, so that every viewer shows them; off at
  // first. Viewers are asked to draw as well ("/NeedAppearances"). Do not call it while the server runs.
  void SetDrawing(const ZDrawingFonts& fonts) { drawing_ = fonts; }
  const std::optional<ZDrawingFonts>& Drawing() const { return drawing_; }

  // A builder for the code; null when its template cannot be read.
  ZCountedPtr<XFDFBuilder> GetXFDFBuilder(const Chaine& code) const;

  // True when a reader of version 8 or later is installed; see VerifyReaderVersion.
  static bool VerifyAdobeReaderVersion(bool show_message, const ZHostServices& services);

  // True when the reader is installed and the user agrees to start the server.
  bool NotifyStart() override;
  void NotifyErrorStart(int error) override;
  // Shows a warning for each refused request except those for "/favicon.ico".
  void NotifyIntrusion(const sIntrusionInfos& infos) override;
  void NotifyStop() override;

 private:
  ZHostServices services_;
  ZPDFEncryptions encryptions_ = ZPDFEncryptions::kRC4Only;
  std::atomic<ZAcroFormServerXFDFHandler*> xfdf_handler_ = nullptr;
  ZAcroFormServerPDFHandler* pdf_handler_;  // owned as a page handler
  std::optional<ZDrawingFonts> drawing_;
  mutable CCriticalSection section_;
  FolderInfos folder_;
};

}  // namespace zforms
