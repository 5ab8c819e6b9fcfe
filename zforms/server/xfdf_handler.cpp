#include "zforms/server/xfdf_handler.h"

#include <algorithm>
#include <chrono>
#include <string_view>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/shell.h"
#include "zforms/platform/host/version_resource.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/server/pdf_handler.h"
#include "zforms/server/reader_version.h"

namespace zforms {
namespace {

// The mark "°_" in UTF-8 and in windows-1252. The bytes in UTF-8 end with those in windows-1252.
constexpr std::string_view kMarkUTF8 = "\xC2\xB0_";
constexpr std::string_view kMark = "\xB0_";
// The file name extension by which shells choose a program.
constexpr std::string_view kSuffix = ".pdf";
// A reader that opens an XFDF document only when it is already running.
constexpr std::string_view kShyReader = "AcroRd32";
constexpr uint16_t kMinReaderVersion = 8;

std::string_view FileTitle(std::string_view path) {
  path.remove_prefix(path.find_last_of("/\\") + 1);
  return path.substr(0, path.rfind('.'));
}

uint64_t TickCount() {
  const auto since = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

}  // namespace

ZAcroFormServerXFDFHandler::ZAcroFormServerXFDFHandler(ZAcroFormServer* server, const Chaine& root, uint64_t folder,
                                                       int32_t exercice)
    : ZHTTPServerPageXFDF(folder, exercice, server->AppShortName()), server_(server), root_(root) {}

ZAcroFormServerXFDFHandler::~ZAcroFormServerXFDFHandler() = default;

// --- URLs ---

ZInetURL ZAcroFormServerXFDFHandler::GetXFDFURL(ZDocument::Status status, const Chaine& code) const {
  return server_->GetXFDFURL(status, code);
}

ZDocument::Status ZAcroFormServerXFDFHandler::GetDisplayMode(const ZInetURL& url) {
  const Chaine page = url.FileName();
  if (page == "save.cgi") return ZDocument::eModify;
  return page == "modify.cgi" ? ZDocument::eConsult : ZDocument::eReadOnly;
}

Chaine ZAcroFormServerXFDFHandler::CodeNameFromFileURL(const ZInetURL& url) {
  if (!url.IsLocalFile()) return {};
  const Chaine path = url.Path(true);
  const size_t mark = path.View().find(kMark);
  if (mark == std::string_view::npos) return {};
  std::string_view code = path.View().substr(mark + kMark.size());
  if (code.ends_with(kSuffix)) code.remove_suffix(kSuffix.size());
  return ZInetURL::Decode(code);
}

void ZAcroFormServerXFDFHandler::UpdatePDFHRef(ZXFDF& xfdf) const {
  ZInetURL href = xfdf.PDFHRef();
  if (href.IsLocalFile()) return;
  server_->UpdateURL(href);
  xfdf.SetPDFHRef(href);
}

void ZAcroFormServerXFDFHandler::UpdatePDFHRef(ZXFDF& xfdf, ZDocument::Status status) const {
  const ZInetURL href = xfdf.PDFHRef();
  if (href.IsLocalFile()) return;
  xfdf.SetPDFHRef(server_->GetPDFURL(ZAcroFormServer::CodeNameFromPDFURL(href), status));
}

// --- showing ---

bool ZAcroFormServerXFDFHandler::ShowXFDF(const ZXFDF& xfdf, ZDocument::Status status, bool external) {
  ZXFDF shown = xfdf;
  UpdatePDFHRef(shown, status);
  return ShowXFDF(shown, external);
}

bool ZAcroFormServerXFDFHandler::ShowXFDF(const ZXFDF& xfdf, bool external) {
  ZXFDF shown = xfdf;
  UpdatePDFHRef(shown);
  uint64_t folder = 0;
  int32_t exercice = 0;
  GetCurrentFolder(folder, exercice);
  shown.SessionID().SetFolder(folder, static_cast<uint32_t>(exercice));
  return external ? ExecXFDF(shown, "open", server_->Services()) : ShowFilled(shown);
}

bool ZAcroFormServerXFDFHandler::ShowFilled(const ZXFDF& xfdf) {
  const ZHostServices& services = server_->Services();
  const ZInetURL href = xfdf.PDFHRef();
  const Chaine code = ZAcroFormServer::CodeNameFromPDFURL(href);
  ZAcroFormServerForm form;
  Chaine bytes;
  ZInetChaineOStream out(bytes);
  const bool ready = services.temp_folder != nullptr && services.shell != nullptr &&
                     server_->PrepareForm(xfdf, code, ZAcroFormServerPDFHandler::StatusFromURL(href), &form) &&
                     form.Save(out);
  if (!ready) return false;
  // Makes sure that no two copies get the same name.
  last_tick_ = std::max(TickCount(), last_tick_ + 1);
  const Chaine name = FormatUInt(last_tick_) + kMarkUTF8 + ZInetURL::Encode(code) + kSuffix;
  const Chaine path = services.temp_folder->Write(name, bytes);
  return !path.IsEmpty() && services.shell->Execute(path, "open");
}

bool ZAcroFormServerXFDFHandler::ExecXFDF(const ZXFDF& xfdf, const char* verb, const ZHostServices& services) {
  if (!VerifyReaderVersion(services, false) || services.temp_folder == nullptr || services.shell == nullptr) {
    return false;
  }
  const Chaine text = xfdf.AsChaine();
  const Chaine path = text.IsEmpty() ? Chaine() : services.temp_folder->Write("temp.xfdf", text);
  if (path.IsEmpty()) return false;
  const Chaine program = services.shell->ProgramFor(path);
  if (SameIgnoringASCIICase(FileTitle(program), kShyReader)) {
    if (MajorVersion(GetAppVersionValue(program)) < kMinReaderVersion) return false;
    services.shell->Execute(program, "open");
  }
  return services.shell->Execute(path, verb);
}

}  // namespace zforms
