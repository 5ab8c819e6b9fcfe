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
#include "zforms/pdf/crypt/encryptions.h"
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

// ZAcroForm is a PDF document with its interactive form: it opens a file, gives access to the form's fields, fills
// them, and saves the changes, by default as an update appended to the bytes that were read.
//
//    ZAcroForm form;
//    if (!form.Load("in.pdf", "")) return false;
//    if (ZAcroFormField* const field = form.Fields().Get("name")) field->SetValue(UTF8ToPDFText("Zoé"));
//    form.SetNeedAppearances(true);
//    return form.Save("out.pdf");
//
// It owns its parser, and so the node tree, and every wrapper that it returns; fields and wrappers are invalid after
// the next Load and after an assignment to the form. Copies are deep. One thread at a time; different copies may be
// used by different threads.
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
  // Maps full names to the fields of that name, in byte order of the names.
  using FieldMap = FDictionnary<PTableau<Field*>>;
  using ConstFieldMap = FDictionnary<PTableau<const Field*>>;

  // Every permission: the value of "/P" for a document without encryption.
  static constexpr uint32_t kAllPermissions = 0xFFFFFFFC;

  ZAcroForm();
  ZAcroForm(const ZAcroForm& other);
  ZAcroForm& operator=(const ZAcroForm& other);
  virtual ~ZAcroForm();

  // Open a file, the bytes of a stream, or a parser's document, which is copied. False when it cannot be read or the
  // password does not open it, with the reason in Diagnostics(); the document loaded before is then kept. A document
  // without a form loads as well: see IsValid.
  bool Load(const Chaine& path, const Chaine& password);
  bool Load(ZInetIStream& in, const Chaine& password);
  bool Load(const ZPDFParser* parser);
  // Sets whether the next Load recovers a damaged file, which Diagnostics() then reports. A recovered document is
  // rewritten as a whole by the next save. See ZPDFParser::SetRecovery.
  void SetRecovery(bool recover) { recovery_ = recover; }
  bool Recovers() const { return recovery_; }
  // Sets whether the next load from a path maps a large file into memory: see ZPDFParser::SetFileMapping.
  void SetFileMapping(bool map) { maps_file_ = map; }
  // Sets which encrypted documents the next Load opens: kRC4Only by default. See ZPDFParser::SetEncryptions.
  void SetEncryptions(ZPDFEncryptions encryptions) { encryptions_ = encryptions; }
  // Sets whether the next Load also searches the pages for fields: for widgets that "/Fields" does not lead to and that
  // have a type or a parent. They are added at the end of Fields(), in the order of the pages, each below its parents.
  // A widget whose parent is a field of the form is added after that field's kids. Get returns such a field only if no
  // field of the form has its name. The search reads every page and its annotations.
  void SetPageFields(bool find) { finds_page_fields_ = find; }
  // The fields that were found on pages, without those below them.
  PTableau<const Field*> PageFields() const;
  // True when a document with a form is loaded and can be decrypted.
  bool IsValid() const;
  // The path that the document was loaded from or last saved to; empty for a stream.
  const Chaine& PathName() const { return path_name_; }
  // The bytes of the document as loaded or last saved.
  const Chaine& RawData() const { return raw_data_; }
  uint32_t XRefOffset() const { return xref_offset_; }
  // Null before a successful Load.
  ZPDFParser* Parser() { return parser_.get(); }
  const ZPDFParser* Parser() const { return parser_.get(); }

  // The fields of "/Fields"; an empty collection without a form. Built on first use.
  FieldCollection& Fields();
  const FieldCollection& Fields() const { return const_cast<ZAcroForm*>(this)->Fields(); }
  // All fields by their full names: groups, the fields in them, and widgets. Fields with the same name are in document
  // order, widgets after their field.
  FieldMap FlatFields();
  ConstFieldMap FlatFields() const;
  // Like FlatFields, without submit buttons and the fields below them.
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
  // "/NeedAppearances": true when viewers must draw the values again. Set it after filling.
  bool NeedAppearances() const;
  void SetNeedAppearances(bool need);

  // "/ViewerPreferences" of the catalog. The non-const overload creates it when it is absent, and returns null without
  // a catalog.
  bool HasViewerPreferences() const { return viewer_infos_ != nullptr; }
  ViewerInfos* ViewerPreferences();
  const ViewerInfos* ViewerPreferences() const { return viewer_infos_.get(); }

  // Writes the values of the XFDF document's fields, including rich text, into the form's fields with the same full
  // names. A field without a value changes nothing; signatures and push buttons are never filled. Check boxes and radio
  // groups show the new state; the appearance of other fields is left to the viewer. A value that is not a state of its
  // button is written too, with a warning.
  //
  // Returns the number of fields that were given a value. `unmatched` gets the full names that no field of the form
  // has. `refused` gets the full names of signatures and push buttons for which the document has a value. Both are
  // UTF-8 and may be null.
  size_t SetValues(const ZXFDF& xfdf, PTableau<Chaine>* unmatched = nullptr, PTableau<Chaine>* refused = nullptr);
  // Like SetValues, but writes the default values; rich text is ignored.
  size_t SetDefaultValues(const ZXFDF& xfdf, PTableau<Chaine>* unmatched = nullptr,
                          PTableau<Chaine>* refused = nullptr);

  static void ShowFields(const PTableau<Field*>& fields, bool show);
  static void SetFieldsReadOnly(const PTableau<Field*>& fields, bool read_only);

  // The permissions "/P" with which the document is saved (ISO 32000-1 table 22). Changing them makes the next save a
  // full one; a document without encryption is then encrypted with RC4 of 40 bits.
  uint32_t StandardUserFlags() const;
  void SetStandardUserFlags(uint32_t flags);
  // Sets the passwords of an encrypted document, in the document's encoding, and makes the next save a full one. Does
  // nothing without encryption. An empty owner password is replaced by the user password. False when a password is not
  // allowed by the encryption.
  bool SetPasswords(const Chaine& user, const Chaine& owner);
  // Make the next save a full one. The first function encrypts with AES of 256 bits and keeps the permissions; the
  // passwords are UTF-8. The second function removes the encryption.
  bool EncryptWithAES256(const Chaine& user, const Chaine& owner);
  void RemoveEncryption();
  // The security handler with which the document was read, and the one with which it is saved; null without encryption.
  // Owned by the form.
  const ZPDFEncryption* EncryptionLoad() const { return encryption_load_.get(); }
  const ZPDFEncryption* EncryptionSave() const;

  // Saves the changes as an update, or the whole document when SavesAnew() is true. The saved bytes become the base of
  // the next save, and no object is marked as modified any more. An empty path means PathName(). On failure returns
  // false, with the reason in Diagnostics(), and the form is unchanged.
  bool Save(const Chaine& path);
  bool Save(ZInetOStream& out);
  // True when the next Save writes the whole document: after a change of the security handler or a recovery from
  // damage.
  bool SavesAnew() const;
  // Saves the whole document: the objects in use and one cross-reference section. Objects keep their numbers, and free
  // numbers between them get null objects. All objects are renumbered when these gaps are too wide, or when an
  // unreadable object has the number of another one. Unreadable objects are lost.
  bool SaveFull(const Chaine& path);
  bool SaveFull(ZInetOStream& out);
  // True when SaveFull would lose parts of pages or of the form, because objects cannot be read or the page tree or the
  // list of fields is damaged. Diagnostics() then says which.
  bool WouldLose();
  void ResetModified();
  // The bytes as loaded or last saved, with an update that contains the given objects if they are marked as
  // modified. The form itself does not change, so a caller can fill it, get the bytes, undo its changes and fill it
  // again. Empty on failure. Precondition: a document is loaded.
  Chaine UpdatedBytes(const PTableau<ZPDFNodeIndirectObject*>& objects) const;

  // Why the last load or save failed, and warnings about the document, its form and the values filled in. Valid until
  // the next call.
  const ZDiagnostics& Diagnostics() const;
  // Adds a warning to the diagnostics.
  void Warn(const Chaine& text) { notes_.Warn(text); }

 private:
  // Makes the writer store its output; false when that fails.
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

  // Members are destroyed in reverse order: fields and infos before the parser.
  Chaine path_name_;
  Chaine raw_data_;
  uint32_t xref_offset_ = 0;
  bool recovery_ = false;
  bool maps_file_ = false;
  bool finds_page_fields_ = false;
  ZPDFEncryptions encryptions_ = ZPDFEncryptions::kRC4Only;
  bool removes_encryption_ = false;
  // The diagnostics of the form, without those of the parser.
  ZDiagnostics notes_;
  mutable ZDiagnostics diagnostics_;
  std::unique_ptr<ViewerInfos> viewer_infos_;
  std::unique_ptr<ZPDFEncryption> encryption_load_;
  std::unique_ptr<ZPDFEncryption> encryption_save_;
  std::unique_ptr<ZPDFParser> parser_;
  std::unique_ptr<FormInfos> form_infos_;
  std::unique_ptr<FieldCollection> fields_;  // null until they are needed
  PTableau<const Field*> page_fields_;
};

}  // namespace zforms
