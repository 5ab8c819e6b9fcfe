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

constexpr const char* kSeveral = "the data have more than one row; \"zforms batch\" fills one form for each row";
constexpr const char* kNameless = "a value has no field name and is left out";

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

// Adds the values of the row to the document. A name without a value is added too, so that an unknown name is reported.
void AddRow(const Row& row, ZXFDF* data, std::string* left_out) {
  for (size_t i = 0; i < row.cells.size(); i++) {
    const Cell& cell = row.cells[i];
    const std::string& name = (*row.names)[i];
    if (!name.empty()) {
      ZXFDFField& field = data->Fields().AddField(name);
      if (!cell.is_null) field.SetValues(TextsOf(cell));
    } else if (!cell.is_null && !cell.text.empty()) {
      *left_out = kNameless;
    }
  }
}

bool ReadCSV(std::string_view text, ZXFDF* data, uint64_t* line, std::string* error) {
  ByteSource source;
  source.OpenText(text);
  CsvReader reader(std::move(source));
  Row row;
  if (!reader.Next(&row)) {
    *error = reader.Failure();
    for (const std::string& name : *reader.Header()) {
      if (error->empty() && !name.empty()) data->Fields().AddField(name);
    }
    return error->empty();
  }
  if (!row.fault.empty()) {
    *error = "line " + std::to_string(row.line) + ": " + row.fault;
    return false;
  }
  std::string left_out;
  AddRow(row, data, &left_out);
  *line = row.line;
  if (reader.Next(&row)) *error = kSeveral;
  if (error->empty()) *error = reader.Failure();
  if (!error->empty()) return false;
  *error = left_out;
  return true;
}

// Whether the text begins with two objects.
bool HasSeveral(std::string_view text) {
  ByteSource source;
  source.OpenText(text);
  JsonReader reader(std::move(source));
  Row row;
  return reader.Next(&row) && row.fault.empty() && reader.Next(&row) && row.fault.empty();
}

bool ReadJSON(std::string_view text, ZXFDF* data, uint64_t* line, std::string* error) {
  text = WithoutUTF8Mark(text);
  const std::string_view whole = text;
  text = TrimBlanks(text);
  // A list of one object is read like the object.
  if (text.starts_with('[') && text.ends_with(']')) text = TrimBlanks(text.substr(1, text.size() - 2));
  if (text.empty()) return true;
  Row row;
  if (!ReadJsonRow(text, &row, error, whole)) {
    if (HasSeveral(whole)) *error = kSeveral;
    return false;
  }
  AddRow(row, data, error);
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
  if (UTF16OrderByMark(bytes) && bytes.size() % 2 != 0) {
    *error = kCutUTF16;
    return false;
  }
  const Chaine text = MarkedUTF16ToUTF8(bytes);
  const Kind kind = KindOf(name, text);
  // XFDF is read from `bytes`, not from the text in UTF-8, because XML declares its encoding itself.
  return Read(kind, kind == Kind::kXFDF ? bytes : text, data, line, error);
}

bool IsTable(const Chaine& bytes, const std::string& name) {
  return KindOf(name, MarkedUTF16ToUTF8(bytes)) == Kind::kCSV;
}

bool HoldsValues(const ZXFDF& data) { return data.HasFields() && HoldsValues(data.Fields()); }

}  // namespace zforms
