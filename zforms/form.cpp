#include "zforms/form.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field_filling.h"
#include "zforms/acroform/field_report.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/filling/form_drawing.h"
#include "zforms/filling/form_export.h"
#include "zforms/filling/form_files.h"
#include "zforms/filling/form_flattening.h"
#include "zforms/filling/form_values.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/text/text.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

using About = ZFormMessage::About;
using Remedy = ZFormMessage::Remedy;
using Severity = ZFormMessage::Severity;

std::string Listing(const std::set<std::string>& all) {
  constexpr size_t kNamed = 10;
  std::string names;
  size_t count = 0;
  for (const std::string& name : all) {
    if (++count <= kNamed) names += (count == 1 ? "\"" : ", \"") + name + "\"";
  }
  if (count > kNamed) names += " and " + std::to_string(count - kNamed) + " more";
  return names;
}

// The names of the fields that have a value and the flag NoExport.
std::string NamesLeftOut(const std::vector<ZFormField>& fields) {
  std::set<std::string> left_out;
  for (const ZFormField& field : fields) {
    if (field.HasData() && field.IsNoExport() && !field.values.empty()) left_out.insert(field.name);
  }
  return Listing(left_out);
}

// The names that are shared by several fields with different values.
std::string NamesUnequal(const std::vector<ZFormField>& fields) {
  const auto text_of = [](const ZFormField& field) {
    Chaine text;
    for (const std::string& value : field.values) text += WithLF(value) + "\n";
    const bool is_button = field.kind == ZFormField::Kind::kCheckBox || field.kind == ZFormField::Kind::kRadioButton;
    return is_button && field.Value() == "Off" ? Chaine() : text;
  };
  std::unordered_map<std::string_view, Chaine> first;
  std::set<std::string> unequal;
  for (const ZFormField& field : fields) {
    const auto [found, is_new] = first.try_emplace(field.name, text_of(field));
    if (!is_new && found->second != text_of(field)) unequal.insert(field.name);
  }
  return Listing(unequal);
}

}  // namespace

struct ZForm::Implementation {
  bool Open(const FormSource& source, const ZFormOptions& options);
  bool MayFill();
  void MakeFiller();
  bool Fill(ZXFDF& data, uint64_t line, bool is_table);
  void TakeFaults(const Chaine& where);
  void Compute(const Chaine& where);
  void EndFilling();
  void EndChange();
  FormDrawing& Drawing();
  bool Save(const std::function<bool()>& save);
  bool Reload();
  void Say(Severity severity, About about, std::string text, Remedy remedy = Remedy::kNone) {
    messages.push_back({severity, about, std::move(text), remedy});
  }
  bool Fail(About about, std::string text) {
    Say(Severity::kFailure, about, std::move(text));
    return false;
  }

  ZAcroForm form;
  ZFormOptions opened;
  ZFormMessages messages;
  std::set<std::string> said_of_file;
  GuardOptions guard_options;
  std::unique_ptr<FillingGuard> guard;    // null until something is to be filled
  std::unique_ptr<FieldScripts> scripts;  // null until the form may be filled, and when scripts are not followed
  bool may_fill = false;
  bool ended = false;  // EndChange has removed what the change makes invalid
  bool draws = false;
  bool maps_file = false;
  ZDrawingFonts fonts;
  std::unique_ptr<FormDrawing> drawing;  // null after Open and Save, until something is to be drawn
  PTableau<ZAcroFormField*> changed;     // fields with a new value that is not drawn
  // The filler compares new values with the values that the fields had when the filler was made. So each filler can
  // fill a field only once.
  std::unique_ptr<ZCheckedFiller> filler;
  std::set<std::string> filled_names;
  size_t faults_taken = 0;
  size_t unequal_taken = 0;
};

