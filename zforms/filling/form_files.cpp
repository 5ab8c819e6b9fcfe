#include "zforms/filling/form_files.h"

#include <filesystem>
#include <system_error>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/change_rules.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

using Remedy = ZFormMessage::Remedy;

bool Load(const FormSource& source, const std::string& password, ZAcroForm& form) {
  form.SetFileMapping(source.map);
  for (const SecretText& bytes_of_it : PasswordForms(password)) {
    if (source.bytes == nullptr) {
      if (form.Load(Chaine(source.path), bytes_of_it)) return true;
      continue;
    }
    ZInetChaineIStream stream(*source.bytes);
    if (form.Load(stream, bytes_of_it)) return true;
  }
  return false;
}

bool Fail(const Chaine& reason, ZFormMessages* messages, Remedy remedy = Remedy::kNone) {
  messages->push_back({ZFormMessage::Severity::kFailure, ZFormMessage::About::kForm, reason.ToString(), remedy});
  return false;
}

std::filesystem::path FilePath(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

bool IsSameFile(const Chaine& a, const std::string& b) {
  std::error_code ignored;
  return !a.IsEmpty() && std::filesystem::equivalent(FilePath(a.ToString()), FilePath(b), ignored);
}

}  // namespace

std::vector<SecretText> PasswordForms(const std::string& password) {
  const SecretText typed(password);
  const SecretText encoded = UTF8ToPDFText(typed);
  if (encoded == typed) return {typed};
  return {encoded, typed};
}

ZFormMessage::Remedy RecoveryFor(const FormSource& source, const std::string& password, const Chaine& reason) {
  ZAcroForm form;
  form.SetRecovery(true);
  form.SetEncryptions(ZPDFEncryptions::kAll);
  if (Load(source, password, form)) return Remedy::kRecover;
  return form.Diagnostics().Failure() == reason ? Remedy::kNone : Remedy::kNoRecovery;
}

bool OpenForm(const FormSource& source, const std::string& password, bool recover, ZAcroForm& form,
              ZFormMessages* messages) {
  form.SetRecovery(recover);
  form.SetEncryptions(ZPDFEncryptions::kAll);
  form.SetPageFields(true);
  if (Load(source, password, form)) return true;
  const Chaine reason = form.Diagnostics().Failure();
  return Fail(reason, messages, recover ? Remedy::kNone : RecoveryFor(source, password, reason));
}

bool SaveForm(ZAcroForm& form, const std::string& path, const SaveOptions& options, ZFormMessages* messages) {
  if (IsSameFile(form.PathName(), path) && !options.anew && !form.SavesAnew()) {
    if (form.Save(Chaine(path))) return true;
    return Fail("cannot write " + path + ": " + form.Diagnostics().Failure().ToString(), messages);
  }
  Chaine bytes;
  if (!SaveForm(form, options, &bytes, messages)) return false;
  std::string error;
  return ReplaceFile(path, bytes, &error) || Fail("cannot write " + path + ": " + error, messages);
}

bool SaveForm(ZAcroForm& form, const SaveOptions& options, Chaine* bytes, ZFormMessages* messages) {
  if (!options.force && (options.anew || form.SavesAnew()) && form.WouldLose()) {
    return Fail("objects are missing or damaged, so parts of pages or of the form would be lost: nothing was written",
                messages, form.Recovers() ? Remedy::kForceLosses : Remedy::kRecoverLosses);
  }
  ZInetChaineOStream stream(*bytes);
  return (options.anew ? form.SaveFull(stream) : form.Save(stream)) || Fail(form.Diagnostics().Failure(), messages);
}

std::string WhyNotFilled(const ZAcroForm& form) {
  if (ZAcroFormChangeRules::XFAOf(form) == ZAcroFormChangeRules::XFA::kAlone) {
    return "the document is an XFA form without fields: nothing can be read or filled";
  }
  return form.IsValid() ? "" : "the document has no form";
}

}  // namespace zforms
