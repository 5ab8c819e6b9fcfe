#include <stdexcept>

#include "bench/inputs.h"
#include "bench/library.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field.h"
#include "zforms/appearance/field_drawer.h"
#include "zforms/appearance/flattener.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::bench {
namespace {

class ZformsLibrary : public Library {
 public:
  ZformsLibrary(const std::string& file, uint32_t new_values) : file_(file), new_values_(new_values) {
    if (new_values > 0) data_.FromChaine(XFDFText(new_values));
  }

  Tally List() override {
    ZAcroForm form;
    Load(form);
    Tally tally;
    AddFields(form.Fields(), &tally);
    return tally;
  }

  uint64_t Parse() override {
    ZPDFParser parser;
    parser.SetEncryptions(ZPDFEncryptions::kAll);
    if (!parser.ReadFromRaw(file_, Chaine())) Fail(parser.Diagnostics().Failure());
    uint64_t loaded = 0;
    for (const ZPDFObjectLocation& location : parser.ObjectLocations()) {
      if (location.in_use && parser.GetObject(location.id) != nullptr) loaded++;
    }
    return loaded;
  }

  uint64_t Fill(std::string* saved) override {
    ZAcroForm form;
    LoadFilled(form);
    return Save(form, saved);
  }

  uint64_t Draw(std::string* saved) override {
    ZAcroForm form;
    LoadFilled(form);
    ZFieldDrawer drawer(form);
    if (!drawer.DrawAll()) Fail("not every field was drawn");
    return Save(form, saved);
  }

  uint64_t Flatten(std::string* saved) override {
    ZAcroForm form;
    Load(form);
    if (!ZFormFlattener(form).FlattenAll()) Fail("the form was not flattened");
    return Save(form, saved);
  }

  uint64_t Rewrite(std::string* saved) override {
    ZAcroForm form;
    Load(form);
    Chaine bytes;
    ZInetChaineOStream out(bytes);
    if (!form.SaveFull(out)) Fail(form.Diagnostics().Failure());
    if (saved != nullptr) *saved = bytes.View();
    return bytes.size();
  }

 private:
  [[noreturn]] static void Fail(const Chaine& reason) { throw std::runtime_error("zforms: " + reason.ToString()); }

  void Load(ZAcroForm& form) const {
    ZInetChaineIStream in(file_);
    form.SetEncryptions(ZPDFEncryptions::kAll);
    if (!form.Load(in, Chaine())) Fail(form.Diagnostics().Failure());
  }

  void LoadFilled(ZAcroForm& form) const {
    Load(form);
    if (form.SetValues(data_) != new_values_) Fail("not every field was filled");
  }

  static uint64_t Save(ZAcroForm& form, std::string* saved) {
    Chaine bytes;
    ZInetChaineOStream out(bytes);
    if (!form.Save(out)) Fail(form.Diagnostics().Failure());
    if (saved != nullptr) *saved = bytes.View();
    return bytes.size();
  }

  static void AddFields(const ZAcroFormFieldCollection& fields, Tally* tally) {
    for (uint32_t i = 0; i < fields.Size(); i++) {
      const ZAcroFormField& field = *fields.GetAt(i);
      AddFields(field, tally);
      if (field.Size() > 0 || field.InheritedType() == ZAcroFormField::eOtherField) continue;
      tally->items++;
      tally->bytes += field.FullNameUTF8().size() + field.ValueUTF8().size();
    }
  }

  Chaine file_;
  ZXFDF data_;
  uint32_t new_values_;
};

}  // namespace

std::unique_ptr<Library> MakeLibrary(const std::string& file, const std::vector<std::string>& new_values) {
  return std::make_unique<ZformsLibrary>(file, static_cast<uint32_t>(new_values.size()));
}

}  // namespace zforms::bench
