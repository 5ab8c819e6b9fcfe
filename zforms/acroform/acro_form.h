#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "zforms/acroform/action.h"
#include "zforms/acroform/annotation.h"
#include "zforms/acroform/appearance_characteristics.h"
#include "zforms/acroform/appearances.h"
#include "zforms/acroform/field.h"
#include "zforms/acroform/field_collection.h"
#include "zforms/acroform/file_spec.h"
#include "zforms/acroform/form_infos.h"
#include "zforms/acroform/rect.h"
#include "zforms/acroform/viewer_infos.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZInetIStream;
class ZInetOStream;
class ZPDFEncryption;
class ZPDFNodeIndirectObject;
class ZPDFParser;
class ZPDFWriter;
class ZXFDF;

// ZAcroForm is a PDF document with its interactive form: it opens a file, shows
// the form's fields, fills them, and saves what changed, by default as an update
// appended to the bytes that were read.
//
// It owns its parser, and so the node tree, and every wrapper that it hands out;
// fields and wrappers are invalid after the next Load and after assignment to it.
// Copies are deep. One thread at a time; copies belong to themselves.
class ZFORMS_API ZAcroForm {
 public:
  using Field = ZAcroFormField;
  using FieldCollection = ZAcroFormFieldCollection;
  using Annotation = ZAcroFormAnnotation;
  using Appearances = ZAcroFormAppearances;
  using AppearanceCharacteristics = ZAcroFormAppearanceCharacteristics;
  using Rect = ZAcroFormRect;
  using Action = ZAcroFormAction;
  using FileSpec = ZAcroFormFileSpec;
  using FormInfos = ZAcroFormFormInfos;
  using ViewerInfos = ZAcroFormViewerInfos;
  // Full names to the fields that have them, in byte order of the names.
  using FieldMap = FDictionnary<PTableau<Field*>>;
  using ConstFieldMap = FDictionnary<PTableau<const Field*>>;

  // Every permission: what "/P" is taken to be in a document without encryption.
  static constexpr uint32_t kAllPermissions = 0xFFFFFFFC;

  ZAcroForm();
  ZAcroForm(const ZAcroForm& other);
  ZAcroForm& operator=(const ZAcroForm& other);
  virtual ~ZAcroForm();

  // Open a file, a stream's bytes, or what a parser has read, which is copied.
  // False when it cannot be read or the password does not open it, with the reason
  // in Diagnostics(); what was loaded before then stays. A document without a form
  // loads as well: see IsValid.
  bool Load(const Chaine& path, const Chaine& password);
  bool Load(ZInetIStream& in, const Chaine& password);
  bool Load(const ZPDFParser* parser);
  // From now on a damaged file is recovered when it is loaded, which Diagnostics()
  // say; it is then saved anew the next time. See ZPDFParser::SetRecovery.
  void SetRecovery(bool recover) { recovery_ = recover; }
  // From the next load on, fields are looked for on the pages as well: widgets that
  // "/Fields" does not lead to and that have a type, or a parent. They follow the others
  // at the end of Fields(), in the order of the pages, each below its parents; one whose
  // parent is a field of the form follows the kids of that. Get finds them by names
  // that no field of the form has. Reads every page and its annotations.
  void SetPageFields(bool find) { finds_page_fields_ = find; }
  // What was found so: each without what stands below it.
  PTableau<const Field*> PageFields() const;
  // Whether a document with a form is loaded and can be decrypted.
  bool IsValid() const;
  // The file that it was loaded from or last saved to; empty for a stream.
  const Chaine& PathName() const { return path_name_; }
  // The bytes of the document as loaded or last saved.
  const Chaine& RawData() const { return raw_data_; }
  uint32_t XRefOffset() const { return xref_offset_; }
  // Null before a successful Load.
  ZPDFParser* Parser() { return parser_.get(); }
  const ZPDFParser* Parser() const { return parser_.get(); }

  // The fields of "/Fields"; an empty collection without a form.
  // They are gathered when they are first asked for.
  FieldCollection& Fields();
  const FieldCollection& Fields() const { return const_cast<ZAcroForm*>(this)->Fields(); }
  // Every field under its full name, in document order where several have the
  // same: groups as well as the fields in them, widgets after their field.
  FieldMap FlatFields();
  ConstFieldMap FlatFields() const;
  // The same without submit buttons and what stands below them.
  FieldMap FlatRegularFields();
  ConstFieldMap FlatRegularFields() const;

  // The buttons that submit the form, in byte order of their full names.
  uint32_t SubmitFormButtonCount() const;
  // Precondition: i < SubmitFormButtonCount().
  Field& SubmitFormButton(uint32_t i);
  const Field& SubmitFormButton(uint32_t i) const;
  bool HasSubmitFormButton() const;

  // "/AcroForm"; null without a form.
  FormInfos* Infos() { return form_infos_.get(); }
  const FormInfos* Infos() const { return form_infos_.get(); }
  // Whether viewers are to draw the values anew; set it after filling.
  bool NeedAppearances() const;
  void SetNeedAppearances(bool need);

