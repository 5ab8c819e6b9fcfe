#pragma once

#include "zforms/acroform/acro_form.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/server/document_status.h"

namespace zforms {

// ZAcroFormServerForm is a form as the server hands it out: it knows which submit
// buttons belong to which status by the pages they post to, "save.cgi" or
// "modify.cgi". Its fields are those of its pages as well (SetPageFields). One thread
// at a time.
class ZFORMS_API ZAcroFormServerForm : public ZAcroForm {
 public:
  ZAcroFormServerForm();
  ~ZAcroFormServerForm() override;

  // The submit buttons with a URL of their own whose page is that of the status, by
  // full name; all widgets of a name that has several.
  FieldMap FindSubmitFormButtons(ZDocument::Status status);
  ConstFieldMap FindSubmitFormButtons(ZDocument::Status status) const;
  bool HasSubmitFormButton(ZDocument::Status status) const;
  // Has every button of the status post to the URL.
  void SetSubmitURL(ZDocument::Status status, const ZInetURL& url);
  // Shows the button of the status and hides the other. To be modified, the form
  // takes permissions back that a user who fills it in has no need of, and hides
  // menu and tool bars; else every field but the submit buttons becomes read-only,
  // and keeps what it inherits.
  void SetDisplayMode(ZDocument::Status status);

 private:
  void ShowButtons(ZDocument::Status status, bool show);
};

}  // namespace zforms
