#pragma once

#include <memory>
#include <string>

#include "tool/pages/static_files.h"
#include "zforms/platform/http/http_page.h"

namespace zforms::tool {

class Office;

// ReaderPage shows forms in a browser. Below "/reader/" it serves the files of the page, and data about forms:
//   POST open.json?code=CODE   opens the form, as the opening page does
//   GET form.json?form=TOKEN   an open form, found by its session, as it was saved last
//   GET form.json?code=CODE    a form for viewing only
//   GET saved.json?form=TOKEN  the values of an open form that were saved last
// The server owns it; the office must outlive it.
class ReaderPage : public ZHTTPServerPageBase {
 public:
  // Reads the files of the folder.
  ReaderPage(Office* office, const std::string& folder, bool scripts);
  ~ReaderPage() override;

  std::unique_ptr<CSessionBase> AllocSession() override;

  // HasPage: the files of the page exist, so the list of forms can use its style sheet. CanShowForms: the library that
  // shows PDF exists too.
  bool HasPage() const { return Files().Find("index.html") != nullptr; }
  bool CanShowForms() const { return HasPage() && Files().Find("pdfjs/pdf.min.mjs") != nullptr; }
  const StaticFiles& Files() const { return files_; }
  // Whether the scripts of forms run in the page.
  bool RunsScripts() const { return scripts_; }

 private:
  Office* office_;
  StaticFiles files_;
  bool scripts_;
};

// The Content-Security-Policy of a page: no inline scripts, nothing from other origins. `forms` limits where its HTML
// forms may be submitted: "'none'" or "'self'". `wasm` allows WebAssembly, in which the scripts of forms are
// interpreted.
std::string PagePolicy(const char* forms, bool wasm);

}  // namespace zforms::tool