  // "/ViewerPreferences" of the catalog. The non-const form makes it when it is
  // absent; null without a catalog.
  bool HasViewerPreferences() const { return viewer_infos_ != nullptr; }
  ViewerInfos* ViewerPreferences();
  const ViewerInfos* ViewerPreferences() const { return viewer_infos_.get(); }

  // Write the values of the document's fields, rich text included, into the fields
  // of the same full names. What has no value clears nothing; signatures and push
  // buttons are never filled. Check boxes and radio groups show the new state; the
  // looks of other fields are left to the viewer. A value that is no state of its
  // button is written all the same, with a warning.
  //
  // Returns how many fields were given a value. `unmatched` takes the full names
  // that no field has, `refused` those of fields that are never filled and were
  // given a value; both in UTF-8, and may be null.
  size_t SetValues(const ZXFDF& xfdf, PTableau<Chaine>* unmatched = nullptr, PTableau<Chaine>* refused = nullptr);
  // The same with the default values; rich text is ignored.
  size_t SetDefaultValues(const ZXFDF& xfdf, PTableau<Chaine>* unmatched = nullptr,
                          PTableau<Chaine>* refused = nullptr);

  static void ShowFields(const PTableau<Field*>& fields, bool show);
  static void SetFieldsReadOnly(const PTableau<Field*>& fields, bool read_only);

  // The permissions "/P" with which the document is saved (ISO 32000-1 table 22).
  // Setting others makes the next save a full one.
  uint32_t StandardUserFlags() const;
  void SetStandardUserFlags(uint32_t flags);
  // The passwords, in its encoding, with which an encrypted document is saved; makes the next save a full one. An empty
  // owner password stands for the user's.
  void SetPasswords(const Chaine& user, const Chaine& owner);
  // The security handler that the document was read with, and the one that it is
  // saved with; null for none. Owned here.
  const ZPDFEncryption* EncryptionLoad() const { return encryption_load_.get(); }
  const ZPDFEncryption* EncryptionSave() const;

  // Save what changed as an update, or everything when SavesAnew() says so. The bytes saved are then the base of the
  // next save, and nothing is marked as modified any more. An empty path means PathName(). On failure they return
  // false, with the reason in Diagnostics(), and change nothing here.
  bool Save(const Chaine& path);
  bool Save(ZInetOStream& out);
  // Whether the next Save writes everything: the security handler changed, or the
  // document was recovered from damage.
  bool SavesAnew() const;
  // Save everything anew: the objects in use, one cross-reference section. They keep
  // their numbers, and numbers between them that are free get null objects; where the gaps
  // are too wide for that, or what cannot be read has another object's number, all objects
  // are numbered anew. What cannot be read is lost.
  bool SaveFull(const Chaine& path);
  bool SaveFull(ZInetOStream& out);
  // Whether that would lose what belongs to pages or form, because objects cannot be read
  // or the page tree or the list of fields is damaged. Diagnostics() then name them.
  bool WouldLose();
  void ResetModified();
  // The bytes that Save would give as an update with these objects, those of them that
  // are marked. Nothing changes here: who fills one form again and again takes this,
  // and then takes the changes back. Empty on failure. Precondition: a document is loaded.
  Chaine UpdatedBytes(const PTableau<ZPDFNodeIndirectObject*>& objects) const;

  // Why the last load or save failed, and what was odd about the document, its
  // form and the values filled in. Valid until the next call.
  const ZDiagnostics& Diagnostics() const;
  // Adds a warning to them.
  void Warn(const Chaine& text) { notes_.Warn(text); }

 private:
  // Has the writer store its output; false when that fails.
  using WriteStep = std::function<bool(ZPDFWriter&)>;

  bool FailLoad(const ZPDFParser& parser, const Chaine& reason);
  bool Adopt(std::unique_ptr<ZPDFParser> parser);
  void Wrap();
  void Swap(ZAcroForm& other);
  PTableau<const Field*> SubmitButtons() const;
  size_t Fill(const ZXFDF& xfdf, bool defaults, PTableau<Chaine>* unmatched, PTableau<Chaine>* refused);
  void EnsureDocumentIdentifier();
  bool SaveBy(const WriteStep& write);
  bool UpdateBy(const WriteStep& write);
  bool SaveFullBy(const WriteStep& write);
  void FinishSave();
  bool FailSave(const Chaine& reason);

  // Destroyed in the reverse order: fields and infos before the parser.
  Chaine path_name_;
  Chaine raw_data_;
  uint32_t xref_offset_ = 0;
  bool recovery_ = false;
  bool finds_page_fields_ = false;
  // What was met besides what the parser says.
  ZDiagnostics notes_;
  mutable ZDiagnostics diagnostics_;
  std::unique_ptr<ViewerInfos> viewer_infos_;
  std::unique_ptr<ZPDFEncryption> encryption_load_;
  std::unique_ptr<ZPDFEncryption> encryption_save_;
  std::unique_ptr<ZPDFParser> parser_;
  std::unique_ptr<FormInfos> form_infos_;
  std::unique_ptr<FieldCollection> fields_;  // null until they are asked for
  PTableau<const Field*> page_fields_;
};

}  // namespace zforms
