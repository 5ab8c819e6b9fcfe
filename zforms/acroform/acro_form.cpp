#include "zforms/acroform/acro_form.h"

#include <algorithm>
#include <utility>

#include "zforms/acroform/field_tree.h"
#include "zforms/acroform/form_filler.h"
#include "zforms/acroform/node_access.h"
#include "zforms/acroform/page_fields.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/crypt/encryption_method.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/string_node.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

// Visits every field with its full name, depth first, in document order. When the visit returns false, the fields below
// are skipped.
template <class Collection, class Visit>
void Walk(Collection& fields, const Chaine& above, const Visit& visit) {
  for (uint32_t i = 0; i < fields.Size(); i++) {
    auto& field = *fields.GetAt(i);
    Chaine name = above;
    AppendPartialName(&name, field.HasName(), field.Name());
    if (visit(field, name)) Walk(static_cast<Collection&>(field), name, visit);
  }
}

template <class Map, class Collection>
Map Flatten(Collection& fields, bool with_submit_buttons) {
  Map map;
  Walk(fields, Chaine(), [&](auto& field, const Chaine& name) {
    if (!with_submit_buttons && field.IsSubmitFormButton()) return false;
    map[name].push_back(&field);
    return true;
  });
  return map;
}

}  // namespace

ZAcroForm::ZAcroForm() = default;

ZAcroForm::ZAcroForm(const ZAcroForm& other) : ZAcroForm() {
  finds_page_fields_ = other.finds_page_fields_;
  if (other.parser_ != nullptr) Adopt(std::make_unique<ZPDFParser>(*other.parser_));
  // Copies these from the other form, not from its parser, which may still have the bytes from before the last update.
  path_name_ = other.path_name_;
  raw_data_ = other.raw_data_;
  xref_offset_ = other.xref_offset_;
  recovery_ = other.recovery_;
  maps_file_ = other.maps_file_;
  encryptions_ = other.encryptions_;
  removes_encryption_ = other.removes_encryption_;
  notes_ = other.notes_;
  const auto copy_of = [](const std::unique_ptr<ZPDFEncryption>& handler) {
    return handler == nullptr ? nullptr : std::make_unique<ZPDFEncryption>(*handler);
  };
  encryption_load_ = copy_of(other.encryption_load_);
  encryption_save_ = copy_of(other.encryption_save_);
}

ZAcroForm& ZAcroForm::operator=(const ZAcroForm& other) {
  if (this != &other) {
    ZAcroForm copy(other);
    Swap(copy);
  }
  return *this;
}

ZAcroForm::~ZAcroForm() = default;

void ZAcroForm::Swap(ZAcroForm& other) {
  std::swap(path_name_, other.path_name_);
  std::swap(raw_data_, other.raw_data_);
  std::swap(xref_offset_, other.xref_offset_);
  std::swap(recovery_, other.recovery_);
  std::swap(maps_file_, other.maps_file_);
  std::swap(encryptions_, other.encryptions_);
  std::swap(removes_encryption_, other.removes_encryption_);
  std::swap(finds_page_fields_, other.finds_page_fields_);
  std::swap(notes_, other.notes_);
  std::swap(viewer_infos_, other.viewer_infos_);
  std::swap(encryption_load_, other.encryption_load_);
  std::swap(encryption_save_, other.encryption_save_);
  std::swap(parser_, other.parser_);
  std::swap(form_infos_, other.form_infos_);
  std::swap(fields_, other.fields_);
  std::swap(page_fields_, other.page_fields_);
}

// --- loading ---

bool ZAcroForm::Load(const Chaine& path, const Chaine& password) {
  auto parser = std::make_unique<ZPDFParser>();
  parser->SetRecovery(recovery_);
  parser->SetEncryptions(encryptions_);
  parser->SetFileMapping(maps_file_);
  if (!parser->Read(path, password)) return FailLoad(*parser, parser->Diagnostics().Failure());
  return Adopt(std::move(parser));
}

bool ZAcroForm::Load(ZInetIStream& in, const Chaine& password) {
  auto parser = std::make_unique<ZPDFParser>();
  parser->SetRecovery(recovery_);
  parser->SetEncryptions(encryptions_);
  const Chaine bytes = in.ReadAll();
  if (const std::string error = in.Error(); !error.empty()) return FailLoad(*parser, error);
  if (!parser->ReadFromRaw(bytes, password)) return FailLoad(*parser, parser->Diagnostics().Failure());
  return Adopt(std::move(parser));
}

bool ZAcroForm::Load(const ZPDFParser* parser) {
  if (parser == nullptr || parser->TrailerDico() == nullptr) {
    notes_.SetFailure("no document was read");
    return false;
  }
  return Adopt(std::make_unique<ZPDFParser>(*parser));
}

