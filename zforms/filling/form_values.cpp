#include "zforms/filling/form_values.h"

#include <algorithm>
#include <utility>

#include "zforms/filling/csv_reader.h"
#include "zforms/filling/data_kind.h"
#include "zforms/filling/fdf.h"
#include "zforms/filling/field_merger.h"
#include "zforms/filling/json_rows.h"
#include "zforms/platform/text/byte_order_mark.h"
#include "zforms/platform/text/letter_case.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr const char* kSeveral = "it has more than one row; \"zforms batch\" fills a form for each";

enum class Kind { kXFDF, kFDF, kJSON, kCSV };

Kind KindOf(const std::string& path, std::string_view text) {
  text = WithoutUTF8Mark(text);
  const std::string_view start = TrimBlanks(text.substr(0, text.find_first_not_of("\r\n\t ") + 16));
  if (start.starts_with("%FDF")) return Kind::kFDF;
  if (start.starts_with('{') || start.starts_with('[')) return Kind::kJSON;
  const Chaine name = FoldCase(path);
  const bool named_xml = name.View().ends_with(".xfdf") || name.View().ends_with(".xml");
  return start.empty() || start.starts_with('<') || named_xml ? Kind::kXFDF : Kind::kCSV;
}

void AddRow(const Row& row, ZXFDF* data) {
  for (size_t i = 0; i < row.cells.size(); i++) {
    const Cell& cell = row.cells[i];
    if (cell.is_null || (*row.names)[i].empty()) continue;
    data->Fields().AddField((*row.names)[i]).SetValues(TextsOf(cell));
  }
}

bool ReadCSV(std::string_view text, ZXFDF* data, uint64_t* line, std::string* error) {
  ByteSource source;
  source.OpenText(text);
  CsvReader reader(std::move(source));
  Row row;
  if (!reader.Next(&row)) {
    *error = reader.Failure();
    return error->empty();
  }
  if (!row.fault.empty()) {
    *error = "line " + std::to_string(row.line) + ": " + row.fault;
    return false;
  }
  AddRow(row, data);
  *line = row.line;
  if (reader.Next(&row)) *error = kSeveral;
  if (error->empty()) *error = reader.Failure();
  return error->empty();
}

bool ReadJSON(std::string_view text, ZXFDF* data, uint64_t* line, std::string* error) {
  text = WithoutUTF8Mark(text);
  const std::string_view whole = text;
  text = TrimBlanks(text);
  // A list of one object is read like the object.
  if (text.starts_with('[') && text.ends_with(']')) text = TrimBlanks(text.substr(1, text.size() - 2));
  Row row;
  if (!ReadJsonRow(text, &row, error, whole)) {
    if (text.find("\n{") != std::string_view::npos) *error += "; is it a table?  Then \"zforms batch\" takes it";
    return false;
  }
  AddRow(row, data);
  *line = 1 + static_cast<uint64_t>(std::count(whole.begin(), text.begin(), '\n'));
  return true;
}

bool ReadXFDF(const Chaine& bytes, ZXFDF* data, std::string* error) {
  data->FromChaine(bytes);
  *error = data->LastError();
  std::string left_out;
  if (!error->empty() || !MergeFields(data, &left_out, error)) return false;
  *error = left_out;
  return true;
}

bool HoldsValues(const ZXFDFFieldCollection& fields) {
  for (unsigned i = 0; i < fields.Size(); i++) {
    const ZXFDFField& field = fields[i];
    if (field.HasValue() || field.HasValueRichText() || HoldsValues(field)) return true;
  }
  return false;
}

bool Read(Kind kind, const Chaine& bytes, ZXFDF* data, uint64_t* line, std::string* error) {
  switch (kind) {
    case Kind::kFDF: return ReadFDF(bytes, data, error);
    case Kind::kJSON: return ReadJSON(bytes, data, line, error);
    case Kind::kCSV: return ReadCSV(bytes, data, line, error);
    case Kind::kXFDF: break;
  }
  return ReadXFDF(bytes, data, error);
}

}  // namespace

ReadLimits LimitsOfValues() {
  constexpr uint64_t kMostData = 256 << 20;
  return {kMostData, [](std::string_view head, uint64_t) { return FaultOfData(head); }};
}

bool ReadValues(const Chaine& bytes, const std::string& name, ZXFDF* data, uint64_t* line, std::string* error) {
  *line = 0;
  error->clear();
  const Chaine text = MarkedUTF16ToUTF8(bytes);
  const Kind kind = KindOf(name, text);
  // XML declares its encoding itself.
  return Read(kind, kind == Kind::kXFDF ? bytes : text, data, line, error);
}

bool HoldsValues(const ZXFDF& data) { return data.HasFields() && HoldsValues(data.Fields()); }

}  // namespace zforms
