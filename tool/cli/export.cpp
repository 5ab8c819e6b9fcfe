#include <algorithm>
#include <unordered_set>

#include "tool/cli/commands.h"
#include "tool/data/export_table.h"
#include "tool/forms/open_form.h"
#include "zforms/filling/fdf.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/platform/text/text.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {
namespace {

// The URL of the file relative to its folder.
Chaine RelativeURL(const std::string& file) { return ZInetURL::Encode(file.substr(file.find_last_of("/\\") + 1)); }

// The fields to export. Prints which fields with a value are left out.
std::vector<FieldReport> FieldsOf(ZAcroForm& form, bool all, const Console& console) {
  constexpr size_t kNamed = 10;
  std::vector<FieldReport> fields = ReportFields(form);
  std::set<std::string> left_out;
  std::erase_if(fields, [&](const FieldReport& field) {
    const bool left = HasData(field) && IsNoExport(field) && !all;
    if (left && !field.values.empty()) left_out.insert(field.name);
    return left || !HasData(field);
  });
  if (left_out.empty()) return fields;
  std::string names;
  size_t count = 0;
  for (const std::string& name : left_out) {
    if (++count <= kNamed) names += (count == 1 ? "\"" : ", \"") + name + "\"";
  }
  if (count > kNamed) names += " and " + std::to_string(count - kNamed) + " more";
  console.Note("left out, as the form marks them as not to be exported (--all takes them): " + names);
  return fields;
}

// Adds the fields that have a value to the document.
void FillDocument(const std::vector<FieldReport>& fields, const std::string& file, const ZPDFParser& parser,
                  ZXFDF* data, std::set<std::string>* buttons) {
  data->Fields();
  if (file != kStandardStream) data->SetPDFHRef(ZInetURL(RelativeURL(file)));
  data->SetIDS(parser.IDOriginal(), parser.IDModified());
  for (const FieldReport& field : fields) {
    if (field.values.empty()) continue;
    PTableau<Chaine> values;
    for (const std::string& value : field.values) values.push_back(WithLineEnds(value, "\r\n"));
    data->Fields().AddField(field.name).SetValues(values);
    if (field.type == "check" || field.type == "radio") buttons->insert(field.name);
  }
}

// Exports one form as XFDF or FDF.
int ExportDocument(const ExportOptions& options) {
  const std::string& file = options.files.front();
  Console console(file);
  ZAcroForm form;
  if (!OpenFormWithFields(file, options.password, form, console, options.recover)) return console.Finish();
  ZXFDF data;
  std::set<std::string> buttons;
  FillDocument(FieldsOf(form, options.all, console), file, *form.Parser(), &data, &buttons);
  console.WarnAll(form.Diagnostics());
  const bool fdf = options.format == "fdf";
  const Chaine text = fdf ? WriteFDF(data, buttons) : data.AsChaine();
  if (!fdf && data.LastReplaced() > 0) {
    console.Warn(std::to_string(data.LastReplaced()) + " characters that XML has no place for became U+FFFD");
  }
  WriteOutput(options.output, text, console);
  return console.Finish();
}

FormValues ValuesOf(std::vector<FieldReport> fields) {
  FormValues values;
  std::unordered_set<std::string> seen;
  for (FieldReport& field : fields) {
    if (!seen.insert(field.name).second) continue;
    values.fields.emplace_back(std::move(field.name), std::move(field.values));
  }
  return values;
}

std::string TableText(const std::vector<FormValues>& forms, const ExportOptions& options) {
  if (options.format == "csv") return TableAsCSV(forms, options.spreadsheet);
  std::string text;
  if (options.format == "jsonl") {
    for (const FormValues& form : forms) text += FormAsJSON(form, -1) + "\n";
    return text;
  }
  if (options.files.size() == 1) return FormAsJSON(forms.front(), 2) + "\n";
  for (const FormValues& form : forms) text += (text.empty() ? "[\n" : ",\n") + FormAsJSON(form, -1);
  return text.empty() ? "[]\n" : text + "\n]\n";
}

// Exports any number of forms as one table. A form that cannot be read gives no row.
int ExportTable(const ExportOptions& options) {
  std::vector<FormValues> forms;
  int status = kDone;
  for (const std::string& file : options.files) {
    Console console(file);
    ZAcroForm form;
    if (OpenFormWithFields(file, options.password, form, console, options.recover)) {
      FormValues& values = forms.emplace_back(ValuesOf(FieldsOf(form, options.all, console)));
      if (options.files.size() > 1) values.file = file;
      console.WarnAll(form.Diagnostics());
    }
    const int own = console.Finish();
    status = own == kFailed || status == kFailed ? kFailed : std::max(status, own);
  }
  if (forms.empty()) return status;
  Console console(options.output);
  if (!WriteOutput(options.output, TableText(forms, options), console)) return kFailed;
  return status;
}

}  // namespace

int RunExport(const ExportOptions& options) {
  if (Console output(options.output); !KeepsInputs(options.output, options.files, output)) return kFailed;
  const bool table = options.format != "xfdf" && options.format != "fdf";
  if (options.spreadsheet && options.format != "csv") {
    Console console("export");
    console.Fail("--spreadsheet goes with --format csv");
    return console.Finish();
  }
  if (table) return ExportTable(options);
  if (options.files.size() == 1) return ExportDocument(options);
  Console console(options.files[1]);
  console.Fail(options.format + " holds one form; several make a table with --format csv, json or jsonl");
  return console.Finish();
}

}  // namespace zforms::tool
