#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/filling/form_values.h"

namespace zforms::tool {

int RunFill(const FillOptions& options) {
  Console console(options.file);
  if (options.file == kStandardStream && options.data == kStandardStream) {
    console.Fail("the form and the data cannot both come from standard input");
    return console.Finish();
  }
  if (!KeepsInputs(options.output, {options.data}, console)) return console.Finish();
  ZDrawingFonts fonts;
  if (!OpenFonts(options.drawing, &fonts)) return kFailed;
  ZForm form;
  Console data_console(options.data);
  const ZFormOptions form_options{options.password,     options.recover, options.guard.keep_xfa, options.guard.force,
                                  options.drawing.draw, fonts,           options.calculate};
  if (!OpenForm(options.file, form_options, form, console)) return console.Finish();
  if (!form.HasForm()) {
    console.Fail(WhyNoFields(form.Document()));
    return console.Finish();
  }
  Chaine data;
  if (!ReadInput(options.data, &data, data_console, LimitsOfValues())) return kFailed;
  form.Fill(data, options.data);
  const bool is_flat = options.flatten && form.Flatten();
  Say(form.TakeMessages(), console, data_console);
  // Writes no file when the data could not be read.
  if (data_console.HasFailed()) return kFailed;
  if (options.flatten && !is_flat) return console.Finish();
  SaveForm(options.output, form.Document(), {false, options.guard.force}, console);
  const int data_status = data_console.Finish();
  const int status = console.Finish();
  return status == kDone ? data_status : status;
}

}  // namespace zforms::tool
