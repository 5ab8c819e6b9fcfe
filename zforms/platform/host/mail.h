#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZPDFEmail is an e-mail with a filled form. Texts are UTF-8. A plain value.
class ZFORMS_API ZPDFEmail {
 public:
  const PTableau<Chaine>& Recipients() const { return recipients_; }
  void AddRecipient(const Chaine& address) { recipients_.push_back(address); }
  const Chaine& Subject() const { return subject_; }
  void SetSubject(const Chaine& subject) { subject_ = subject; }
  const Chaine& Text() const { return text_; }
  void SetText(const Chaine& text) { text_ = text; }
  // True when the e-mail is sent at once, without showing it to the user.
  bool WithoutDialog() const { return without_dialog_; }
  void SetWithoutDialog(bool without) { without_dialog_ = without; }

  struct AttachedFile {
    Chaine path;
    bool temporary;
  };
  const PTableau<AttachedFile>& AttachedFiles() const { return files_; }
  // A temporary file is needed only until the e-mail is sent.
  void AddAttachedFile(const Chaine& path, bool temporary) { files_.push_back({path, temporary}); }

 private:
  PTableau<Chaine> recipients_;
  Chaine subject_;
  Chaine text_;
  bool without_dialog_ = false;
  PTableau<AttachedFile> files_;
};

// ZMailer passes e-mails to the user's mail program. Used by the host's thread.
class ZFORMS_API ZMailer {
 public:
  virtual ~ZMailer();

  // True when the mail program accepted the e-mail. With `dialog` the user sees it before it is sent.
  virtual bool SendMail(const ZPDFEmail& message, bool dialog) = 0;
};

// Uses MAPI on Windows. On other systems uses xdg-email, which always shows the e-mail: without `dialog` nothing can be
// sent there, and SendMail returns false.
ZFORMS_API std::unique_ptr<ZMailer> OpenSystemMailer();

}  // namespace zforms
