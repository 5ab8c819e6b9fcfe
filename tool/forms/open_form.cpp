#include "tool/forms/open_form.h"

#include "tool/base/files.h"
#include "tool/forms/form_messages.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/parser/parser.h"

namespace zforms::tool {

Chaine RecoveryAdvice(const std::string& file, const Chaine& bytes, const std::string& password, const Chaine& reason) {
  const FormSource source{file, file == kStandardStream ? &bytes : nullptr, true};
  return WithRemedy({}, RecoveryFor(source, password, reason));
}

bool OpenForm(const std::string& file, const std::string& password, ZAcroForm& form, Console& console, bool recover) {
  Chaine bytes;
  const bool is_stream = file == kStandardStream;
  if (is_stream && !ReadInput(file, &bytes, console, ZPDFParser::InputLimits(recover))) return false;
  ZFormMessages messages;
  const bool opened = zforms::OpenForm({file, is_stream ? &bytes : nullptr, true}, password, recover, form, &messages);
  Say(messages, console);
  return opened;
}

bool OpenFormWithFields(const std::string& file, const std::string& password, ZAcroForm& form, Console& console,
                        bool recover) {
  if (!OpenForm(file, password, form, console, recover)) return false;
  const std::string why = WhyNotFilled(form);
  if (!why.empty()) console.Fail(why);
  return why.empty();
}

std::string WhyNoFields(const ZAcroForm& form) {
  const std::string why = WhyNotFilled(form);
  return why.empty() ? "the document has no form fields" : why;
}

bool OpenForm(const std::string& file, const ZFormOptions& options, ZForm& form, Console& console) {
  form.SetFileMapping(true);
  Chaine bytes;
  const bool is_stream = file == kStandardStream;
  if (is_stream && !ReadInput(file, &bytes, console, ZPDFParser::InputLimits(options.recover))) return false;
  const bool opened = is_stream ? form.OpenBytes(bytes, options) : form.Open(file, options);
  Say(form.TakeMessages(), console);
  return opened;
}

bool MayChangeEncryption(const ZAcroForm& form, Console& console) {
  const ZPDFEncryption* const encryption = form.EncryptionLoad();
  if (encryption == nullptr || encryption->HasOwnerRights()) return true;
  console.Fail("only the owner password allows changing the encryption; it was opened by the user password");
  return false;
}

bool SaveForm(const std::string& output, ZAcroForm& form, const SaveOptions& options, Console& console) {
  ZFormMessages messages;
  Chaine bytes;
  const bool is_stream = output == kStandardStream;
  const bool saved = is_stream ? zforms::SaveForm(form, options, &bytes, &messages)
                               : zforms::SaveForm(form, output, options, &messages);
  console.WarnAll(form.Diagnostics());
  Say(messages, console);
  return saved && (!is_stream || WriteOutput(output, bytes, console));
}

}  // namespace zforms::tool
