#include <algorithm>
#include <map>

#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/forms/encryption_text.h"
#include "tool/forms/file_check.h"
#include "tool/forms/open_form.h"
#include "zforms/acroform/action.h"
#include "zforms/acroform/change_rules.h"
#include "zforms/acroform/field.h"
#include "zforms/acroform/field_report.h"
#include "zforms/acroform/page_index.h"
#include "zforms/calculation/form_scripts.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/crypt/encryption_method.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/text/text.h"

namespace zforms::tool {
namespace {

// Collects the facts about a document, one labelled line each.
class Summary {
 public:
  void Line(std::string_view label, const std::string& what) {
    text_ += "  " + std::string(label);
    text_.append(label.size() < kLabelWidth ? kLabelWidth - label.size() : 1, ' ');
    text_ += Printable(what) + "\n";
  }
  const std::string& Text() const { return text_; }

 private:
  static constexpr size_t kLabelWidth = 16;
  std::string text_;
};

std::string Count(size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string KindText(const ZAcroForm& form, ZAcroFormChangeRules::XFA xfa) {
  std::string kind = form.IsValid() ? "PDF form" : "PDF document without a form";
  if (xfa == ZAcroFormChangeRules::XFA::kAlone) kind += " of XFA only, without fields";
  if (form.Parser()->IsLinearized()) kind += ", linearized";
  if (xfa == ZAcroFormChangeRules::XFA::kBeside) kind += ", with an XFA form beside it";
  return kind;
}

// Adds what limits changes of the document: signatures, usage rights and permissions.
void AddRules(const ZAcroFormChangeRules& rules, const std::vector<ZFormField>& fields, Summary* summary) {
  const auto count = std::count_if(fields.begin(), fields.end(),
                                   [](const auto& field) { return field.kind == ZFormField::Kind::kSignature; });
  if (count > 0) {
    const std::string of_fields = Count(static_cast<size_t>(count), "signature field");
    summary->Line("signatures", std::to_string(rules.Signatures().size()) + " in " + of_fields);
  }
  for (const ZAcroFormSignature& signature : rules.Signatures()) {
    const std::string name = signature.field.ToString();
    summary->Line("", (name.empty() ? "a signature without a field" : "\"" + name + "\"") + " " +
                          signature.Describe().ToString());
  }
  if (rules.HasUsageRights()) summary->Line("usage rights", "the first change makes them invalid");
  if (rules.PermissionsForbidFilling()) summary->Line("permissions", "forbid filling in fields");
}

std::string SectionsText(const ZPDFParser& parser) {
  if (parser.SectionCount() == 0) return "a rebuilt table";
  return Count(parser.SectionCount(), "cross-reference section") +
         (parser.XRefIsStream() ? (parser.SectionCount() == 1 ? " (a stream)" : " (the newest is a stream)") : "");
}

std::string EncryptionText(const ZPDFEncryption* encryption) {
  if (encryption == nullptr) return "none";
  return EncryptionMethod(*encryption).ToString() + ", revision " + std::to_string(encryption->StandardRevision()) +
         ", permission flags " + std::to_string(static_cast<int32_t>(encryption->StandardFlags()));
}

void AddEncryption(const ZPDFEncryption* encryption, Summary* summary) {
  summary->Line("encryption", EncryptionText(encryption));
  if (encryption == nullptr) return;
  summary->Line("opened by", OpenedByText(*encryption));
  for (const bool granted : {true, false}) {
    const std::string permissions = PermissionsText(*encryption, granted);
    if (!permissions.empty()) summary->Line(granted ? "allowed" : "forbidden", permissions);
  }
}

std::string FieldsText(const std::vector<ZFormField>& fields) {
  std::map<std::string, size_t> types;
  for (const ZFormField& field : fields) types[std::string(KindName(field.kind))]++;
  std::string text = std::to_string(fields.size());
  const char* separator = ": ";
  for (const auto& [type, count] : types) {
    text += separator + std::to_string(count) + " " + type;
    separator = ", ";
  }
  return text;
}

std::string FormatText(uint32_t flags) {
  if ((flags & ZAcroFormAction::kSubmitPDFFlag) != 0) return "PDF";
  if ((flags & ZAcroFormAction::kSubmitXFDFFlag) != 0) return "XFDF";
  return (flags & ZAcroFormAction::kSubmitHTMLFlag) != 0 ? "HTML" : "FDF";
}

// The address in an action's file specification, which is a dictionary or a string.
std::string AddressText(const ZPDFNodeDictionary& action) {
  const ZPDFNode* file = action.GetTarget("/F");
  const auto* specification = NodeCast<ZPDFNodeDictionary>(file);
  const Chaine address = specification != nullptr ? specification->GetStringValue("/F")
                         : file != nullptr        ? file->GetStringValue()
                                                  : Chaine();
  return address.IsEmpty() ? "no address" : PDFTextToUTF8(address).ToString();
}

std::string SubmitText(const ZAcroFormField& button) {
  const auto* action = NodeCast<ZPDFNodeDictionary>(button.Dico()->GetTarget("/A"));
  if (action == nullptr) return button.FullNameUTF8().ToString();
  return button.FullNameUTF8().ToString() + " sends " + FormatText(action->GetUIntValue("/Flags")) + " to " +
         AddressText(*action);
}

std::string ObjectText(const ZPDFObjectIdentifier& id) {
  if (id.Number() == 0) return {};
  return "object " + std::to_string(id.Number()) + " " + std::to_string(id.Generation()) + ": ";
}

void CheckFields(const std::vector<ZFormField>& fields, Console& console) {
  for (const ZFormField& field : fields) {
    const std::string where = ObjectText({field.object_number, field.generation});
    if (field.name.empty()) console.Warn(where + "a field has no name");
    if (field.kind == ZFormField::Kind::kNone) console.Warn(where + "field \"" + field.name + "\" has no type");
    if (field.widgets.empty()) console.Warn(where + "field \"" + field.name + "\" has no widget on any page");
  }
}

void CheckPageFields(const ZAcroForm& form, Console& console) {
  const PTableau<const ZAcroFormField*> found = form.PageFields();
  if (found.empty()) return;
  const auto objects = ObjectsByValue(*form.Parser());
  for (const ZAcroFormField* field : found) {
    const auto object = objects.find(field->Dico());
    const std::string name = "\"" + field->FullNameUTF8().ToString() + "\"";
    console.Warn(ObjectText(object == objects.end() ? ZPDFObjectIdentifier() : object->second) +
                 (field->HasParent() ? "a page shows a widget that is not in \"/Kids\" of its field " + name
                                     : "a page shows field " + name + ", which the form does not list (\"/Fields\")"));
  }
}

}  // namespace

int RunCheck(const CheckOptions& options) {
  Console console(options.file);
  ZAcroForm form;
  if (!OpenForm(options.file, options.password, form, console, options.recover)) return console.Finish();
  ZPDFParser& parser = *form.Parser();
  Summary summary;
  const size_t objects = LoadAll(parser);
  const std::vector<ZFormField> fields = ReportFields(form);
  const ZAcroFormChangeRules rules(form);
  summary.Line("kind", KindText(form, rules.GetXFA()));
  summary.Line("version", parser.PDFVersion().ToString());
  summary.Line("size", Count(parser.RawData().size(), "byte"));
  AddEncryption(form.EncryptionLoad(), &summary);
  summary.Line("built of", SectionsText(parser) + ", " + Count(objects, "object"));
  summary.Line("pages", std::to_string(PageIndex(parser).PageCount()));
  summary.Line("fields", FieldsText(fields));
  summary.Line("submit buttons", std::to_string(form.SubmitFormButtonCount()));
  for (unsigned i = 0; i < form.SubmitFormButtonCount(); i++) summary.Line("", SubmitText(form.SubmitFormButton(i)));
  const std::vector<std::string> scripts = DescribeScripts(ScriptsOf(form));
  summary.Line("scripts", scripts.empty() ? "none" : "");
  for (const std::string& script : scripts) summary.Line("", script);
  AddRules(rules, fields, &summary);
  if (!Print(Printable(options.file) + "\n" + summary.Text())) console.Fail(OutputFault());
  CheckFile(form, console);
  CheckFields(fields, console);
  CheckPageFields(form, console);
  console.WarnAll(form.Diagnostics());
  return console.Finish();
}

}  // namespace zforms::tool