bool ZAcroForm::FailLoad(const ZPDFParser& parser, const Chaine& reason) {
  if (parser_ == nullptr) notes_ = parser.Diagnostics();
  notes_.SetFailure(reason);
  return false;
}

bool ZAcroForm::Adopt(std::unique_ptr<ZPDFParser> parser) {
  const ZPDFEncryption* encryption = parser->Encryption();
  if (encryption != nullptr && !encryption->CanBeDecrypted()) return FailLoad(*parser, EncryptionRefusal(*encryption));
  path_name_ = parser->PathName();
  raw_data_ = parser->RawData();
  xref_offset_ = parser->XRefOffset();
  notes_.Clear();
  fields_.reset();
  page_fields_.clear();
  form_infos_.reset();
  viewer_infos_.reset();
  parser_ = std::move(parser);
  encryption_load_ = encryption == nullptr ? nullptr : std::make_unique<ZPDFEncryption>(*encryption);
  encryption_save_.reset();
  removes_encryption_ = false;
  Wrap();
  return true;
}

void ZAcroForm::Wrap() {
  if (ZPDFNodeDictionary* viewer = parser_->ViewerPreferences()) viewer_infos_.reset(new ViewerInfos(viewer));
  if (ZPDFNodeDictionary* form = parser_->AcroForm()) form_infos_.reset(new FormInfos(form));
}

ZAcroFormFieldCollection& ZAcroForm::Fields() {
  if (fields_ == nullptr) {
    fields_.reset(new FieldCollection);
    ZPDFNodeArray* const array = form_infos_ == nullptr ? nullptr : ArrayAt(*form_infos_->Dico(), "/Fields");
    FieldTreeBuilder builder(form_infos_.get(), &notes_);
    builder.Build(*fields_, array, nullptr);
    if (finds_page_fields_ && form_infos_ != nullptr && parser_->Root() != nullptr) {
      page_fields_ = PageFieldFinder(builder, *fields_).Find(*parser_->Root());
    }
  }
  return *fields_;
}

PTableau<const ZAcroFormField*> ZAcroForm::PageFields() const {
  Fields();
  return page_fields_;
}

bool ZAcroForm::IsValid() const {
  if (form_infos_ == nullptr || parser_ == nullptr) return false;
  return encryption_load_ == nullptr || encryption_load_->CanBeDecrypted();
}

const ZDiagnostics& ZAcroForm::Diagnostics() const {
  Fields();  // may add warnings
  diagnostics_ = notes_;
  if (parser_ == nullptr) return diagnostics_;
  const ZDiagnostics& of_file = parser_->Diagnostics();
  for (const ZDiagnostics::Warning& warning : of_file.Warnings()) diagnostics_.Warn(warning);
  diagnostics_.SetDamaged(!parser_->Recovers() && (notes_.IsDamaged() || of_file.Warnings().Size() > 0));
  return diagnostics_;
}

// --- fields ---

ZAcroForm::FieldMap ZAcroForm::FlatFields() { return Flatten<FieldMap>(Fields(), true); }

ZAcroForm::ConstFieldMap ZAcroForm::FlatFields() const { return Flatten<ConstFieldMap>(Fields(), true); }

ZAcroForm::FieldMap ZAcroForm::FlatRegularFields() { return Flatten<FieldMap>(Fields(), false); }

ZAcroForm::ConstFieldMap ZAcroForm::FlatRegularFields() const { return Flatten<ConstFieldMap>(Fields(), false); }

PTableau<const ZAcroFormField*> ZAcroForm::SubmitButtons() const {
  PTableau<std::pair<Chaine, const Field*>> named;
  Walk(Fields(), Chaine(), [&](const Field& field, const Chaine& name) {
    if (field.IsSubmitFormButton()) named.emplace_back(name, &field);
    return true;
  });
  std::stable_sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  PTableau<const Field*> buttons;
  for (const auto& [name, field] : named) buttons.push_back(field);
  return buttons;
}

uint32_t ZAcroForm::SubmitFormButtonCount() const { return static_cast<uint32_t>(SubmitButtons().size()); }

const ZAcroFormField& ZAcroForm::SubmitFormButton(uint32_t i) const { return *SubmitButtons()[i]; }

ZAcroFormField& ZAcroForm::SubmitFormButton(uint32_t i) {
  return const_cast<Field&>(std::as_const(*this).SubmitFormButton(i));
}

bool ZAcroForm::HasSubmitFormButton() const { return !SubmitButtons().empty(); }

void ZAcroForm::ShowFields(const PTableau<Field*>& fields, bool show) {
  for (Field* field : fields) field->Hide(!show);
}

