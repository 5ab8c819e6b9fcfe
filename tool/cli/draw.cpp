#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/filling/form_drawing.h"

namespace zforms::tool {

int RunDraw(const DrawOptions& options) {
  Console console(options.file);
  ZDrawingFonts fonts;
  if (!OpenFonts(options.drawing, &fonts)) return kFailed;
  ZAcroForm form;
  if (!OpenFormWithFields(options.file, options.password, form, console, options.recover)) return console.Finish();
  const GuardOptions guard_options{true, options.force};
  if (!GuardChange(form, guard_options, console)) return console.Finish();
  const FillingGuard guard(form, guard_options);
  ZFormMessages messages;
  const FieldScripts scripts(form);
  FormDrawing(form, fonts, &guard, &scripts).DrawAll(&messages);
  Say(messages, console);
  SaveForm(options.output, form, {false, options.force}, console);
  return console.Finish();
}

}  // namespace zforms::tool
