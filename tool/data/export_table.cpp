#include "tool/data/export_table.h"

#include <nlohmann/json.hpp>
#include <unordered_map>

#include "zforms/acroform/field.h"
#include "zforms/filling/csv_reader.h"

namespace zforms::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFile = "file";

// In a table, the lines of a text always end in LF.
std::string WithLF(const std::string& text) {
  std::string result;
  for (size_t i = 0; i < text.size(); i++) {
    const bool pair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if (!pair) result += text[i] == '\r' ? '\n' : text[i];
  }
  return result;
}

// The columns of all forms, the file's first, and the index of each.
struct Columns {
  std::vector<std::string> names;
  std::unordered_map<std::string, size_t> places;

  explicit Columns(const std::vector<FormValues>& forms) {
    for (const FormValues& form : forms) {
      for (const auto& [name, values] : form.fields) {
        if (places.emplace(name, names.size()).second) names.push_back(name);
      }
    }
  }
};

std::string CSVLine(const std::vector<std::string>& cells, bool for_spreadsheet) {
  std::string line;
  for (size_t i = 0; i < cells.size(); i++) {
    if (i > 0) line += ',';
    AppendCsvCell(&line, for_spreadsheet ? ForSpreadsheet(cells[i]) : cells[i]);
  }
  // An empty line would not count as a row.
  if (line.empty()) line = "\"\"";
  return line + "\r\n";
}

}  // namespace

bool HasData(const FieldReport& field) { return !field.name.empty() && field.type != "push" && field.type != "sig"; }

bool IsNoExport(const FieldReport& field) { return (field.flags & ZAcroFormField::kNoExportFlag) != 0; }

bool IsExportable(const FieldReport& field) { return HasData(field) && !IsNoExport(field); }

std::string TableAsCSV(const std::vector<FormValues>& forms, bool for_spreadsheet) {
  const Columns columns(forms);
  const bool named = !forms.empty() && !forms.front().file.empty();
  std::vector<std::string> cells = columns.names;
  if (named) cells.insert(cells.begin(), columns.places.contains(kFile) ? "_file" : kFile);
  std::string text = CSVLine(cells, for_spreadsheet);
  for (const FormValues& form : forms) {
    cells.assign(cells.size(), std::string());
    if (named) cells[0] = form.file;
    for (const auto& [name, values] : form.fields) {
      std::string& cell = cells[columns.places.at(name) + (named ? 1 : 0)];
      for (size_t i = 0; i < values.size(); i++) cell += (i == 0 ? "" : "\n") + WithLF(values[i]);
    }
    text += CSVLine(cells, for_spreadsheet);
  }
  return text;
}

std::string FormAsJSON(const FormValues& form, int indent) {
  Json json = Json::object();
  const auto is_file = [](const auto& field) { return field.first == kFile; };
  const bool taken = std::any_of(form.fields.begin(), form.fields.end(), is_file);
  if (!form.file.empty()) json[taken ? "_file" : kFile] = form.file;
  for (const auto& [name, values] : form.fields) {
    Json value;
    if (values.size() == 1) value = WithLF(values[0]);
    if (values.size() > 1) {
      for (const std::string& text : values) value.push_back(WithLF(text));
    }
    json[name] = value;
  }
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace zforms::tool
