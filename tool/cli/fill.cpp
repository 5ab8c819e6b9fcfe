#include <cstdint>

#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/data/data_file.h"
#include "tool/forms/form_guard.h"
#include "tool/forms/open_form.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/base/number.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {
namespace {

// Fills the form and prints which values were not accepted; `line` is the line of the row in its file, 0 without one.
void Fill(ZAcroForm& form, const FormGuard& guard, const ZXFDF& data, uint64_t line, Console& console) {
  ZCheckedFiller filler(form);
  filler.SetLocks([&guard](const Chaine& name) { return guard.LockOf(name); });
  filler.Fill(data);
  const Chaine where = line == 0 ? Chaine() : "line " + FormatUInt(line) + ": ";
  for (const ZCheckedFiller::Fault& fault : filler.Faults()) {
    console.Warn(where + fault.Text() + (fault.is_unknown ? filler.NearNamesOf(fault.field) : Chaine()));
  }
}

}  // namespace

int RunFill(const FillOptions& options) {
  Console console(options.file);
  if (options.file == kStandardStream && options.data == kStandardStream) {
    console.Fail("the form and the data cannot both come from standard input");
    return console.Finish();
  }
  if (!KeepsInputs(options.output, {options.data}, console)) return console.Finish();
  ZAcroForm form;
  ZXFDF data;
  uint64_t line = 0;
  Console data_console(options.data);
  if (!OpenFormWithFields(options.file, options.password, form, console, options.recover)) return console.Finish();
  if (!ReadData(options.data, &data, &line, data_console)) return kFailed;

  const FormGuard guard(form, options.guard);
  if (guard.AllowsFilling(console)) Fill(form, guard, data, line, data_console);
  if (!form.Parser()->ModifiedObjects().empty()) {
    // The existing appearances show the old values.
    if (!form.NeedAppearances()) form.SetNeedAppearances(true);
    guard.Drop(form);
    guard.SayWhatGoes(console);
  }
  console.WarnAll(form.Diagnostics());
  SaveForm(options.file, options.output, form, console);
  const int data_status = data_console.Finish();
  const int status = console.Finish();
  return status == kDone ? data_status : status;
}

}  // namespace zforms::tool
