#pragma once

#include <memory>

#include "zforms/platform/http/http_page.h"

namespace zforms::tool {

class Office;
class ReaderPage;

// OpeningPage lists the forms and their states at "/", and opens one by POST to "/open.cgi?code=CODE": as a filled PDF,
// or with "as=xfdf" as an XFDF document that refers a PDF reader to it. Owned by the server.
class OpeningPage : public ZHTTPServerPageBase {
 public:
  // `reader` is the page that shows forms in a browser; may be null.
  OpeningPage(Office* office, const ReaderPage* reader)
      : ZHTTPServerPageBase("GET,POST"), office_(office), reader_(reader) {}
  ~OpeningPage() override;

  // Null for other paths, which the server reports as not found.
  std::unique_ptr<CSessionBase> StartRequest(const ZInetURL& url, const Chaine& method) override;
  std::unique_ptr<CSessionBase> AllocSession() override;

 private:
  Office* office_;
  const ReaderPage* reader_;
};

}  // namespace zforms::tool
