#pragma once

#include <cstddef>
#include <cstdint>

#include "zforms/platform/base/critical_section.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_page.h"
#include "zforms/xfdf/session_infos.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

class ZHTTPServerPageXFDF;
struct XFDFSurvey;

// One request with an XFDF document in its body. It keeps the folder and financial
// year that it was made with, whatever the host changes meanwhile.
class ZFORMS_API ZHTTPServerPageXFDFSession : public ZHTTPServerPageSession {
 public:
  ZHTTPServerPageXFDFSession(const ZHTTPServerPageXFDF* page, uint64_t folder, int32_t exercice);
  ~ZHTTPServerPageXFDFSession() override;

  // What a document may have, far beyond what forms need (413): elements, attributes and
  // pieces of text; and the sum over the fields with a value of the length of the full
  // name times the number of its parts, which is what looking for each of them takes.
  static constexpr size_t kMaxNodes = 210'000;
  static constexpr uint64_t kMaxNameWork = uint64_t{64} << 20;
  // And the bytes of the document in UTF-8; and of its values as they stand in a PDF
  // (ISO 32000-1 7.3.4.2, 7.9.2.2).
  static constexpr uint64_t kMaxText = uint64_t{24} << 20;

  // Reads the document. 405 when it comes by another method than POST; 409 when it has
  // no "ids", or session infos of another folder, financial year or application, or longer
  // than 64 KiB; one without passes. A document that names no PDF gets the request's own URL.
  bool SetFullRequest(ZHTTPReadRequest& request) override;
  void SendError(ZHTTPSendResponse& response) override;

  const ZXFDF& XFDFRequest() const { return xfdf_; }
  // The bytes of its text.
  size_t XFDFSize() const { return xfdf_size_; }
  uint64_t Folder() const { return folder_; }
  int32_t Exercice() const { return exercice_; }
  // Whether the host is in a folder at all.
  bool IsInFolder() const { return folder_ != 0; }

 protected:
  // The document that was received, for the deriving session to change.
  ZXFDF& ReceivedXFDF() { return xfdf_; }
  static bool SendXFDF(ZHTTPSendResponse& response, const ZXFDF& xfdf);
  // Whether a long document is read at all (else 409), by the session infos that stand in
  // its text, of this folder, financial year and application; null when it has none. Not
  // asked where only reading tells. XFDFRequest() is still empty. SetReason says to the log why not.
  virtual bool IsWorthReading(const ZXFDFSessionInfos* infos);

 private:
  // Why the session infos are not those of this host; empty when they are.
  Chaine WhyForeign(const ZXFDF& xfdf) const;
  bool LooksOwn(const XFDFSurvey& survey);
  // False when it is refused.
  bool Read(const Chaine& body);

  const ZHTTPServerPageXFDF* page_;
  ZXFDF xfdf_;
  size_t xfdf_size_ = 0;
  uint64_t folder_;
  int32_t exercice_;
};

// ZHTTPServerPageXFDF is the base of the pages that receive XFDF documents. It knows
// the host's folder and financial year, which the host's thread may change at any
// time; the two are always read together.
class ZFORMS_API ZHTTPServerPageXFDF : public ZHTTPServerPageBase {
 public:
  using CXFDFSession = ZHTTPServerPageXFDFSession;

  // `software` is the host's short name, which documents must carry.
  ZHTTPServerPageXFDF(uint64_t folder, int32_t exercice, const Chaine& software);
  ~ZHTTPServerPageXFDF() override;

  void SetCurrentFolder(uint64_t folder, int32_t exercice);
  const Chaine& Software() const { return software_; }

 protected:
  void GetCurrentFolder(uint64_t& folder, int32_t& exercice) const;

 private:
  mutable CCriticalSection section_;
  uint64_t folder_;
  int32_t exercice_;
  Chaine software_;
};

}  // namespace zforms
