#pragma once

#include "zforms/appearance/drawing_fonts.h"
#include "zforms/platform/http/http_page.h"
#include "zforms/server/xfdf_page.h"

namespace zforms::tool {

class Office;

// DrawnPage answers a POST of an open form's values, an XFDF document as a submission has it, with the form that shows
// them: read-only, without its buttons and its session, drawn so that every viewer and printer shows the same. With
// the parameter "flat" the fields are part of its pages. Nothing is stored. A submission that the server would refuse
// is refused here too. The server owns it; the office must outlive it.
class DrawnPage : public ZHTTPServerPageXFDF {
 public:
  explicit DrawnPage(Office* office);
  ~DrawnPage() override;

  std::unique_ptr<CSessionBase> AllocSession() override;
  // Reads each font once for all requests.
  const ZDrawingFonts& Fonts() const { return fonts_; }

 private:
  Office* office_;
  ZDrawingFonts fonts_;
};

}  // namespace zforms::tool