void ZAcroForm::SetFieldsReadOnly(const PTableau<Field*>& fields, bool read_only) {
  for (Field* field : fields) field->SetReadOnly(read_only);
}

size_t ZAcroForm::SetValues(const ZXFDF& xfdf, PTableau<Chaine>* unmatched, PTableau<Chaine>* refused) {
  return Fill(xfdf, false, unmatched, refused);
}

size_t ZAcroForm::SetDefaultValues(const ZXFDF& xfdf, PTableau<Chaine>* unmatched, PTableau<Chaine>* refused) {
  return Fill(xfdf, true, unmatched, refused);
}

size_t ZAcroForm::Fill(const ZXFDF& xfdf, bool defaults, PTableau<Chaine>* unmatched, PTableau<Chaine>* refused) {
  FormFiller filler(Fields(), defaults ? FormFiller::Target::kDefaultValue : FormFiller::Target::kValue, &notes_);
  if (unmatched == nullptr) filler.SkipEmpty();
  if (xfdf.HasFields()) filler.Fill(xfdf.Fields());
  if (unmatched != nullptr) *unmatched = filler.Unmatched();
  if (refused != nullptr) *refused = filler.Refused();
  return filler.Filled();
}

// --- the document ---

bool ZAcroForm::NeedAppearances() const { return form_infos_ != nullptr && form_infos_->NeedAppearances(); }

void ZAcroForm::SetNeedAppearances(bool need) {
  if (form_infos_ != nullptr) form_infos_->SetNeedAppearances(need);
}

ZAcroFormViewerInfos* ZAcroForm::ViewerPreferences() {
  ZPDFNodeDictionary* root = parser_ == nullptr ? nullptr : parser_->Root();
  if (viewer_infos_ == nullptr && root != nullptr) {
    auto* dictionary = new ZPDFNodeDictionary(parser_.get());
    root->SetValue("/ViewerPreferences", dictionary);
    viewer_infos_.reset(new ViewerInfos(dictionary));
  }
  return viewer_infos_.get();
}

const ZPDFEncryption* ZAcroForm::EncryptionSave() const {
  if (removes_encryption_) return nullptr;
  return encryption_save_ != nullptr ? encryption_save_.get() : encryption_load_.get();
}

uint32_t ZAcroForm::StandardUserFlags() const {
  const ZPDFEncryption* handler = EncryptionSave();
  return handler == nullptr ? kAllPermissions : handler->StandardFlags();
}

void ZAcroForm::SetStandardUserFlags(uint32_t flags) {
  if (parser_ == nullptr || flags == StandardUserFlags()) return;
  if (encryption_save_ == nullptr && encryption_load_ != nullptr) {
    encryption_save_ = std::make_unique<ZPDFEncryption>(*encryption_load_);
  } else if (encryption_save_ == nullptr) {
    EnsureDocumentIdentifier();
    encryption_save_.reset(ZPDFEncryption::CreateStandard(parser_->IDOriginal(), parser_->UserPassword(), Chaine()));
  }
  encryption_save_->SetStandardFlags(flags);
}

bool ZAcroForm::SetPasswords(const Chaine& user, const Chaine& owner) {
  if (EncryptionSave() == nullptr) return true;
  if (encryption_save_ == nullptr) encryption_save_ = std::make_unique<ZPDFEncryption>(*encryption_load_);
  return encryption_save_->SetPasswords(user, owner);
}

bool ZAcroForm::EncryptWithAES256(const Chaine& user, const Chaine& owner) {
  std::unique_ptr<ZPDFEncryption> handler(parser_ == nullptr ? nullptr : ZPDFEncryption::CreateAES256(user, owner));
  if (handler == nullptr) return false;
  handler->SetStandardFlags(StandardUserFlags());
  EnsureDocumentIdentifier();
  encryption_save_ = std::move(handler);
  removes_encryption_ = false;
  return true;
}

void ZAcroForm::RemoveEncryption() {
  removes_encryption_ = encryption_load_ != nullptr;
  encryption_save_.reset();
}

// Adds "/ID" when it is absent: an encrypted document must have it, because the key depends on it (ISO 32000-1 7.5.5).
void ZAcroForm::EnsureDocumentIdentifier() {
  if (!parser_->IDOriginal().IsEmpty()) return;
  const Chaine digest = MD5Of(raw_data_);
  auto* ids = new ZPDFNodeArray(parser_.get());
  for (int i = 0; i < 2; i++) ids->AppendValue(new ZPDFNodeHexaString(digest, parser_.get()));
  parser_->TrailerDico()->SetValue("/ID", ids);
}

}  // namespace zforms
