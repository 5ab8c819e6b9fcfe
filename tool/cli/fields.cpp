#include <nlohmann/json.hpp>

#include "tool/base/files.h"
#include "tool/base/standard_streams.h"
#include "tool/base/table.h"
#include "tool/cli/commands.h"
#include "tool/forms/open_form.h"
#include "zforms/acroform/field_report.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/text/text.h"

namespace zforms::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string ObjectText(const ZPDFObjectIdentifier& id) {
  return std::to_string(id.Number()) + " " + std::to_string(id.Generation());
}

// A text (empty when absent), or a list of texts.
Json ValueJson(const std::vector<std::string>& texts, bool is_array) {
  if (is_array) return texts;
  return texts.empty() ? std::string() : texts.front();
}

Json FieldJson(const FieldReport& field) {
  Json json;
  json["name"] = field.name;
  json["type"] = field.type;
  json["flags"] = field.flags;
  json["value"] = ValueJson(field.values, field.value_is_array);
  json["default"] = ValueJson(field.defaults, field.default_is_array);
  json["options"] = Json::array();
  for (const auto& [exported, shown] : field.options) {
    json["options"].push_back({{"export", exported}, {"display", shown.empty() ? exported : shown}});
  }
  json["states"] = field.states;
  json["widgets"] = field.widgets;
  json["page"] = field.page == 0 ? Json(nullptr) : Json(field.page);
  json["object"] = field.object.Number() == 0 ? Json(nullptr) : Json(ObjectText(field.object));
  json["listed"] = field.is_listed;
  json["tooltip"] = field.tool_tip.empty() ? Json(nullptr) : Json(field.tool_tip);
  json["maxlen"] = field.max_length == 0 ? Json(nullptr) : Json(field.max_length);
  return json;
}

std::string JsonText(const std::string& file, ZAcroForm& form, const std::vector<FieldReport>& fields) {
  Json json;
  json["file"] = file;
  json["version"] = std::string(TrimBlanks(form.Parser()->PDFVersion()));
  json["encrypted"] = form.EncryptionLoad() != nullptr;
  json["fields"] = Json::array();
  for (const FieldReport& field : fields) json["fields"].push_back(FieldJson(field));
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    joined += (joined.empty() ? "" : " | ") + WithLineEnds(text, kLineEndSign).ToString();
  }
  return joined;
}

// The possible values: a button's states, or the options as "export=display".
std::string Choices(const FieldReport& field) {
  std::vector<std::string> choices = field.states;
  if (field.options.empty() || field.type == "check" || field.type == "radio") return Joined(choices);
  for (const auto& [exported, shown] : field.options) {
    choices.push_back(shown.empty() || shown == exported ? exported : exported + "=" + shown);
  }
  return Joined(choices);
}

std::string TableText(const std::vector<FieldReport>& fields) {
  Table table({"NAME", "TYPE", "VALUE", "DEFAULT", "CHOICES", "FLAGS", "PAGE"});
  for (const FieldReport& field : fields) {
    table.AddRow({field.name, field.type, Joined(field.values), Joined(field.defaults), Choices(field),
                  FlagWords(field), field.page == 0 ? "" : std::to_string(field.page)});
  }
  return table.Text(TerminalColumns());
}

}  // namespace

int RunFields(const FieldsOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenForm(options.file, options.password, form, console, options.recover)) return console.Finish();
  const std::vector<FieldReport> fields = ReportFields(form);
  const bool printed = Print(options.json ? JsonText(options.file, form, fields) : TableText(fields));
  if (!printed) console.Fail("standard output cannot be written");
  console.WarnAll(form.Diagnostics());
  if (fields.empty()) console.Warn(WhyNoFields(form));
  return console.Finish();
}

}  // namespace zforms::tool
