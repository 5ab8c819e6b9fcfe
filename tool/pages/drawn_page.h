#pragma once

#include "zforms/appearance/drawing_fonts.h"
#include "zforms/platform/http/http_page.h"
#include "zforms/server/xfdf_page.h"

namespace zforms::tool {

class Office;

// DrawnPage answers a POST with a PDF of an open form that shows the posted values. They are posted as an XFDF
// document, like a submission. The PDF is read-only, without buttons and session, and drawn so that every viewer and
// printer shows the same. With the parameter "flat", the fields are part of its pages. Nothing is stored. A submission
// that the server would refuse is refused here too. The server owns this object; the office must outlive it.
class DrawnPage : public ZHTTPServerPageXFDF {
 public:
  explicit DrawnPage(Office* office);
  ~DrawnPage() override;

  std::unique_ptr<CSessionBase> AllocSession() override;
  // The fonts that are used besides those of the form. Each is read once, for all requests.
  const ZDrawingFonts& Fonts() const { return fonts_; }

 private:
  Office* office_;
  ZDrawingFonts fonts_;
};

}  // namespace zforms::tool
