#pragma once

#include "zforms/acroform/acro_form.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/server/document_status.h"

namespace zforms {

// ZAcroFormServerForm is a form as it is served. It assigns each submit button to a status by the page it posts to,
// "save.cgi" or "modify.cgi". Its fields include those found only on its pages (SetPageFields). One thread at a time.
class ZFORMS_API ZAcroFormServerForm : public ZAcroForm {
 public:
  ZAcroFormServerForm();
  ~ZAcroFormServerForm() override;

  // The buttons that submit to the page of that status, by full name: all widgets of each such field.
  FieldMap FindSubmitFormButtons(ZDocument::Status status);
  ConstFieldMap FindSubmitFormButtons(ZDocument::Status status) const;
  bool HasSubmitFormButton(ZDocument::Status status) const;
  // Makes every button of the status post to the URL.
  void SetSubmitURL(ZDocument::Status status, const ZInetURL& url);
  // Shows the button of the status and hides the other. For eModify the form removes permissions that filling in does
  // not need, and hides menu and tool bars. Otherwise every field except the submit buttons becomes read-only; its
  // inherited flags are kept.
  void SetDisplayMode(ZDocument::Status status);

 private:
  void ShowButtons(ZDocument::Status status, bool show);
};

}  // namespace zforms
