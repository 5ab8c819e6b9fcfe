#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/acroform/form_infos.h"
#include "zforms/appearance/field_drawer.h"
#include "zforms/pdf/dictionary_node.h"

namespace zforms::tool {

int RunDraw(const DrawOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenFormWithFields(options.file, options.password, form, console, options.recover)) return console.Finish();
  if (!GuardChange(form, {true, options.force}, console)) return console.Finish();
  ZFieldDrawer drawer(form);
  // Viewers are no longer asked to draw, unless they may show what could not be drawn here.
  if (drawer.DrawAll() && form.NeedAppearances()) form.Infos()->Dico()->RemoveValue("/NeedAppearances");
  console.WarnAll(drawer.Diagnostics());
  SaveForm(options.output, form, {false, options.force}, console);
  return console.Finish();
}

}  // namespace zforms::tool
