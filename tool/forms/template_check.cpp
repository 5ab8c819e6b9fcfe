#include "tool/forms/template_check.h"

#include <algorithm>

#include "zforms/acroform/action.h"
#include "zforms/acroform/change_rules.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/server/server_form.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {
namespace {

bool SubmitsXFDF(const ZAcroFormField& button) {
  const auto* action = NodeCast<ZPDFNodeDictionary>(button.Dico()->GetTarget("/A"));
  return action != nullptr && (action->GetUIntValue("/Flags") & ZAcroFormAction::kSubmitXFDFFlag) != 0;
}

bool SubmitsAll(const ZAcroFormField& button) {
  const auto* action = NodeCast<ZPDFNodeDictionary>(button.Dico()->GetTarget("/A"));
  return action == nullptr || !action->Exist("/Fields");
}

void CheckTargets(const ZAcroFormServerForm& form, std::vector<std::string>* faults) {
  for (const auto& [name, same] : form.FlatFields()) {
    for (const ZAcroFormField* field : same) {
      if (!field->IsSubmitFormButton() || field->GetAction()->HasURL()) continue;
      faults->push_back(
          "the button \"" + field->FullNameUTF8().ToString() +
          "\" submits to an address that is not marked as a URL (\"/FS\"), so the server cannot replace it");
    }
  }
}

void CheckButtons(const ZAcroFormServerForm& form, ZDocument::Status status, const std::string& page,
                  std::vector<std::string>* faults) {
  const ZAcroForm::ConstFieldMap buttons = form.FindSubmitFormButtons(status);
  if (buttons.Size() == 0) {
    faults->push_back("no button submits the form to a URL that ends in \"" + page + "\": users cannot " +
                      (status == ZDocument::eModify ? "save it" : "change a saved form") +
                      "; \"zforms import\" adds the button");
  }
  for (const auto& [name, same] : buttons) {
    const bool whole = std::all_of(same.begin(), same.end(), [](const auto* button) { return SubmitsAll(*button); });
    if (!whole)
      faults->push_back("the button \"" + name.ToString() +
                        "\" submits only some fields: set \"all fields\" in its action");
    const bool right = std::all_of(same.begin(), same.end(), [](const auto* button) { return SubmitsXFDF(*button); });
    if (!right) {
      faults->push_back("the button \"" + name.ToString() +
                        "\" does not submit as XFDF: set \"export format: XFDF\" in its action");
    }
  }
}

void CheckNames(const ZAcroFormServerForm& form, std::vector<std::string>* faults) {
  for (const auto& [name, same] : form.FlatFields()) {
    const auto named = std::count_if(same.begin(), same.end(), [](const auto* field) { return field->HasName(); });
    if (named > 1) {
      faults->push_back(std::to_string(named) + " fields are named \"" + same[0]->FullNameUTF8().ToString() +
                        "\": all of them get the same value");
    }
  }
}

void CheckRules(const ZAcroFormChangeRules& rules, std::vector<std::string>* faults) {
  if (rules.GetXFA() == ZAcroFormChangeRules::XFA::kAlone) {
    faults->emplace_back("is an XFA form without fields: it cannot be filled in");
  } else if (rules.GetXFA() == ZAcroFormChangeRules::XFA::kBeside) {
    faults->emplace_back("has an XFA form beside its fields: only the fields are served");
  }
  if (rules.HasUsageRights()) faults->emplace_back("has usage rights (\"/UR3\"); the server removes them");
  if (rules.IsSigned()) faults->emplace_back("is signed: its signatures are not valid in the form that is served");
  if (rules.PermissionsForbidFilling()) faults->emplace_back("has permissions that forbid filling in fields");
}

}  // namespace

std::vector<std::string> CheckTemplate(const Chaine& path) {
  ZAcroFormServerForm form;
  form.SetEncryptions(ZPDFEncryptions::kAll);
  if (!form.Load(path, Chaine())) return {"cannot be read: " + form.Diagnostics().Failure().ToString()};
  return CheckTemplate(form);
}

std::vector<std::string> CheckTemplate(const ZAcroFormServerForm& form) {
  if (!form.IsValid()) return {"has no form fields"};
  std::vector<std::string> faults;
  if (form.Parser()->IDOriginal().IsEmpty()) {
    faults.emplace_back("has no file identifier (\"/ID\"): submissions are refused");
  }
  const ZAcroFormField* const session = form.Fields().Get(ZXFDF::kSessionIDField);
  if (session == nullptr || session->Type() != ZAcroFormField::eText) {
    faults.push_back(std::string("has no hidden text field \"") + ZXFDF::kSessionIDField +
                     "\" for the session: submissions are refused");
  } else if (session->IsNoExport()) {
    faults.push_back(std::string("has a field \"") + ZXFDF::kSessionIDField +
                     "\" with the flag NoExport: submissions are refused");
  }
  CheckButtons(form, ZDocument::eModify, "save.cgi", &faults);
  CheckButtons(form, ZDocument::eConsult, "modify.cgi", &faults);
  CheckTargets(form, &faults);
  CheckNames(form, &faults);
  if (const size_t count = form.PageFields().size(); count > 0) {
    faults.push_back("has " + std::to_string(count) + (count == 1 ? " field" : " fields") +
                     " on its pages that the form does not list (\"/Fields\"): some readers do not submit them");
  }
  CheckRules(ZAcroFormChangeRules(form), &faults);
  return faults;
}

}  // namespace zforms::tool
