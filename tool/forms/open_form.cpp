#include "tool/forms/open_form.h"

#include "tool/base/files.h"
#include "zforms/acroform/change_rules.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/text/text.h"

namespace zforms::tool {
namespace {

// `bytes` are the contents of standard input.
bool Load(const std::string& file, const Chaine& bytes, const std::string& password, ZAcroForm& form) {
  for (const Chaine& form_of_it : PasswordForms(password)) {
    ZInetChaineIStream stream(bytes);
    if (file == kStandardStream ? form.Load(stream, form_of_it) : form.Load(Chaine(file), form_of_it)) return true;
  }
  return false;
}

bool IsXFAAlone(const ZAcroForm& form) {
  return ZAcroFormChangeRules::XFAOf(form) == ZAcroFormChangeRules::XFA::kAlone;
}

}  // namespace

std::vector<Chaine> PasswordForms(const std::string& password) {
  const Chaine typed(password);
  const Chaine encoded = UTF8ToPDFText(typed);
  if (encoded == typed) return {typed};
  return {encoded, typed};
}

Chaine RecoveryAdvice(const std::string& file, const Chaine& bytes, const std::string& password, const Chaine& reason) {
  ZAcroForm form;
  form.SetRecovery(true);
  if (Load(file, bytes, password, form)) return "; --recover reads it";
  return form.Diagnostics().Failure() == reason ? "" : "; --recover finds no document in it either";
}

bool OpenForm(const std::string& file, const std::string& password, ZAcroForm& form, Console& console, bool recover) {
  form.SetRecovery(recover);
  form.SetPageFields(true);
  Chaine bytes;
  const bool is_stream = file == kStandardStream;
  if (is_stream && !ReadInput(file, &bytes, console, ZPDFParser::InputLimits(recover))) return false;
  if (Load(file, bytes, password, form)) return true;
  const Chaine reason = form.Diagnostics().Failure();
  console.Fail(reason + (recover ? Chaine() : RecoveryAdvice(file, bytes, password, reason)));
  return false;
}

bool OpenFormWithFields(const std::string& file, const std::string& password, ZAcroForm& form, Console& console,
                        bool recover) {
  if (!OpenForm(file, password, form, console, recover)) return false;
  if (form.IsValid() && !IsXFAAlone(form)) return true;
  console.Fail(WhyNoFields(form));
  return false;
}

std::string WhyNoFields(const ZAcroForm& form) {
  if (IsXFAAlone(form)) return "the form is one of XFA alone: it has no fields that can be read or filled";
  return form.IsValid() ? "the document has no form fields" : "the document has no form";
}

bool SaveForm(const std::string& file, const std::string& output, ZAcroForm& form, Console& console) {
  if (IsSameFile(file, output) && !form.SavesAnew()) {
    if (form.Save(Chaine(output))) return true;
    console.Fail("cannot write " + output + ": " + form.Diagnostics().Failure().ToString());
    return false;
  }
  Chaine bytes;
  ZInetChaineOStream stream(bytes);
  if (!form.Save(stream)) {
    console.Fail(form.Diagnostics().Failure());
    return false;
  }
  return WriteOutput(output, bytes, console);
}

}  // namespace zforms::tool
