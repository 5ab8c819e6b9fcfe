#include "apps/zforms/commands.h"
#include "apps/zforms/field_report.h"
#include "apps/zforms/files.h"
#include "apps/zforms/open_form.h"
#include "apps/zforms/row_filler.h"
#include "pdf/parser/parser.h"
#include "platform/inet_url.h"
#include "xfdf/xfdf.h"

namespace zforms::tool {
namespace {

constexpr uint32_t kNoExport = 0x4;

bool IsExported(const FieldReport& field) {
  return !field.name.empty() && !field.values.empty() && (field.flags & kNoExport) == 0 && field.type != "push" &&
         field.type != "sig";
}

void AddFields(ZAcroForm& form, ZXFDF& data) {
  for (const FieldReport& field : ReportFields(form)) {
    if (!IsExported(field)) continue;
    PTableau<Chaine> values;
    for (const std::string& value : field.values) values.push_back(WithCRLF(value));
    data.Fields().AddField(field.name).SetValues(values);
  }
}

// The file as a reference from beside it.
Chaine RelativeURL(const std::string& file) { return ZInetURL::Encode(file.substr(file.find_last_of("/\\") + 1)); }

}  // namespace

int RunExport(const ExportOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenFormWithFields(options.file, options.password, form, console)) return console.Finish();
  ZXFDF data;
  data.Fields();
  if (options.file != kStandardStream) data.SetPDFHRef(ZInetURL(RelativeURL(options.file)));
  data.SetIDS(form.Parser()->IDOriginal(), form.Parser()->IDModified());
  AddFields(form, data);
  console.WarnAll(form.Diagnostics());
  const Chaine text = data.AsChaine();
  if (data.LastReplaced() > 0) {
    console.Warn(std::to_string(data.LastReplaced()) + " characters that XML has no place for became U+FFFD");
  }
  WriteOutput(options.output, text, console);
  return console.Finish();
}

}  // namespace zforms::tool
