#include "zforms/filling/form_export.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "zforms/acroform/field_filling.h"
#include "zforms/filling/csv_writer.h"
#include "zforms/filling/fdf.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/platform/text/text.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFile = kFileColumns[0];

// The names of the fields of all forms, each once and in order, and the index of each name.
struct Columns {
  std::vector<std::string> names;
  std::unordered_map<std::string, size_t> places;

  explicit Columns(const std::vector<FormValues>& forms) {
    for (const FormValues& form : forms) {
      for (const ZFormField& field : form.fields) {
        if (places.emplace(field.name, names.size()).second) names.push_back(field.name);
      }
    }
  }
};

std::string TableAsCSV(const std::vector<FormValues>& forms, bool for_spreadsheet) {
  const Columns columns(forms);
  const bool named = !forms.empty() && !forms.front().file.empty();
  std::vector<std::string> cells = columns.names;
  if (named) cells.insert(cells.begin(), columns.places.contains(kFile) ? kFileColumns[1] : kFile);
  std::string text;
  AppendCSVLine(&text, cells, for_spreadsheet);
  for (const FormValues& form : forms) {
    cells.assign(cells.size(), std::string());
    if (named) cells[0] = form.file;
    std::unordered_set<std::string_view> seen;
    for (const ZFormField& field : form.fields) {
      if (!seen.insert(field.name).second) continue;
      std::string& cell = cells[columns.places.at(field.name) + (named ? 1 : 0)];
      for (size_t i = 0; i < field.values.size(); i++)
        cell += (i == 0 ? "" : "\n") + WithLF(field.values[i]).ToString();
    }
    AppendCSVLine(&text, cells, for_spreadsheet);
  }
  return text;
}

// One value as a text, several values as a list, no value as null.
Json ValueAsJSON(const std::vector<std::string>& values) {
  Json value;
  if (values.size() == 1) value = WithLF(values[0]).ToString();
  if (values.size() > 1) {
    for (const std::string& text : values) value.push_back(WithLF(text).ToString());
  }
  return value;
}

// A negative `indent` writes all on one line.
std::string FormAsJSON(const FormValues& form, int indent) {
  Json json = Json::object();
  const auto is_file = [](const ZFormField& field) { return field.name == kFile; };
  const bool taken = std::any_of(form.fields.begin(), form.fields.end(), is_file);
  if (!form.file.empty()) json[taken ? kFileColumns[1] : kFile] = form.file;
  std::unordered_set<std::string_view> seen;
  for (const ZFormField& field : form.fields) {
    if (seen.insert(field.name).second) json[field.name] = ValueAsJSON(field.values);
  }
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

// The URL of the file relative to its folder.
Chaine RelativeURL(const std::string& file) { return ZInetURL::Encode(file.substr(file.find_last_of("/\\") + 1)); }

}  // namespace

std::string ExportTable(const std::vector<FormValues>& forms, ExportFormat format, bool is_one, bool for_spreadsheet) {
  std::string text;
  switch (format) {
    case ExportFormat::kCSV: return TableAsCSV(forms, for_spreadsheet);
    case ExportFormat::kJSONLines:
      for (const FormValues& form : forms) text += FormAsJSON(form, -1) + "\n";
      return text;
    case ExportFormat::kJSON:
    case ExportFormat::kXFDF:  // ExportDocument writes XFDF and FDF
    case ExportFormat::kFDF: break;
  }
  if (is_one && !forms.empty()) return FormAsJSON(forms.front(), 2) + "\n";
  for (const FormValues& form : forms) text += (text.empty() ? "[\n" : ",\n") + FormAsJSON(form, -1);
  return text.empty() ? "[]\n" : text + "\n]\n";
}

Chaine ExportDocument(const FormValues& form, const ZPDFParser& parser, ExportFormat format, size_t* replaced) {
  ZXFDF data;
  std::set<std::string> buttons;
  data.Fields();
  if (!form.file.empty()) data.SetPDFHRef(ZInetURL(RelativeURL(form.file)));
  data.SetIDS(parser.IDOriginal(), parser.IDModified());
  std::unordered_set<std::string_view> seen;
  for (const ZFormField& field : form.fields) {
    if (!seen.insert(field.name).second || field.values.empty()) continue;
    PTableau<Chaine> values;
    for (const std::string& value : field.values) values.push_back(WithLineEnds(value, "\r\n"));
    data.Fields().AddField(field.name).SetValues(values);
    const bool is_button = field.kind == ZFormField::Kind::kCheckBox || field.kind == ZFormField::Kind::kRadioButton;
    if (is_button) buttons.insert(field.name);
  }
  *replaced = 0;
  if (format == ExportFormat::kFDF) return WriteFDF(data, buttons);
  Chaine text = data.AsChaine();
  *replaced = data.LastReplaced();
  return text;
}

}  // namespace zforms
