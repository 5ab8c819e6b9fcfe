#include "tool/cli/commands.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/filling/form_flattening.h"

namespace zforms::tool {

int RunFlatten(const FlattenOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenFormWithFields(options.file, options.password, form, console, options.recover)) return console.Finish();
  ZFormMessages messages;
  const bool done = FlattenForm(form, options.fields, {false, options.force}, &messages);
  Say(messages, console);
  if (done) SaveForm(options.output, form, {false, options.force}, console);
  return console.Finish();
}

}  // namespace zforms::tool
