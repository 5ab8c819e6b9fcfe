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

// What was submitted to be saved, on its way to the host's thread. The host derives
// from it and stores the data in OnIdleMessage.
class ZFORMS_API ZAcroFormServerSaveXFDFMessage : public ZIdleMessage {
 public:
  ZAcroFormServerSaveXFDFMessage(const ZInetURL& url, const ZXFDF& xfdf, bool accepted)
      : url_(url), xfdf_(xfdf), accepted_(accepted) {}

  // The request's path and parameters.
  const ZInetURL& URL() const { return url_; }
  // The document as it was submitted, in the folder and with the count that it was
  // submitted with.
  const ZXFDF& XFDF() const { return xfdf_; }
  // Whether the host's session accepted it.
  bool DataIsOK() const { return accepted_; }

 protected:
  ~ZAcroFormServerSaveXFDFMessage() override;

 private:
  ZInetURL url_;
  ZXFDF xfdf_;
  bool accepted_;
};

// One submission. The reader gets the form again: after a save that was accepted to
// be consulted, else to be modified. The host derives from it.
class ZFORMS_API ZAcroFormServerXFDFSession : public ZHTTPServerPageXFDFSession {
 public:
  using CSaveXFDFMessage = ZAcroFormServerSaveXFDFMessage;

  ZAcroFormServerXFDFSession(ZAcroFormServerXFDFHandler* handler, uint64_t folder, int32_t exercice);
  ~ZAcroFormServerXFDFSession() override;

  // 404 outside a folder and for other pages than "save.cgi" and "modify.cgi".
  bool SetURL(const ZInetURL& url, const Chaine& method) override;
  // 409 for what CheckSession refuses, or what has no session.
  bool SetFullRequest(ZHTTPReadRequest& request) override;
  // Posts the message of a save, exactly once, then answers; 404 without the template.
  void SendPage(ZHTTPSendResponse& response) override;

  // Not without session infos. A host that overrides it spares itself the reading of long
  // documents that CheckSession would refuse.
  bool IsWorthReading(const ZXFDFSessionInfos* infos) override;
  // Whether the submitted session is a live one of the host; SetReason says to the log why not.
  virtual bool CheckSession(const ZXFDF::SessionInfos& infos) = 0;
  // Whether the host takes what is to be saved. Called once; the host asks the
  // transaction manager here, giving it ReceivedXFDF() so that the count is raised in it.
  virtual bool AcceptSave() = 0;
  // A new message, whose reference the caller takes over.
  virtual CSaveXFDFMessage* CreateSaveMessage(const ZInetURL& url, const ZXFDF& xfdf, bool accepted) = 0;

  // By the request's URL.
  ZDocument::Status Action() const;
  ZAcroFormServer* HTTPServer() const;
  ZXFDFTransaction& TransactionManager() const;
  void UpdatePDFHRef(ZXFDF& xfdf, ZDocument::Status status) const;

 private:
  bool AcceptAndPost(const ZXFDF& submitted);
  void CopySession(ZXFDF* to, const ZXFDFTransactionInfos& before) const;

  ZAcroFormServerXFDFHandler* handler_;
};

// ZAcroFormServerXFDFHandler receives what readers submit. The host derives from it
// to give its own sessions. The server outlives it.
class ZFORMS_API ZAcroFormServerXFDFHandler : public ZHTTPServerPageXFDF {
 public:
  using CSession = ZAcroFormServerXFDFSession;
  using CSaveXFDFMessage = ZAcroFormServerSaveXFDFMessage;

  // `root` is the path below which it is registered, the server's XFDFRoot().
  ZAcroFormServerXFDFHandler(ZAcroFormServer* server, const Chaine& root, uint64_t folder, int32_t exercice);
  ~ZAcroFormServerXFDFHandler() override;

  ZAcroFormServer* HTTPServer() const { return server_; }
  const Chaine& RootURL() const { return root_; }
  ZXFDFTransaction& TransactionManager() { return transactions_; }

  ZInetURL GetXFDFURL(ZDocument::Status status, const Chaine& code) const;
  // "save.cgi" is for what is modified, "modify.cgi" for what is consulted; all else
  // is read only.
  static ZDocument::Status GetDisplayMode(const ZInetURL& url);
  // The code in the name of a local copy that ShowXFDF made, which follows the mark
  // "°_", without the suffix ".pdf"; empty for other URLs.
  static Chaine CodeNameFromFileURL(const ZInetURL& url);

  // Completes the document's reference with this server, or has it name the form in
  // the status; that of a local file stays as it is.
  void UpdatePDFHRef(ZXFDF& xfdf) const;
  void UpdatePDFHRef(ZXFDF& xfdf, ZDocument::Status status) const;

  // Opens the document in the program for XFDF, which fetches the form from this server,
  // or (not external) fills the form and opens that in the program for PDF. On the host's
  // thread.
  bool ShowXFDF(const ZXFDF& xfdf, bool external);
  bool ShowXFDF(const ZXFDF& xfdf, ZDocument::Status status, bool external);
  // Writes the document to the file "temp.xfdf" and gives it to its program.
  static bool ExecXFDF(const ZXFDF& xfdf, const char* verb, const ZHostServices& services);

 private:
  bool ShowFilled(const ZXFDF& xfdf);

  ZAcroFormServer* server_;
  Chaine root_;
  ZXFDFTransaction transactions_;
  uint64_t last_tick_ = 0;
};

}  // namespace zforms
