#include <algorithm>
#include <vector>

#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/filling/form_export.h"

namespace zforms::tool {
namespace {

// The names of the formats for several forms, such as "csv, json or jsonl".
std::string TableFormats() {
  std::vector<std::string> names;
  for (const ExportFormatName& format : kExportFormats) {
    if (format.takes_several) names.emplace_back(format.name);
  }
  std::sort(names.begin(), names.end());
  std::string text;
  for (size_t i = 0; i < names.size(); i++) {
    text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
  }
  return text;
}

bool Open(const ExportOptions& options, const std::string& file, ZForm& form, Console& console) {
  if (!OpenForm(file, {options.password, options.recover}, form, console)) return false;
  if (!form.HasForm()) console.Fail(WhyNoFields(form.Document()));
  return form.HasForm();
}

// Exports one form as XFDF or FDF.
int RunDocument(const ExportOptions& options) {
  Console console(options.files.front());
  ZForm form;
  if (!Open(options, options.files.front(), form, console)) return console.Finish();
  const std::string text = form.Export(options.format, options.all);
  ZFormMessages messages = form.TakeMessages();
  const auto warnings = std::find_if(messages.begin(), messages.end(), [](const ZFormMessage& message) {
    return message.severity == ZFormMessage::Severity::kWarning;
  });
  Say({messages.begin(), warnings}, console);
  console.WarnAll(form.Document().Diagnostics());
  Say({warnings, messages.end()}, console);
  WriteOutput(options.output, text, console);
  return console.Finish();
}

// Exports any number of forms as one table. A form that cannot be read gives no row.
int RunTable(const ExportOptions& options) {
  std::vector<FormValues> forms;
  int status = kDone;
  const bool is_one = options.files.size() == 1;
  for (const std::string& file : options.files) {
    Console console(file);
    ZForm form;
    if (Open(options, file, form, console)) {
      forms.push_back({is_one ? std::string() : file, form.ExportedFields(options.all)});
      Say(form.TakeMessages(), console);
      console.WarnAll(form.Document().Diagnostics());
    }
    const int own = console.Finish();
    status = own == kFailed || status == kFailed ? kFailed : std::max(status, own);
  }
  if (forms.empty()) return status;
  Console console(options.output);
  const std::string table = ExportTable(forms, options.format, is_one, options.spreadsheet);
  return WriteOutput(options.output, table, console) ? status : kFailed;
}

}  // namespace

int RunExport(const ExportOptions& options) {
  if (Console output(options.output); !KeepsInputs(options.output, options.files, output)) return kFailed;
  if (options.spreadsheet && options.format != ExportFormat::kCSV) {
    Console console("export");
    console.Fail("--spreadsheet needs --format csv");
    return console.Finish();
  }
  if (NameOf(options.format).takes_several) return RunTable(options);
  if (options.files.size() == 1) return RunDocument(options);
  Console console(options.files[1]);
  console.Fail(std::string(NameOf(options.format).name) + " holds one form; for several forms use --format " +
               TableFormats());
  return console.Finish();
}

}  // namespace zforms::tool
