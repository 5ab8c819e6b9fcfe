#include "zforms/server/pdf_handler.h"

#include <string_view>

#include "zforms/appearance/field_drawer.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/mail.h"
#include "zforms/platform/host/shell.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/form_cache.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

constexpr char kPage[] = "get.cgi";
constexpr char kCode[] = "code";
constexpr char kAction[] = "Action";
constexpr char kSuffix[] = ".pdf";

const char* ActionOf(ZDocument::Status status) {
  if (status == ZDocument::eModify) return "modify";
  return status == ZDocument::eConsult ? "consult" : "readonly";
}

// Fills the form. Values that fields refuse are left out and reported in the form's diagnostics.
void Fill(const ZXFDF& xfdf, ZAcroForm* form) {
  ZCheckedFiller filler(*form);
  filler.SetDefaultsToo(true);
  filler.SetIgnoresUnknown(true);
  filler.Fill(xfdf);
  for (const ZCheckedFiller::Fault& fault : filler.Faults()) form->Warn(fault.Text());
  form->SetNeedAppearances(true);
}

// A file name from the last part of a code that looks like a path.
Chaine FileNameFor(const Chaine& code) {
  const size_t slash = code.View().find_last_of("/\\");
  Chaine name = ZInetURL::Encode(slash == std::string_view::npos ? code : code.Mid(slash + 1));
  if (!name.View().ends_with(kSuffix)) name += kSuffix;
  return name;
}

}  // namespace

ZAcroFormServerPDFHandler::ZAcroFormServerPDFHandler(ZAcroFormServer* server, const Chaine& storage, const Chaine& root)
    : ZHTTPServerPageBase("GET"),
      server_(server),
      storage_(storage),
      root_(root),
      cache_(std::make_unique<FormCache>()) {}

ZAcroFormServerPDFHandler::~ZAcroFormServerPDFHandler() = default;

std::unique_ptr<ZHTTPServerPageSession> ZAcroFormServerPDFHandler::AllocSession() {
  return std::make_unique<CSession>(this);
}

// --- URLs and paths ---

Chaine ZAcroFormServerPDFHandler::CodeNameFromURL(const ZInetURL& url) { return url.Param(kCode); }

ZDocument::Status ZAcroFormServerPDFHandler::StatusFromURL(const ZInetURL& url) {
  const Chaine action = url.Param(kAction);
  if (action == "modify") return ZDocument::eModify;
  return action == "consult" ? ZDocument::eConsult : ZDocument::eReadOnly;
}

ZInetURL ZAcroFormServerPDFHandler::GetPDFURL(const Chaine& code, ZDocument::Status status) const {
  ZInetURL url = root_;
  url.MoveTo(kPage);
  url.SetParam(kCode, code);
  UpdateURLPDF(url, status);
  return url;
}

void ZAcroFormServerPDFHandler::UpdateURLPDF(ZInetURL& url, ZDocument::Status status) const {
  server_->UpdateURL(url);
  if (!url.IsLocalFile()) url.SetParam(kAction, ActionOf(status));
}

Chaine ZAcroFormServerPDFHandler::PDFLocalFilePathName(const Chaine& code) const {
  return code.IsEmpty() ? Chaine() : storage_.PathOf(code);
}

Chaine ZAcroFormServerPDFHandler::PDFLocalFilePathName(const ZInetURL& url) const {
  return PDFLocalFilePathName(CodeNameFromURL(url));
}

// --- filling ---

bool ZAcroFormServerPDFHandler::LoadTemplate(const Chaine& path, ZAcroForm* form) const {
  const Chaine key = "template " + path;
  ZFileStamp stamp;
  Chaine bytes;
  if (path.IsEmpty() || !StampOfFile(path, &stamp)) return false;
  if (!cache_->Find(key, stamp, &bytes)) {
    if (!ReadFile(path, &bytes, nullptr, ZPDFParser::InputLimits(false))) return false;
    cache_->Keep(key, stamp, bytes);
  }
  ZInetChaineIStream in(bytes);
  form->SetEncryptions(server_->Encryptions());
  if (!form->Load(in, Chaine())) return false;
  server_->PrepareTemplate(*form);
  return true;
}

void ZAcroFormServerPDFHandler::Draw(ZAcroForm* form) const {
  if (!server_->Drawing()) return;
  ZFieldDrawer drawer(*form, *server_->Drawing());
  drawer.DrawAll();
  for (const ZDiagnostics::Warning& warning : drawer.Diagnostics().Warnings()) form->Warn(warning.text);
}

void ZAcroFormServerPDFHandler::SetSubmitURLs(const Chaine& code, ZAcroFormServerForm* form) const {
  form->SetSubmitURL(ZDocument::eConsult, server_->GetXFDFURL(ZDocument::eConsult, code));
  form->SetSubmitURL(ZDocument::eModify, server_->GetXFDFURL(ZDocument::eModify, code));
}

