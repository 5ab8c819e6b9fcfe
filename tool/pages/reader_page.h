#pragma once

#include <memory>
#include <string>

#include "tool/pages/static_files.h"
#include "zforms/platform/http/http_page.h"

namespace zforms::tool {

class Office;

// ReaderPage is the form in a browser: below "/reader/" it serves the files of the
// page, and tells it what a form is and how to submit it:
//   POST open.json?code=CODE   opens the form, as the opening page does
//   GET form.json?form=TOKEN   one that is out, by its session: as it was saved last
//   GET form.json?code=CODE    to be looked at
// The server owns it; the office outlives it.
class ReaderPage : public ZHTTPServerPageBase {
 public:
  // Reads the files of the folder.
  ReaderPage(Office* office, const std::string& folder);
  ~ReaderPage() override;

  std::unique_ptr<CSessionBase> AllocSession() override;

  // Whether the page is there to style the list of forms, and whether it can show one.
  bool HasPage() const { return Files().Find("index.html") != nullptr; }
  bool CanShowForms() const { return HasPage() && Files().Find("pdfjs/pdf.min.mjs") != nullptr; }
  const StaticFiles& Files() const { return files_; }

 private:
  Office* office_;
  StaticFiles files_;
};

// What a page and all that it loads may do; no inline script, nothing from elsewhere.
// `forms` is where its forms may be sent: "'none'" or "'self'".
std::string PagePolicy(const char* forms);

}  // namespace zforms::tool
