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

// One request with an XFDF document in its body. It keeps the folder and financial year at its creation, even if the
// host changes them meanwhile.
class ZFORMS_API ZHTTPServerPageXFDFSession : public ZHTTPServerPageSession {
 public:
  ZHTTPServerPageXFDFSession(const ZHTTPServerPageXFDF* page, uint64_t folder, int32_t exercice);
  ~ZHTTPServerPageXFDFSession() override;

  // Limits of a document beside sHTTPServerLimits::body_bytes, far beyond the needs of forms (413). The first is the
  // number of elements, attributes and pieces of text. The second bounds the cost of looking up each field with a
  // value: the sum of the length of the full name times the number of its parts.
  static constexpr size_t kMaxNodes = 210'000;
  static constexpr uint64_t kMaxNameWork = uint64_t{64} << 20;
  // The limit on the bytes of the document in UTF-8, and on the total length of its values in a PDF (ISO 32000-1
  // 7.3.4.2, 7.9.2.2).
  static constexpr uint64_t kMaxText = uint64_t{24} << 20;

  // Reads the document. Refuses other methods than POST (405). Refuses a document without "ids", and one whose session
  // infos are of another folder, financial year or application, or longer than 64 KiB (409). Accepts a document without
  // session infos. A document without a reference to a PDF gets the request's own URL as the reference.
  bool SetFullRequest(ZHTTPReadRequest& request) override;
  void SendError(ZHTTPSendResponse& response) override;

  const ZXFDF& XFDFRequest() const { return xfdf_; }
  // The length of the document's text in bytes.
  size_t XFDFSize() const { return xfdf_size_; }
  uint64_t Folder() const { return folder_; }
  int32_t Exercice() const { return exercice_; }
  // True when the host has a current folder.
  bool IsInFolder() const { return folder_ != 0; }

 protected:
  // The received document, which a derived session may change.
  ZXFDF& ReceivedXFDF() { return xfdf_; }
  static bool SendXFDF(ZHTTPSendResponse& response, const ZXFDF& xfdf);
  // Called before a long document is read. Returns false to refuse it (409) without reading it. `infos` are the session
  // infos found in its text, which are of this folder, financial year and application; null when it has none. Not
  // called when the infos cannot be found without reading the document. XFDFRequest() is still empty. Pass the reason
  // for the log to SetReason.
  virtual bool IsWorthReading(const ZXFDFSessionInfos* infos);

 private:
  // Why the session infos are not from this host; empty when they are.
  Chaine WhyForeign(const ZXFDF& xfdf) const;
  bool LooksOwn(const XFDFSurvey& survey);
  // Reads the document. False when it is refused.
  bool Read(const Chaine& body);

  const ZHTTPServerPageXFDF* page_;
  ZXFDF xfdf_;
  size_t xfdf_size_ = 0;
  uint64_t folder_;
  int32_t exercice_;
};

// ZHTTPServerPageXFDF is the base class of the pages that receive XFDF documents. It stores the host's folder and
// financial year, which the host's thread may change at any time; the two are always read together. The host owns it.
class ZFORMS_API ZHTTPServerPageXFDF : public ZHTTPServerPageBase {
 public:
  using CXFDFSession = ZHTTPServerPageXFDFSession;

  // `software` is the host's short name, which documents must contain.
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
