#include <chrono>
#include <cstdio>
#include <set>

#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/cli/server_commands.h"
#include "zforms/acroform/field_report.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/host/template_storage.h"
#include "zforms/platform/http/http_client.h"
#include "zforms/server/server_form.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {
namespace {

constexpr char kOpen[] = "open.cgi";

// Explains a status of the server to the user.
std::string Meaning(int status) {
  switch (status) {
    case 404: return "the server has no such form, or no folder is open";
    case 409: return "the server does not know this form's session, or uses another folder or year";
    case 503: return "the server could not store the submission now; submit it again later";
    default: return "the server refuses the submission";
  }
}

bool Ask(const ZInetURL& url, const Chaine& body, uint32_t timeout, Chaine* pdf, Console& console) {
  ZHTTPAnswer answer;
  std::string error;
  // Opening a form starts a transaction, so it needs POST.
  const bool posts = !body.IsEmpty() || url.FileName() == kOpen;
  if (!AskHTTP(url, posts ? "POST" : "GET", "application/vnd.adobe.xfdf", body, &answer, &error,
               std::chrono::seconds(timeout))) {
    console.Fail(error);
    return false;
  }
  if (answer.status != 200) {
    console.Fail("status " + std::to_string(answer.status) + ": " + Meaning(answer.status));
    return false;
  }
  *pdf = answer.body;
  return true;
}

bool LoadForm(const Chaine& pdf, ZAcroFormServerForm& form, Console& console) {
  ZInetChaineIStream in(pdf);
  form.SetEncryptions(ZPDFEncryptions::kAll);
  if (form.Load(in, Chaine()) && form.IsValid()) return true;
  console.Fail("not a form: " + form.Diagnostics().Failure().ToString());
  return false;
}

// The first visible submit button for this status; null when there is none.
const ZAcroFormField* ShownButton(const ZAcroFormServerForm& form, ZDocument::Status status) {
  for (const auto& [name, buttons] : form.FindSubmitFormButtons(status)) {
    for (const ZAcroFormField* button : buttons) {
      if (!button->GetAnnotation()->IsHidden()) return button;
    }
  }
  return nullptr;
}

std::string ModeOf(const ZAcroFormServerForm& form) {
  if (ShownButton(form, ZDocument::eModify) != nullptr) return "modify";
  return ShownButton(form, ZDocument::eConsult) != nullptr ? "consult" : "readonly";
}

// Fills the form with the values. Reports each value that is not accepted as a failure.
void FillIn(ZAcroFormServerForm& form, const std::vector<std::string>& changes, Console& console) {
  std::set<std::string> unsent;
  for (const ZFormField& field : ReportFields(form)) {
    if (field.IsNoExport()) unsent.insert(field.name);
  }
  ZCheckedFiller filler(form);
  for (const std::string& change : changes) {
    const size_t equals = change.find('=');
    if (equals == std::string::npos) {
      console.Fail("\"" + change + "\" is not NAME=VALUE");
      continue;
    }
    const std::string name = change.substr(0, equals);
    filler.Fill(name, {Chaine(change.substr(equals + 1))});
    if (unsent.contains(name)) console.Fail("field \"" + name + "\" is marked no-export, so readers do not send it");
  }
  for (const ZCheckedFiller::Fault& fault : filler.Faults()) {
    console.Fail(fault.Text() + (fault.is_unknown ? filler.NearNamesOf(fault.field) : Chaine()));
  }
}

// The values of the form, as a PDF reader submits them.
ZXFDF ReadValues(ZAcroFormServerForm& form, const ZInetURL& href) {
  ZXFDF data;
  data.SetPDFHRef(href);
  data.SetIDS(form.Parser()->IDOriginal(), form.Parser()->IDModified());
  for (const ZFormField& field : ReportFields(form)) {
    if (!field.IsExported()) continue;
    ZXFDF::Field& sent = data.Fields().AddField(field.name);
    PTableau<Chaine> values(field.values.begin(), field.values.end());
    if (!values.empty()) sent.SetValues(values);
  }
  return data;
}

}  // namespace

int RunSubmit(const SubmitOptions& options) {
  Console console(options.target);
  const bool is_url = options.target.starts_with("http://");
  ZFileStamp stamp;
  const bool is_file = !is_url && StampOfFile(options.target, &stamp);
  ZInetURL url(Chaine("http://localhost/") + kOpen);
  url.SetPort(options.port);
  url.SetParam("code", options.target);
  if (is_url) url = ZInetURL(options.target);

  Chaine pdf;
  ZAcroFormServerForm form;
  const bool got = is_file ? ReadInput(options.target, &pdf, console, ZPDFParser::InputLimits(false))
                           : Ask(url, Chaine(), options.timeout, &pdf, console);
  if (!got || !LoadForm(pdf, form, console)) return console.Finish();
  const std::string mode = ModeOf(form);
  const ZAcroFormField* const button = ShownButton(form, mode == "modify" ? ZDocument::eModify : ZDocument::eConsult);
  if (button == nullptr) {
    console.Fail("the form has no visible button that submits it");
    return console.Finish();
  }
  const ZInetURL target = button->GetAction()->URL();
  FillIn(form, options.set, console);
  // A PDF reader sends the address from which it loaded the form. For a file that address is unknown, so the address of
  // the button is used.
  const ZXFDF data = ReadValues(form, is_file ? target : url);
  if (console.Finish() == kFailed || !Ask(target, data.AsChaine(), options.timeout, &pdf, console))
    return console.Finish();
  ZAcroFormServerForm answer;
  if (!LoadForm(pdf, answer, console)) return console.Finish();
  const std::string next = ModeOf(answer);
  // The server returns a refused form in mode modify. A saved form without a button to modify it is in mode readonly.
  const bool is_refused = mode == "modify" && next == "modify";
  Print((is_refused         ? "refused, because a newer copy was saved before"
         : mode == "modify" ? "saved"
                            : "asked to modify") +
        std::string("; the server returned the form in mode ") + next + "\n");
  if (!options.output.empty()) WriteOutput(options.output, pdf, console);
  if (is_refused) console.Fail("a newer copy of the form was saved before");
  return console.Finish();
}

}  // namespace zforms::tool
