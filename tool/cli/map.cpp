// Shows from which data each field of a form is filled.

#include <set>
#include <unordered_set>

#include "tool/base/files.h"
#include "tool/base/standard_streams.h"
#include "tool/base/table.h"
#include "tool/cli/commands.h"
#include "tool/data/rubrics.h"
#include "tool/forms/open_form.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field_report.h"
#include "zforms/platform/text/letter_case.h"
#include "zforms/platform/text/text.h"

namespace zforms::tool {
namespace {

// Reads rubrics (named groups of values) from files, and makes empty ones for those without a file.
bool ReadRubrics(const MapOptions& options, const std::string& section, Rubrics* rubrics,
                 std::set<std::string>* with_data) {
  for (const std::string& text : options.rubrics) {
    const RubricOption rubric = ParseRubric(text);
    if (rubric.file.empty()) {
      rubrics->AddEmpty(rubric.name);
    } else if (rubrics->Read(rubric)) {
      with_data->insert(FoldCase(rubric.name).ToString());
    } else {
      return false;
    }
  }
  // When the user gives rubrics, maps to other rubrics have no effect, so those are not added.
  if (!options.rubrics.empty()) return true;
  for (const std::string& name : RubricsOfMaps(options.maps, section)) rubrics->AddEmpty(name);
  return true;
}

class MapTable {
 public:
  MapTable(const ZXFDFMapper& mapper, const std::set<std::string>& with_data, Console& console)
      : mapper_(mapper), with_data_(with_data), console_(console) {}

  std::string Text(const std::vector<ZFormField>& fields) {
    Table table({"FIELD", "TYPE", "FED BY", "VALUE"});
    std::vector<const ZFormField*> unmapped;
    std::unordered_set<std::string> seen;
    for (const ZFormField& field : fields) {
      if (!seen.insert(field.name).second || field.name.empty()) continue;
      const auto* reference = mapper_.Maps().Find(field.name);
      if (reference == nullptr || !reference->IsMapped()) {
        unmapped.push_back(&field);
        continue;
      }
      table.AddRow({field.name, std::string(KindName(field.kind)),
                    reference->rubric.ToString() + "." + reference->field.ToString(), ValueOf(field.name, *reference)});
    }
    for (const ZFormField* field : unmapped) table.AddRow({field->name, std::string(KindName(field->kind)), "-", ""});
    for (const auto& [name, reference] : mapper_.Maps()) {
      if (!seen.contains(name.ToString())) {
        console_.Warn("the maps name a field \"" + name.ToString() + "\", which the form does not have");
      }
    }
    return table.Text(TerminalColumns());
  }

 private:
  std::string ValueOf(const std::string& name, const ZXFDFMapper::DataFieldRef& reference) {
    if (!with_data_.contains(FoldCase(reference.rubric).ToString())) return {};
    const ZField* data = mapper_.Rubric(reference.rubric)->Find(reference.field);
    if (data != nullptr) return WithLineEnds(data->Value().AsChaine(), kLineEndSign).ToString();
    console_.Warn("field \"" + name + "\": the rubric \"" + reference.rubric.ToString() + "\" has no \"" +
                  reference.field.ToString() + "\"");
    return {};
  }

  const ZXFDFMapper& mapper_;
  const std::set<std::string>& with_data_;
  Console& console_;
};

}  // namespace

int RunMap(const MapOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenFormWithFields(options.file, options.password, form, console, options.recover)) return console.Finish();
  const std::string section = SectionOf(options.maps, options.section);
  Rubrics rubrics;
  std::set<std::string> with_data;
  if (!ReadRubrics(options, section, &rubrics, &with_data)) return kFailed;
  ZXFDFMapper mapper;
  rubrics.RegisterIn(mapper);
  const std::string default_rubric = options.rubrics.size() == 1 ? ParseRubric(options.rubrics[0]).name : "";
  if (!ReadMaps(options.maps, section, default_rubric, mapper)) return kFailed;
  MapTable table(mapper, with_data, console);
  if (!Print(table.Text(ReportFields(form)))) console.Fail(OutputFault());
  console.WarnAll(form.Diagnostics());
  return console.Finish();
}

}  // namespace zforms::tool
