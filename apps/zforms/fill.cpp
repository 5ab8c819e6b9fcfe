#include "apps/zforms/commands.h"
#include "apps/zforms/data_file.h"
#include "apps/zforms/files.h"
#include "apps/zforms/open_form.h"
#include "pdf/parser/parser.h"
#include "xfdf/xfdf.h"

namespace zforms::tool {

int RunFill(const FillOptions& options) {
  Console console(options.file);
  if (options.file == kStandardStream && options.data == kStandardStream) {
    console.Fail("the form and the data cannot both come from standard input");
    return console.Finish();
  }
  ZAcroForm form;
  ZXFDF data;
  if (!OpenFormWithFields(options.file, options.password, form, console, options.recover)) return console.Finish();
  if (!ReadData(options.data, &data, console)) return kFailed;

  PTableau<Chaine> unmatched;
  PTableau<Chaine> refused;
  if (data.HasFields()) form.SetValues(data, &unmatched, &refused);
  for (const Chaine& name : unmatched) console.Warn("no field is named \"" + name.ToString() + "\"");
  for (const Chaine& name : refused)
    console.Warn("\"" + name.ToString() + "\" is a signature, a push button or holds an object, and is not filled");
  // What the fields show was drawn for their former values.
  if (!form.Parser()->ModifiedObjects().empty() && !form.NeedAppearances()) form.SetNeedAppearances(true);
  console.WarnAll(form.Diagnostics());
  SaveForm(options.file, options.output, form, console);
  return console.Finish();
}

}  // namespace zforms::tool
