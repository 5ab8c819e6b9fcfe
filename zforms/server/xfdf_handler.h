#pragma once

#include <atomic>
#include <cstdint>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/host/host_services.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/server/document_status.h"
#include "zforms/server/xfdf_page.h"
#include "zforms/xfdf/transaction.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

class ZAcroFormServer;
class ZAcroFormServerXFDFHandler;

// A submission to be saved, on its way to the host's thread. The host derives from it and stores the data in
// OnIdleMessage.
class ZFORMS_API ZAcroFormServerSaveXFDFMessage : public ZIdleMessage {
 public:
  ZAcroFormServerSaveXFDFMessage(const ZInetURL& url, const ZXFDF& xfdf, bool accepted)
      : url_(url), xfdf_(xfdf), accepted_(accepted) {}

  // The request's path and parameters.
  const ZInetURL& URL() const { return url_; }
  // The submitted document, with the folder and count of the submission.
  const ZXFDF& XFDF() const { return xfdf_; }
  // True when the host's session accepted it.
  bool DataIsOK() const { return accepted_; }

 protected:
  ~ZAcroFormServerSaveXFDFMessage() override;

 private:
  ZInetURL url_;
  ZXFDF xfdf_;
  bool accepted_;
};

// One submission. The reader gets the form back: after an accepted save in status eConsult, else in eModify. The host
// derives from it.
class ZFORMS_API ZAcroFormServerXFDFSession : public ZHTTPServerPageXFDFSession {
 public:
  using CSaveXFDFMessage = ZAcroFormServerSaveXFDFMessage;

  ZAcroFormServerXFDFSession(ZAcroFormServerXFDFHandler* handler, uint64_t folder, int32_t exercice);
  ~ZAcroFormServerXFDFSession() override;

  // Refuses with 404 when the host has no current folder, and for other pages than "save.cgi" and "modify.cgi".
  bool SetURL(const ZInetURL& url, const Chaine& method) override;
  // Refuses with 409 a document without session infos, or one that CheckSession refuses.
  bool SetFullRequest(ZHTTPReadRequest& request) override;
  // Posts the message of a save exactly once, then answers; 404 when the template is missing.
  void SendPage(ZHTTPSendResponse& response) override;

  // False without session infos. A host may override it to avoid reading long documents that CheckSession would refuse.
  bool IsWorthReading(const ZXFDFSessionInfos* infos) override;
  // True when the submitted session is a live one of the host; otherwise pass the reason for the log to SetReason.
  virtual bool CheckSession(const ZXFDF::SessionInfos& infos) = 0;
  // True when the host accepts the submission to be saved. Called once. Here the host calls the transaction manager
  // with ReceivedXFDF(), so that the document's count is increased.
  virtual bool AcceptSave() = 0;
  // Creates a message; the caller takes over its reference.
  virtual CSaveXFDFMessage* CreateSaveMessage(const ZInetURL& url, const ZXFDF& xfdf, bool accepted) = 0;

  // What the request asks for, by its URL: to save the form, or to modify it again.
  ZDocument::Status Action() const;
  ZAcroFormServer* HTTPServer() const;
  ZXFDFTransaction& TransactionManager() const;
  void UpdatePDFHRef(ZXFDF& xfdf, ZDocument::Status status) const;

 private:
  bool AcceptAndPost(const ZXFDF& submitted);
  void CopySession(ZXFDF* to, const ZXFDFTransactionInfos& before) const;

  ZAcroFormServerXFDFHandler* handler_;
};

// ZAcroFormServerXFDFHandler receives the submissions of readers. The host derives from it to create its own sessions.
// The server must outlive it.
class ZFORMS_API ZAcroFormServerXFDFHandler : public ZHTTPServerPageXFDF {
 public:
  using CSession = ZAcroFormServerXFDFSession;
  using CSaveXFDFMessage = ZAcroFormServerSaveXFDFMessage;

  // `root` is the path below which this handler is registered, which is the server's XFDFRoot().
  ZAcroFormServerXFDFHandler(ZAcroFormServer* server, const Chaine& root, uint64_t folder, int32_t exercice);
  ~ZAcroFormServerXFDFHandler() override;

  ZAcroFormServer* HTTPServer() const { return server_; }
  const Chaine& RootURL() const { return root_; }
  ZXFDFTransaction& TransactionManager() { return transactions_; }

  ZInetURL GetXFDFURL(ZDocument::Status status, const Chaine& code) const;
  // eModify for "save.cgi", eConsult for "modify.cgi", else eReadOnly.
  static ZDocument::Status GetDisplayMode(const ZInetURL& url);
  // The code in the name of a local copy made by ShowXFDF: the part after the mark "°_", without the suffix ".pdf";
  // empty for other URLs.
  static Chaine CodeNameFromFileURL(const ZInetURL& url);

  // Makes the document's reference to its form a URL of this server. A reference to a local file is not changed.
  void UpdatePDFHRef(ZXFDF& xfdf) const;
  // Does the same with the URL at which the form is served in this status.
  void UpdatePDFHRef(ZXFDF& xfdf, ZDocument::Status status) const;

  // Opens the document in the program for XFDF, which fetches the form from this server; or, if not external, fills the
  // form and opens it in the program for PDF. Call it on the host's thread.
  bool ShowXFDF(const ZXFDF& xfdf, bool external);
  bool ShowXFDF(const ZXFDF& xfdf, ZDocument::Status status, bool external);
  // Writes the document to the file "temp.xfdf" and opens it in its program.
  static bool ExecXFDF(const ZXFDF& xfdf, const char* verb, const ZHostServices& services);

 private:
  bool ShowFilled(const ZXFDF& xfdf);

  ZAcroFormServer* server_;
  Chaine root_;
  ZXFDFTransaction transactions_;
  uint64_t last_tick_ = 0;
};

}  // namespace zforms
