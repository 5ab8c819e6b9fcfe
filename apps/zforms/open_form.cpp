#include "apps/zforms/open_form.h"

#include "apps/zforms/files.h"
#include "platform/inet_stream.h"

namespace zforms::tool {

bool OpenForm(const std::string& file, const std::string& password, ZAcroForm& form, Console& console) {
  bool loaded = false;
  if (file == kStandardStream) {
    Chaine bytes;
    if (!ReadInput(file, &bytes, console)) return false;
    ZInetChaineIStream stream(bytes);
    loaded = form.Load(stream, password);
  } else {
    loaded = form.Load(Chaine(file), password);
  }
  if (!loaded) console.Fail(form.Diagnostics().Failure());
  return loaded;
}

bool OpenFormWithFields(const std::string& file, const std::string& password, ZAcroForm& form, Console& console) {
  if (!OpenForm(file, password, form, console)) return false;
  if (form.IsValid()) return true;
  console.Fail("the document has no form");
  return false;
}

bool SaveForm(const std::string& file, const std::string& output, ZAcroForm& form, Console& console) {
  if (IsSameFile(file, output) && form.EncryptionSave() == form.EncryptionLoad()) {
    if (form.Save(Chaine(output))) return true;
    console.Fail("cannot write " + output + ": " + form.Diagnostics().Failure().ToString());
    return false;
  }
  Chaine bytes;
  ZInetChaineOStream stream(bytes);
  form.Save(stream);
  return WriteOutput(output, bytes, console);
}

}  // namespace zforms::tool
