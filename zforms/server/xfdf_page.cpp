#include "zforms/server/xfdf_page.h"

#include <algorithm>
#include <string>

#include "zforms/platform/base/number.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/http/http_request.h"
#include "zforms/platform/http/http_response.h"
#include "zforms/platform/text/characters.h"
#include "zforms/platform/xml/xml.h"
#include "zforms/xfdf/survey.h"

namespace zforms {
namespace {

// Session infos are parsed again for each of their parameters, so their length is limited; a host's are short.
constexpr size_t kMaxSessionInfos = size_t{64} << 10;
constexpr char kPost[] = "POST";
// The session infos of a longer text are checked before the document is read. Reading a shorter text at once is
// cheaper.
constexpr size_t kLongText = size_t{64} << 10;

// The length of the text as a literal string in a PDF: in PDFDocEncoding when all characters are in Latin-1, else in
// UTF-16, plus backslashes.
uint64_t SizeInPDF(std::string_view text) {
  const uint64_t characters = CountCharacters(text);
  uint64_t escapes = 0;
  bool is_wide = false;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    is_wide = is_wide || byte > 0xC3;
    if (c == '\r' || c == '\n' || c == '(' || c == ')' || c == '\\') escapes++;
  }
  return escapes + (is_wide ? 2 * characters : characters);
}

bool IsWithinLimits(const ZXFDF& xfdf) {
  using Session = ZHTTPServerPageXFDFSession;
  uint64_t work = 0;
  uint64_t size = 0;
  return !xfdf.HasFields() || xfdf.Fields().VisitValues([&](std::string_view name, const ZXFDF::Field& field) {
    work += name.size() * static_cast<uint64_t>(std::count(name.begin(), name.end(), '.') + 1);
    size += SizeInPDF(field.ValuesAsText());
    return work <= Session::kMaxNameWork && size <= Session::kMaxText;
  });
}

}  // namespace

ZHTTPServerPageXFDFSession::ZHTTPServerPageXFDFSession(const ZHTTPServerPageXFDF* page, uint64_t folder,
                                                       int32_t exercice)
    : ZHTTPServerPageSession(page), page_(page), folder_(folder), exercice_(exercice) {}

ZHTTPServerPageXFDFSession::~ZHTTPServerPageXFDFSession() = default;

Chaine ZHTTPServerPageXFDFSession::WhyForeign(const ZXFDF& xfdf) const {
  if (xfdf.Fields()[ZXFDF::kSessionIDField].Value().AsChaine().size() > kMaxSessionInfos) {
    return "the session information is too long";
  }
  const ZXFDFSessionInfos& infos = xfdf.SessionID();
  const ZXFDFFolderInfos folder = infos.Folder();
  const auto differs = [](const char* what, const Chaine& its, const Chaine& own) {
    return Chaine("the submission is for the ") + what + " " + its + ", but the server uses the " + what + " " + own;
  };
  if (folder.id != folder_) return differs("folder", FormatUInt(folder.id), FormatUInt(folder_));
  if (static_cast<int32_t>(folder.exercice) != exercice_) {
    return differs("year", FormatInt(static_cast<int32_t>(folder.exercice)), FormatInt(exercice_));
  }
  return infos.Software() == page_->Software() ? Chaine() : "the submission is for another application";
}

bool ZHTTPServerPageXFDFSession::IsWorthReading(const ZXFDFSessionInfos*) { return true; }

bool ZHTTPServerPageXFDFSession::LooksOwn(const XFDFSurvey& survey) {
  if (survey.has_session == XFDFSurvey::Session::eUnknown) return true;
  if (survey.has_session == XFDFSurvey::Session::eNone) return IsWorthReading(nullptr);
  ZXFDF alone;
  alone.Fields().AddField(ZXFDF::kSessionIDField) = ZVariant(survey.session);
  SetReason(WhyForeign(alone));
  return Reason().IsEmpty() && IsWorthReading(&alone.SessionID());
}

bool ZHTTPServerPageXFDFSession::Read(const Chaine& body) {
  constexpr char kTooMuch[] = "the submission is too large";
  Chaine text;
  std::string error;
  if (!ZXMLReader::ToUTF8(body, ZInetEncodedBuffer::eDetect, &text, &error)) {
    Refuse(409, "not valid XML: " + Chaine(error));
  } else if (text.size() > kMaxText) {
    Refuse(413, kTooMuch);
  } else if (const XFDFSurvey survey = XFDFSurvey::Of(text, kMaxNodes); survey.nodes > kMaxNodes) {
    Refuse(413, kTooMuch);
  } else if (text.size() > kLongText && !LooksOwn(survey)) {
    SetStatus(409);
  } else {
    xfdf_size_ = text.size();
    ZInetChaineIStream in(text);
    xfdf_.Read(&in, ZInetEncodedBuffer::eUTF8);
    if (!IsWithinLimits(xfdf_)) Refuse(413, kTooMuch);
  }
  return !IsInError();
}

bool ZHTTPServerPageXFDFSession::SetFullRequest(ZHTTPReadRequest& request) {
  if (!ZHTTPServerPageSession::SetFullRequest(request)) return false;
  if (request.ContentLength() != 0) {
    // Only POST may change anything (RFC 9110 9.3.1, 9.3.3).
    if (Method() != kPost) {
      Refuse(405, "only POST can submit a form");
      return false;
    }
    if (!Read(request.Body())) return false;
  }
  if (!IsInError() && !xfdf_.HasIDS()) {
    Refuse(409, "the submission is not an XFDF document or has no file identifiers (\"ids\")");
  }
  if (!IsInError() && !xfdf_.HasPDFHRef()) {
    ZInetURL href;
    href.SetProtocol("http");
    href.SetServer(request.Host());
    href.MoveTo(request.URL().AsChaine());
    xfdf_.SetPDFHRef(href);
  }
  if (!IsInError() && xfdf_.HasSessionID()) {
    if (const Chaine why = WhyForeign(xfdf_); !why.IsEmpty()) Refuse(409, why);
  }
  return !IsInError();
}

void ZHTTPServerPageXFDFSession::SendError(ZHTTPSendResponse& response) {
  ZHTTPServerPageSession::SendError(response);
  if (Status() == 405) response.SetHeader("Allow", kPost);
}

bool ZHTTPServerPageXFDFSession::SendXFDF(ZHTTPSendResponse& response, const ZXFDF& xfdf) {
  return SendRawData(response, xfdf.AsChaine(), "application/vnd.adobe.xfdf", Chaine());
}

ZHTTPServerPageXFDF::ZHTTPServerPageXFDF(uint64_t folder, int32_t exercice, const Chaine& software)
    : ZHTTPServerPageBase(Chaine()), folder_(folder), exercice_(exercice), software_(software) {}

ZHTTPServerPageXFDF::~ZHTTPServerPageXFDF() = default;

void ZHTTPServerPageXFDF::SetCurrentFolder(uint64_t folder, int32_t exercice) {
  const CSingleLock lock(section_);
  folder_ = folder;
  exercice_ = exercice;
}

void ZHTTPServerPageXFDF::GetCurrentFolder(uint64_t& folder, int32_t& exercice) const {
  const CSingleLock lock(section_);
  folder = folder_;
  exercice = exercice_;
}

}  // namespace zforms
