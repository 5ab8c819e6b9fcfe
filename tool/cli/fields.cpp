#include <nlohmann/json.hpp>

#include "tool/base/files.h"
#include "tool/base/standard_streams.h"
#include "tool/base/table.h"
#include "tool/cli/commands.h"
#include "tool/forms/open_form.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/text/text.h"

namespace zforms::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string ObjectText(const ZFormField& field) {
  return std::to_string(field.object_number) + " " + std::to_string(field.generation);
}

// The values as a JSON array, or the first one as a JSON string, empty when there is none.
Json ValueJson(const std::vector<std::string>& texts, bool is_array) {
  if (is_array) return texts;
  return texts.empty() ? std::string() : texts.front();
}

Json FieldJson(const ZFormField& field) {
  Json json;
  json["name"] = field.name;
  json["type"] = KindName(field.kind);
  json["flags"] = field.flags;
  json["value"] = ValueJson(field.values, field.value_is_array);
  json["default"] = ValueJson(field.defaults, field.default_is_array);
  json["options"] = Json::array();
  for (const auto& [exported, shown] : field.options) {
    json["options"].push_back({{"export", exported}, {"display", shown.empty() ? exported : shown}});
  }
  json["states"] = field.states;
  json["widgets"] = field.widgets.size();
  json["page"] = field.Page() == 0 ? Json(nullptr) : Json(field.Page());
  json["object"] = field.object_number == 0 ? Json(nullptr) : Json(ObjectText(field));
  json["listed"] = field.is_listed;
  json["tooltip"] = field.label.empty() ? Json(nullptr) : Json(field.label);
  json["maxlen"] = field.max_length == 0 ? Json(nullptr) : Json(field.max_length);
  return json;
}

std::string JsonText(const std::string& file, const ZAcroForm& form, const std::vector<ZFormField>& fields) {
  Json json;
  json["file"] = file;
  json["version"] = std::string(TrimBlanks(form.Parser()->PDFVersion()));
  json["encrypted"] = form.EncryptionLoad() != nullptr;
  json["fields"] = Json::array();
  for (const ZFormField& field : fields) json["fields"].push_back(FieldJson(field));
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    joined += (joined.empty() ? "" : " | ") + WithLineEnds(text, kLineEndSign).ToString();
  }
  return joined;
}

// The possible values of the field: a button's states, or the options of a choice field as "export=display".
std::string Choices(const ZFormField& field) {
  std::vector<std::string> choices = field.states;
  if (field.options.empty() || field.kind == ZFormField::Kind::kCheckBox ||
      field.kind == ZFormField::Kind::kRadioButton)
    return Joined(choices);
  for (const auto& [exported, shown] : field.options) {
    choices.push_back(shown.empty() || shown == exported ? exported : exported + "=" + shown);
  }
  return Joined(choices);
}

std::string TableText(const std::vector<ZFormField>& fields) {
  Table table({"NAME", "TYPE", "VALUE", "DEFAULT", "CHOICES", "FLAGS", "PAGE"});
  for (const ZFormField& field : fields) {
    table.AddRow({field.name, std::string(KindName(field.kind)), Joined(field.values), Joined(field.defaults),
                  Choices(field), FlagWords(field), field.Page() == 0 ? "" : std::to_string(field.Page())});
  }
  return table.Text(TerminalColumns());
}

}  // namespace

int RunFields(const FieldsOptions& options) {
  Console console(options.file);
  ZForm form;
  if (!OpenForm(options.file, {options.password, options.recover}, form, console)) return console.Finish();
  const std::vector<ZFormField> fields = form.Fields();
  const bool printed = Print(options.json ? JsonText(options.file, form.Document(), fields) : TableText(fields));
  if (!printed) console.Fail(OutputFault());
  console.WarnAll(form.Document().Diagnostics());
  if (fields.empty()) console.Warn(WhyNoFields(form.Document()));
  return console.Finish();
}

}  // namespace zforms::tool