bool ZForm::Implementation::Open(const FormSource& source, const ZFormOptions& options) {
  if (!OpenForm(source, options.password, options.recover, form, &messages)) return false;
  filler.reset();
  drawing.reset();
  changed.clear();
  guard.reset();
  scripts.reset();
  opened = options;
  draws = options.draw;
  fonts = options.fonts;
  guard_options = {options.keep_xfa, options.force};
  ended = false;
  said_of_file.clear();
  return true;
}

// Whether the form may be filled; messages say why not. The first call makes the guard, whose refusal is reported only
// once, and the scripts.
bool ZForm::Implementation::MayFill() {
  if (guard != nullptr) return may_fill;
  if (const std::string why = WhyNotFilled(form); !why.empty()) return Fail(About::kForm, why);
  guard = std::make_unique<FillingGuard>(form, guard_options);
  may_fill = guard->AllowsFilling(&messages);
  if (may_fill && opened.calculate) {
    scripts = std::make_unique<FieldScripts>(form);
    if (const std::string skipped = scripts->Skipped(); !skipped.empty()) Say(Severity::kNote, About::kForm, skipped);
  }
  return may_fill;
}

// Reports the new faults of the filler, and collects the fields that it changed.
void ZForm::Implementation::TakeFaults(const Chaine& where) {
  for (ZAcroFormField* field : filler->TakeChanged()) changed.push_back(field);
  for (; faults_taken < filler->Faults().size(); faults_taken++) {
    const ZCheckedFiller::Fault fault = filler->Faults()[faults_taken];
    const auto rule = fault.is_unknown ? nullptr : filler->RuleOf(fault.field);
    const bool is_lock = rule != nullptr && !rule->WhyLocked().IsEmpty() && rule->WhyLocked() == fault.what;
    const Chaine text = where + fault.Text() + (fault.is_unknown ? filler->NearNamesOf(fault.field) : Chaine());
    Say(Severity::kWarning, About::kData, text.ToString(), is_lock ? Remedy::kForceWriting : Remedy::kNone);
  }
  for (; unequal_taken < filler->Unequal().size(); unequal_taken++) {
    Say(Severity::kNote, About::kData,
        (where + "field \"" + filler->Unequal()[unequal_taken] +
         "\": several fields have this name; the first one has this value already, and the others keep their values")
            .ToString());
  }
}

void ZForm::Implementation::Compute(const Chaine& where) {
  if (filler == nullptr) return;
  PTableau<Chaine> warnings;
  filler->Compute(&warnings);
  for (const Chaine& text : warnings) Say(Severity::kWarning, About::kData, (where + text).ToString());
  for (ZAcroFormField* field : filler->TakeChanged()) changed.push_back(field);
}

bool ZForm::Implementation::Fill(ZXFDF& data, uint64_t line, bool is_table) {
  MakeFiller();
  for (const char* column : kFileColumns) {
    if (line != 0 && filler->RuleOf(column) == nullptr) data.Fields().RemoveField(column);
  }
  filler->Fill(data);
  const Chaine where = line == 0 ? Chaine() : "line " + FormatUInt(line) + ": ";
  TakeFaults(where);
  const bool fits = !is_table || filler->Known() > 0 || filler->Faults().empty();
  if (fits) Compute(where);
  filler.reset();
  EndFilling();
  return fits || Fail(About::kData, "no column has the name of a field");
}

void ZForm::Implementation::MakeFiller() {
  const auto former = std::exchange(filler, std::make_unique<ZCheckedFiller>(form));
  if (former != nullptr) filler->Continue(*former);
  filler->SetScripts(scripts.get());
  filler->SetLocks([this](const Chaine& name) { return guard->LockOf(name); });
  filled_names.clear();
  faults_taken = 0;
  unequal_taken = 0;
}

FormDrawing& ZForm::Implementation::Drawing() {
  if (drawing == nullptr) drawing = std::make_unique<FormDrawing>(form, fonts, guard.get(), scripts.get());
  return *drawing;
}

