#include "zforms/server/acro_form_server.h"

#include "zforms/platform/base/number.h"
#include "zforms/platform/host/user_interface.h"
#include "zforms/server/messages.h"
#include "zforms/server/pdf_handler.h"
#include "zforms/server/reader_version.h"
#include "zforms/server/xfdf_handler.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

Chaine RootOf(const ZHostServices& services, const char* part) {
  return "/" + ZInetURL::Encode(services.app_short_name) + "/" + part + "/";
}

}  // namespace

ZAcroFormServer::ZAcroFormServer(uint16_t port, const Chaine& storage, uint64_t folder, int32_t exercice,
                                 const ZHostServices& services)
    : ZHTTPServer(port),
      services_(services),
      pdf_handler_(new ZAcroFormServerPDFHandler(this, storage, PDFRoot())),
      folder_{folder, static_cast<uint32_t>(exercice)} {
  if (services_.idle_messages != nullptr) SetIdleMessages(services_.idle_messages);
  SetPageHandler(pdf_handler_->RootURL(), pdf_handler_, true);
}

ZAcroFormServer::~ZAcroFormServer() { Stop(); }

Chaine ZAcroFormServer::PDFRoot() const { return RootOf(services_, "acroform"); }

Chaine ZAcroFormServer::XFDFRoot() const { return RootOf(services_, "xfdf"); }

void ZAcroFormServer::SetXFDFHandler(ZAcroFormServerXFDFHandler* handler, bool own) {
  const ZAcroFormServerXFDFHandler* const former = xfdf_handler_.exchange(nullptr);
  const bool moves = former != nullptr && (handler == nullptr || former->RootURL() != handler->RootURL());
  if (moves) SetPageHandler(ZInetURL(former->RootURL()), nullptr, false);
  if (handler == nullptr) return;
  const FolderInfos folder = CurrentFolderInfos();
  handler->SetCurrentFolder(folder.id, static_cast<int32_t>(folder.exercice));
  xfdf_handler_ = handler;
  SetPageHandler(ZInetURL(handler->RootURL()), handler, own);
}

void ZAcroFormServer::PrepareTemplate(ZAcroForm&) const {}

// --- the folder and the addresses ---

void ZAcroFormServer::SetCurrentFolder(uint64_t folder, int32_t exercice) {
  {
    const CSingleLock lock(section_);
    folder_ = {folder, static_cast<uint32_t>(exercice)};
  }
  if (ZAcroFormServerXFDFHandler* const handler = xfdf_handler_) handler->SetCurrentFolder(folder, exercice);
}

ZXFDFFolderInfos ZAcroFormServer::CurrentFolderInfos() const {
  const CSingleLock lock(section_);
  return folder_;
}

void ZAcroFormServer::UpdateURL(ZInetURL& url) const {
  if (url.IsLocalFile()) return;
  url.SetProtocol("http");
  url.SetServer("localhost");
  url.SetPort(Port());
}

void ZAcroFormServer::UpdateURLPDF(ZInetURL& url, ZDocument::Status status) const {
  pdf_handler_->UpdateURLPDF(url, status);
}

ZInetURL ZAcroFormServer::GetPDFURL(const Chaine& code, ZDocument::Status status) const {
  return pdf_handler_->GetPDFURL(code, status);
}

Chaine ZAcroFormServer::CodeNameFromPDFURL(const ZInetURL& url) {
  return ZAcroFormServerPDFHandler::CodeNameFromURL(url);
}

Chaine ZAcroFormServer::PDFLocalFilePathName(const Chaine& code) const {
  return pdf_handler_->PDFLocalFilePathName(code);
}

Chaine ZAcroFormServer::PDFLocalFilePathName(const ZInetURL& url) const {
  return pdf_handler_->PDFLocalFilePathName(url);
}

