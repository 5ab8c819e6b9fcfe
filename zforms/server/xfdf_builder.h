#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/counted_unknown.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/xfdf/mapping/mapper.h"

namespace zforms {

class ZAcroFormServer;
class ZPDFParser;

// ZAcroFormServerXFDFBuilder makes the XFDF document with which a form is opened: the mapper's values, the form's URL
// on the server, its identifiers, and the host's software and folder. Its constructor reads the form's template. The
// server must outlive it; one thread at a time.
class ZFORMS_API ZAcroFormServerXFDFBuilder : public ZXFDFMapper, public virtual ZCountedUnknown {
 public:
  ZAcroFormServerXFDFBuilder(const ZAcroFormServer* server, const Chaine& code);

  const Chaine& PDFFullCodeName() const { return code_; }
  Chaine PDFLocalFilePathName() const;
  // The form's URL for eModify.
  ZInetURL PDFURL() const;
  // Whether the template was read.
  bool HasPDF() const;
  // Reads the maps from the mapping names ("rubric.field") of the template's fields. A name without "." is a field of
  // the default rubric. False without a template or form.
  bool SetAutoMap(const Chaine& default_rubric, bool known_rubrics_only);
  // Empty without a template.
  ZXFDF CreateXFDF() const;
  // Opens the form in the reader if `external`, else in the host's own window.
  bool ShowXFDF(bool external) const;

 protected:
  ~ZAcroFormServerXFDFBuilder() override;

 private:
  const ZAcroFormServer* server_;
  Chaine code_;
  std::unique_ptr<ZPDFParser> parser_;
};

}  // namespace zforms
