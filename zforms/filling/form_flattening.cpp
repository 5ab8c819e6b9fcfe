#include "zforms/filling/form_flattening.h"

#include <algorithm>
#include <string>

#include "zforms/acroform/acro_form.h"
#include "zforms/appearance/flattener.h"
#include "zforms/pdf/crypt/encryption.h"

namespace zforms {
namespace {

using Severity = ZFormMessage::Severity;

void Add(ZFormMessages* messages, Severity severity, const Chaine& text,
         ZFormMessage::Remedy remedy = ZFormMessage::Remedy::kNone) {
  messages->push_back({severity, ZFormMessage::About::kForm, text.ToString(), remedy});
}

// Whether the permissions forbid changing the contents (ISO 32000-1 table 22, bit 4).
bool ForbidsChanges(const ZPDFEncryption* encryption) {
  constexpr uint32_t kModify = 1 << 3;
  return encryption != nullptr && (encryption->StandardFlags() & kModify) == 0 && !encryption->IsOpenedByOwner();
}

bool IsAllowed(const ZAcroForm& form, bool force, ZFormMessages* messages) {
  if (!ZAcroFormChangeRules(form).IsSigned()) return true;
  constexpr const char* kFault = "the document is signed, and flattening makes its signatures invalid";
  if (force) {
    Add(messages, Severity::kWarning, kFault);
  } else {
    Add(messages, Severity::kFailure, kFault, ZFormMessage::Remedy::kForceWriting);
  }
  return force;
}

}  // namespace

bool FlattenForm(ZAcroForm& form, const std::vector<std::string>& fields, const GuardOptions& options,
                 ZFormMessages* messages) {
  if (!IsAllowed(form, options.force, messages)) return false;
  if (ForbidsChanges(form.EncryptionLoad())) {
    Add(messages, Severity::kWarning, "the permissions forbid changing the contents; the form is flattened anyway");
  }
  const FillingGuard guard(form, options);
  ZFormFlattener flattener(form);
  const PTableau<Chaine> names(fields.begin(), fields.end());
  if (!(names.empty() ? flattener.FlattenAll() : flattener.Flatten(names))) {
    Add(messages, Severity::kFailure, flattener.Diagnostics().Failure());
    return false;
  }
  for (const ZDiagnostics::Warning& warning : flattener.Diagnostics().Warnings()) {
    // Skips a warning that drawing has given already.
    const std::string text = ZDiagnostics::Describe(warning).ToString();
    const auto is_same = [&text](const ZFormMessage& message) { return message.text == text; };
    if (std::none_of(messages->begin(), messages->end(), is_same)) Add(messages, Severity::kWarning, Chaine(text));
  }
  guard.SayWhatGoes(messages);
  guard.Drop(form);
  return true;
}

}  // namespace zforms
