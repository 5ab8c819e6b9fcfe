// Takes the input as a file. Draws the fields of its form, saves it, flattens it, saves it again, and checks that no
// field is left in the file.

#include <cstdint>
#include <cstdlib>

#include "zforms/acroform/acro_form.h"
#include "zforms/appearance/field_drawer.h"
#include "zforms/appearance/flattener.h"
#include "zforms/platform/files/inet_stream.h"

using namespace zforms;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ZAcroForm form;
  form.SetRecovery(true);
  form.SetPageFields(true);
  ZInetChaineIStream in(Chaine(reinterpret_cast<const char*>(data), size));
  if (!form.Load(in, "user") || !form.IsValid()) return 0;
  ZFieldDrawer(form).DrawAll();
  Chaine drawn, flat;
  ZInetChaineOStream drawn_out(drawn), flat_out(flat);
  const bool is_saved = form.Save(drawn_out);
  if (!ZFormFlattener(form).FlattenAll()) return 0;
  if (!is_saved || !form.Save(flat_out)) return 0;
  if (!flat.View().starts_with(drawn.View())) std::abort();
  ZAcroForm again;
  ZInetChaineIStream flat_in(flat);
  if (!again.Load(flat_in, "user") || again.Fields().Size() > 0) std::abort();
  return 0;
}
