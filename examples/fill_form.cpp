// Fills a PDF form from an XFDF file, saves it under another name, and prints the values of the saved file:
//   fill_form FORM.pdf DATA.xfdf FILLED.pdf

#include <iostream>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field.h"
#include "zforms/xfdf/xfdf.h"

namespace {

using zforms::Chaine;

int Fail(const char* file, const Chaine& reason) {
  std::cerr << file << ": " << reason.View() << "\n";
  return 1;
}

int Fill(const char* form_path, const char* data_path, const char* filled_path) {
  zforms::ZAcroForm form;
  if (!form.Load(form_path, "")) return Fail(form_path, form.Diagnostics().Failure());
  if (!form.IsValid()) return Fail(form_path, "holds no form");

  zforms::ZXFDF data;
  data.Read(data_path);
  if (!data.LastError().empty()) return Fail(data_path, data.LastError());

  form.SetValues(data);
  form.SetNeedAppearances(true);  // viewers must draw the new values
  if (!form.Save(filled_path)) return Fail(filled_path, form.Diagnostics().Failure());
  return 0;
}

int PrintValues(const char* path) {
  zforms::ZAcroForm form;
  if (!form.Load(path, "")) return Fail(path, form.Diagnostics().Failure());
  for (const auto& [name, fields] : form.FlatRegularFields()) {
    const auto& field = *fields.front();
    if (field.HasValue()) std::cout << field.FullNameUTF8().View() << " = " << field.ValueUTF8().View() << "\n";
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: fill_form FORM.pdf DATA.xfdf FILLED.pdf\n";
    return 2;
  }
  const int status = Fill(argv[1], argv[2], argv[3]);
  return status == 0 ? PrintValues(argv[3]) : status;
}