// Draws the changed fields, or asks viewers to draw them, because the existing appearances show the old values.
void ZForm::Implementation::EndFilling() {
  Compute(Chaine());
  if (guard == nullptr || (ended && changed.empty()) || form.Parser()->ModifiedObjects().empty()) return;
  if (draws) {
    Drawing().Draw(std::exchange(changed, {}), &messages);
  } else if (!form.NeedAppearances()) {
    form.SetNeedAppearances(true);
  }
  EndChange();
}

// Removes what the change makes invalid: usage rights and, unless it is kept, the XFA form.
void ZForm::Implementation::EndChange() {
  changed.clear();
  if (std::exchange(ended, true)) return;
  guard->Drop(form);
  guard->SayWhatGoes(&messages);
}

bool ZForm::Implementation::Save(const std::function<bool()>& save) {
  if (form.Parser() == nullptr) return Fail(About::kForm, "no document is open");
  EndFilling();
  filler.reset();
  // Drops the drawing: it refers to objects, and saving as a new file may renumber them.
  drawing.reset();
  return save();
}

// Saves the document to memory and opens it again, because flattening changes more than the values of fields.
bool ZForm::Implementation::Reload() {
  Chaine saved;
  const Chaine path = form.PathName();
  const ZFormOptions options = opened;
  const std::set<std::string> said = said_of_file;
  if (!SaveForm(form, {false, guard_options.force}, &saved, &messages)) return false;
  if (!Open({path.ToString(), &saved}, options)) return false;
  said_of_file = said;
  return true;
}

ZForm::ZForm() : implementation_(std::make_unique<Implementation>()) {}

ZForm::~ZForm() = default;
ZForm::ZForm(ZForm&& other) noexcept = default;
ZForm& ZForm::operator=(ZForm&& other) noexcept = default;

bool ZForm::Open(const std::string& path, const ZFormOptions& options) {
  return implementation_->Open({path, nullptr, implementation_->maps_file}, options);
}

bool ZForm::OpenBytes(std::string_view bytes, const ZFormOptions& options) {
  const Chaine own(bytes);
  return implementation_->Open({{}, &own}, options);
}

void ZForm::SetFileMapping(bool map) { implementation_->maps_file = map; }

bool ZForm::HasForm() const { return WhyNotFilled(implementation_->form).empty(); }

std::vector<ZFormField> ZForm::Fields() const {
  if (implementation_->form.Parser() == nullptr) return {};
  return ReportFields(implementation_->form);
}

std::vector<ZFormField> ZForm::ExportedFields(bool all) {
  std::vector<ZFormField> fields = Fields();
  const std::string left_out = all ? std::string() : NamesLeftOut(fields);
  std::erase_if(fields, [all](const ZFormField& field) { return all ? !field.HasData() : !field.IsExported(); });
  if (!left_out.empty()) {
    const std::string said = "fields that the form marks as \"no export\" are not exported: " + left_out;
    implementation_->Say(Severity::kNote, About::kForm, said, Remedy::kExportAll);
  }
  if (const std::string unequal = NamesUnequal(fields); !unequal.empty()) {
    implementation_->Say(
        Severity::kWarning, About::kForm,
        "several fields with the same name have different values, and only the first value is exported: " + unequal);
  }
  return fields;
}

bool ZForm::SetValue(const std::string& name, const std::string& value) { return SetValues(name, {value}); }

bool ZForm::SetValues(const std::string& name, const std::vector<std::string>& values) {
  Implementation& own = *implementation_;
  if (!own.MayFill()) return false;
  const bool is_filled_again = own.filler != nullptr && own.filled_names.contains(name);
  if (own.filler == nullptr || is_filled_again) own.MakeFiller();
  own.filled_names.insert(name);
  PTableau<Chaine> texts;
  for (const std::string& value : values) texts.push_back(WithLineEnds(value, "\r\n"));
  const bool taken = own.filler->Fill(name, texts);
  own.TakeFaults(Chaine());
  return taken;
}