bool ZAcroFormServerPDFHandler::PrepareForm(const ZXFDF& xfdf, const Chaine& code, ZDocument::Status status,
                                            ZAcroFormServerForm* form) const {
  if (!LoadTemplate(PDFLocalFilePathName(code), form)) return false;
  Fill(xfdf, form);
  Draw(form);
  SetSubmitURLs(code, form);
  form->SetDisplayMode(status);
  return true;
}

bool ZAcroFormServerPDFHandler::FillForm(const ZXFDF& xfdf, ZAcroFormServerForm* form) const {
  if (!LoadTemplate(PDFLocalFilePathName(xfdf.PDFHRef()), form)) return false;
  Fill(xfdf, form);
  Draw(form);
  form->SetDisplayMode(ZDocument::eReadOnly);
  return true;
}

bool ZAcroFormServerPDFHandler::BuildPDFFromXFDF(const ZXFDF& xfdf, const Chaine& path) const {
  ZAcroFormServerForm form;
  // Without a path there is no file to save to.
  return !path.IsEmpty() && FillForm(xfdf, &form) && form.Save(path);
}

// The path of the filled form; empty on failure.
Chaine ZAcroFormServerPDFHandler::FillTempForm(const ZXFDF& xfdf) const {
  const ZTempFolder* const folder = server_->Services().temp_folder;
  ZAcroFormServerForm form;
  Chaine bytes;
  ZInetChaineOStream out(bytes);
  if (folder == nullptr || !FillForm(xfdf, &form) || !form.Save(out)) return {};
  return folder->Write(FileNameFor(CodeNameFromURL(xfdf.PDFHRef())), bytes);
}

bool ZAcroFormServerPDFHandler::ExecPDF(const ZXFDF& xfdf, const Chaine& verb) const {
  ZShell* const shell = server_->Services().shell;
  if (shell == nullptr) return false;
  const Chaine path = FillTempForm(xfdf);
  return !path.IsEmpty() && shell->Execute(path, verb);
}

bool ZAcroFormServerPDFHandler::PrintXFDF(const ZXFDF& xfdf) const { return ExecPDF(xfdf, "print"); }

bool ZAcroFormServerPDFHandler::EmailXFDF(const ZXFDF& xfdf, const ZPDFEmail& mail) const {
  ZMailer* const mailer = server_->Services().mailer;
  if (server_->Services().hosted || mailer == nullptr) return false;
  const Chaine path = FillTempForm(xfdf);
  if (path.IsEmpty()) return false;
  ZPDFEmail letter = mail;
  letter.AddAttachedFile(path, true);
  return mailer->SendMail(letter, !letter.WithoutDialog());
}

// --- a request ---

ZAcroFormServerPDFSession::ZAcroFormServerPDFSession(const ZAcroFormServerPDFHandler* handler)
    : ZHTTPServerPageSession(handler), handler_(handler) {}

ZAcroFormServerPDFSession::~ZAcroFormServerPDFSession() = default;

bool ZAcroFormServerPDFSession::Fail(int status) {
  SetStatus(status);
  return false;
}

bool ZAcroFormServerPDFSession::SetURL(const ZInetURL& url, const Chaine& method) {
  if (!ZHTTPServerPageSession::SetURL(url, method)) return false;
  if (url.FileName() != kPage) return Fail(404);
  if (!url.HasParam(kCode)) return Fail(400);
  const Chaine code = ZAcroFormServerPDFHandler::CodeNameFromURL(url);
  const Chaine path = handler_->PDFLocalFilePathName(code);
  if (path.IsEmpty() || !StampOfFile(path, &stamp_)) return Fail(404);
  const ZDocument::Status status = ZAcroFormServerPDFHandler::StatusFromURL(url);
  // The form also depends on its code and on the server's address: the submit URL contains both.
  key_ = "form " + FormatInt(status) + " " + HTTPServer()->GetXFDFURL(status, code).AsChaine() + " " + path;
  is_made_ = handler_->cache_->Find(key_, stamp_, &bytes_);
  if (is_made_) return true;
  if (!handler_->LoadTemplate(path, &form_)) return Fail(404);
  form_.SetDisplayMode(status);
  handler_->SetSubmitURLs(code, &form_);
  return true;
}

bool ZAcroFormServerPDFSession::SetFullRequest(ZHTTPReadRequest& request) {
  return ZHTTPServerPageSession::SetFullRequest(request) && !IsInError();
}

void ZAcroFormServerPDFSession::SendPage(ZHTTPSendResponse& response) {
  if (!is_made_) {
    ZInetChaineOStream out(bytes_);
    if (!form_.Save(out)) return SetStatus(500);
    handler_->cache_->Keep(key_, stamp_, bytes_);
  }
  SendRawData(response, bytes_, "application/pdf", Chaine());
}

}  // namespace zforms
