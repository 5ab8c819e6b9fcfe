// Commands that save a document with changes of other things than values.

#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/forms/encryption_text.h"
#include "tool/forms/file_check.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/acroform/viewer_infos.h"
#include "zforms/pdf/crypt/encryption.h"

namespace zforms::tool {
namespace {

std::string FlagsText(const ZAcroForm& form) {
  const uint32_t flags = form.StandardUserFlags();
  const ZPDFEncryption* const encryption = form.EncryptionSave();
  std::string text = "permission flags: " + std::to_string(static_cast<int32_t>(flags));
  text += encryption == nullptr ? " (not encrypted: everything is allowed)\n" : "\n";
  const uint32_t revision = encryption == nullptr ? 0 : encryption->StandardRevision();
  for (const auto& [words, granted] : PermissionsOf(flags, revision)) {
    text += (granted ? "  allowed    " : "  forbidden  ") + words + "\n";
  }
  return text;
}

// Sets the permissions and the encryption; false, with a message, when that is not allowed.
bool SetProtection(const PermissionsOptions& options, ZAcroForm& form, Console& console) {
  if (!options.encrypt.empty()) {
    if (!MayChangeEncryption(form, console)) return false;
    if (!form.EncryptWithAES256(options.user_password, options.owner_password)) {
      console.Fail("the password has characters that are not allowed in passwords");
      return false;
    }
  }
  if (options.flags) form.SetStandardUserFlags(*options.flags);
  return true;
}

}  // namespace

int RunRewrite(const RewriteOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenForm(options.file, options.password, form, console, options.recover)) return console.Finish();
  const bool loses = CheckFile(form, console);
  if (!GuardChange(form, {true, options.force}, console, true)) return console.Finish();
  if (options.decrypt) {
    if (!MayChangeEncryption(form, console)) return console.Finish();
    form.RemoveEncryption();
  }
  SaveForm(options.output, form, {true, options.force || !loses}, console);
  return console.Finish();
}

int RunPermissions(const PermissionsOptions& options) {
  Console console(options.file);
  const bool changes = options.flags || !options.encrypt.empty();
  if (changes == options.output.empty()) {
    console.Fail(changes ? "--set and --encrypt need an output (-o OUT)" : "--output needs --set or --encrypt");
    return console.Finish();
  }
  ZAcroForm form;
  if (!OpenForm(options.file, options.password, form, console, options.recover)) return console.Finish();
  if (!changes) {
    if (!Print(FlagsText(form))) console.Fail(OutputFault());
    return console.Finish();
  }
  if (!SetProtection(options, form, console)) return console.Finish();
  if (!GuardChange(form, {true, options.force}, console)) return console.Finish();
  SaveForm(options.output, form, {false, options.force}, console);
  return console.Finish();
}

int RunViewer(const ViewerOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenForm(options.file, options.password, form, console, options.recover)) return console.Finish();
  if (!GuardChange(form, {true, options.force}, console)) return console.Finish();
  const struct {
    const std::optional<bool>& wanted;
    void (ZAcroFormViewerInfos::*set)(bool) const;
  } switches[] = {
      {options.hide_toolbar, &ZAcroFormViewerInfos::SetHideToolbar},
      {options.hide_menubar, &ZAcroFormViewerInfos::SetHideMenubar},
      {options.hide_window_ui, &ZAcroFormViewerInfos::SetHideWindowUI},
      {options.fit_window, &ZAcroFormViewerInfos::SetFitWindow},
      {options.center_window, &ZAcroFormViewerInfos::SetCenterWindow},
      {options.display_doc_title, &ZAcroFormViewerInfos::SetDisplayDocTitle},
  };
  for (const auto& [wanted, set] : switches) {
    if (!wanted || (!*wanted && !form.HasViewerPreferences())) continue;
    if (ZAcroFormViewerInfos* infos = form.ViewerPreferences()) (infos->*set)(*wanted);
  }
  SaveForm(options.output, form, {false, options.force}, console);
  return console.Finish();
}

}  // namespace zforms::tool
