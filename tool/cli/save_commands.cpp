// Commands that change something else than values and save the document.

#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/forms/file_check.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/acroform/viewer_infos.h"
#include "zforms/pdf/crypt/encryption.h"

namespace zforms::tool {
namespace {

struct Permission {
  uint32_t mask;
  std::string_view words;
};

// ISO 32000-1 table 22.
constexpr Permission kPermissions[] = {
    {0x4, "print"},
    {0x8, "change the contents"},
    {0x10, "copy text and graphics"},
    {0x20, "add annotations, fill in fields"},
    {0x100, "fill in fields"},
    {0x200, "extract text for accessibility"},
    {0x400, "assemble pages"},
    {0x800, "print in high quality"},
};

std::string FlagsText(const ZAcroForm& form) {
  const uint32_t flags = form.StandardUserFlags();
  std::string text = "permission flags: " + std::to_string(static_cast<int32_t>(flags));
  text += form.EncryptionSave() == nullptr ? " (not encrypted: everything is allowed)\n" : "\n";
  for (const Permission& permission : kPermissions) {
    text += (flags & permission.mask) != 0 ? "  allowed    " : "  forbidden  ";
    text += std::string(permission.words) + "\n";
  }
  return text;
}

}  // namespace

int RunRewrite(const RewriteOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenForm(options.file, options.password, form, console, options.recover)) return console.Finish();
  const bool loses = CheckFile(form, console);
  if (!GuardChange(form, {true, options.force}, console, true)) return console.Finish();
  SaveForm(options.output, form, {true, options.force || !loses}, console);
  return console.Finish();
}

int RunPermissions(const PermissionsOptions& options) {
  Console console(options.file);
  if (options.flags && options.output.empty()) {
    console.Fail("--set needs an output (-o OUT)");
    return console.Finish();
  }
  ZAcroForm form;
  if (!OpenForm(options.file, options.password, form, console, options.recover)) return console.Finish();
  if (!options.flags) {
    if (!Print(FlagsText(form))) console.Fail("standard output cannot be written");
    return console.Finish();
  }
  form.SetStandardUserFlags(*options.flags);
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