bool ZForm::Fill(std::string_view data, const std::string& name) {
  Implementation& own = *implementation_;
  if (const std::string why = WhyNotFilled(own.form); !why.empty()) return own.Fail(About::kForm, why);
  ZXFDF values;
  uint64_t line = 0;
  std::string error;
  if (!ReadValues(data, name, &values, &line, &error)) return own.Fail(About::kData, error);
  if (!error.empty()) own.Say(Severity::kWarning, About::kData, error);
  if (error.empty() && !HoldsValues(values)) own.Say(Severity::kNote, About::kData, kNoValues);
  if (!own.MayFill()) return false;
  return own.Fill(values, line, IsTable(data, name));
}

bool ZForm::FillFromFile(const std::string& path) {
  Chaine bytes;
  std::string error;
  return ReadFile(path, &bytes, &error, LimitsOfValues()) ? Fill(bytes, path)
                                                          : implementation_->Fail(About::kData, error);
}

std::string ZForm::Export(ExportFormat format, bool all) {
  Implementation& own = *implementation_;
  if (const std::string why = WhyNotFilled(own.form); !why.empty()) {
    own.Fail(About::kForm, why);
    return {};
  }
  FormValues form{{}, ExportedFields(all)};
  if (NameOf(format).takes_several) return ExportTable({std::move(form)}, format, true);
  form.file = own.form.PathName().ToString();
  size_t replaced = 0;
  Chaine text = ExportDocument(form, *own.form.Parser(), format, &replaced);
  if (replaced > 0) {
    own.Say(
        Severity::kWarning, About::kForm,
        std::to_string(replaced) +
            (replaced == 1 ? " character that XML does not allow was" : " characters that XML does not allow were") +
            " replaced by U+FFFD in the export");
  }
  return text.ToString();
}

bool ZForm::Draw() {
  Implementation& own = *implementation_;
  if (!own.MayFill()) return false;
  own.Compute(Chaine());
  const bool is_complete = own.Drawing().DrawAll(&own.messages);
  if (!own.form.Parser()->ModifiedObjects().empty()) own.EndChange();
  return is_complete;
}

bool ZForm::Flatten(const std::vector<std::string>& names) {
  Implementation& own = *implementation_;
  if (const std::string why = WhyNotFilled(own.form); !why.empty()) return own.Fail(About::kForm, why);
  own.EndFilling();
  own.filler.reset();
  own.drawing.reset();
  return FlattenForm(own.form, names, own.guard_options, &own.messages) && own.Reload();
}

bool ZForm::Save(const std::string& path, SaveAs mode) {
  Implementation& own = *implementation_;
  const SaveOptions options{mode == SaveAs::kNewFile, own.guard_options.force};
  return own.Save([&] { return SaveForm(own.form, path, options, &own.messages); });
}

bool ZForm::SaveBytes(std::string* bytes, SaveAs mode) {
  Implementation& own = *implementation_;
  const SaveOptions options{mode == SaveAs::kNewFile, own.guard_options.force};
  return own.Save([&] {
    Chaine saved;
    if (!SaveForm(own.form, options, &saved, &own.messages)) return false;
    *bytes = saved.ToString();
    return true;
  });
}

ZFormMessages ZForm::TakeMessages() {
  Implementation& own = *implementation_;
  for (const ZDiagnosticsWarning& warning : own.form.Diagnostics().Warnings()) {
    const std::string text = ZDiagnostics::Describe(warning).ToString();
    if (own.said_of_file.insert(text).second) own.Say(Severity::kWarning, About::kFile, text);
  }
  return std::exchange(own.messages, {});
}

ZAcroForm& ZForm::Document() { return implementation_->form; }
const ZAcroForm& ZForm::Document() const { return implementation_->form; }

}  // namespace zforms