ZInetURL ZAcroFormServer::GetXFDFURL(ZDocument::Status status, const Chaine& code) const {
  const ZAcroFormServerXFDFHandler* const handler = xfdf_handler_;
  ZInetURL url(handler == nullptr ? XFDFRoot() : handler->RootURL());
  if (!url.Path().View().ends_with('/')) url.SetPath(url.Path() + "/");
  url.MoveTo(status == ZDocument::eModify ? "save.cgi" : "modify.cgi");
  UpdateURL(url);
  if (!code.IsEmpty()) url.SetParam("code", code);
  return url;
}

const ZTemplateStorage& ZAcroFormServer::Storage() const { return pdf_handler_->Storage(); }

// --- forms ---

bool ZAcroFormServer::PrepareForm(const ZXFDF& xfdf, const Chaine& code, ZDocument::Status status, Form* form) const {
  return pdf_handler_->PrepareForm(xfdf, code, status, form);
}

bool ZAcroFormServer::BuildPDFFromXFDF(const ZXFDF& xfdf, const Chaine& path) const {
  return pdf_handler_->BuildPDFFromXFDF(xfdf, path);
}

bool ZAcroFormServer::PrintXFDF(const ZXFDF& xfdf) const { return pdf_handler_->PrintXFDF(xfdf); }

bool ZAcroFormServer::EmailXFDF(const ZXFDF& xfdf, const ZPDFEmail& mail) const {
  return pdf_handler_->EmailXFDF(xfdf, mail);
}

bool ZAcroFormServer::ShowXFDF(const ZXFDF& xfdf, bool external) const {
  ZAcroFormServerXFDFHandler* const handler = xfdf_handler_;
  return handler != nullptr && handler->ShowXFDF(xfdf, external);
}

bool ZAcroFormServer::ShowXFDF(const ZXFDF& xfdf, ZDocument::Status status, bool external) const {
  ZAcroFormServerXFDFHandler* const handler = xfdf_handler_;
  return handler != nullptr && handler->ShowXFDF(xfdf, status, external);
}

ZCountedPtr<ZAcroFormServerXFDFBuilder> ZAcroFormServer::GetXFDFBuilder(const Chaine& code) const {
  ZCountedPtr<XFDFBuilder> builder(new XFDFBuilder(this, code));
  return builder->HasPDF() ? builder : ZCountedPtr<XFDFBuilder>();
}

// --- notifications, on the host's thread ---

bool ZAcroFormServer::VerifyAdobeReaderVersion(bool show_message, const ZHostServices& services) {
  return VerifyReaderVersion(services, show_message);
}

bool ZAcroFormServer::NotifyStart() {
  if (!VerifyAdobeReaderVersion(true, services_)) return false;
  return services_.user_interface == nullptr ||
         services_.user_interface->Confirm("Démarrer le serveur HTTP local pour la liaison avec le lecteur PDF ?");
}

void ZAcroFormServer::NotifyErrorStart(int error) {
  if (services_.user_interface == nullptr) return;
  services_.user_interface->ShowMessage(ServerMessage(eServerMessage::eStartFailed, error),
                                        ZUserInterface::Icon::eError);
}

void ZAcroFormServer::NotifyIntrusion(const sIntrusionInfos& infos) {
  if (infos.path == "/favicon.ico" || services_.user_interface == nullptr) return;
  Chaine text = "Requête refusée (" + FormatInt(infos.status) + ") : " + infos.method + " " + infos.path;
  if (!infos.host.IsEmpty()) text += "\nServeur demandé : " + infos.host;
  if (!infos.origin.IsEmpty()) text += "\nOrigine : " + infos.origin;
  text += "\nProvenance : " + infos.remote_address;
  if (infos.count > 1) text += "\nNombre : " + FormatUInt(infos.count);
  services_.user_interface->ShowMessage(text, ZUserInterface::Icon::eWarning);
}

void ZAcroFormServer::NotifyStop() {}

}  // namespace zforms
