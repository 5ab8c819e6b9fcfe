#pragma once

#include <memory>
#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/platform/xml/xml.h"
#include "zforms/xfdf/field.h"
#include "zforms/xfdf/field_collection.h"
#include "zforms/xfdf/session_infos.h"

namespace zforms {

class ZAcroForm;

// ZXFDF is an XFDF document (ISO 19444-1): the values of a form's fields, and a reference to the PDF they belong to. It
// is a view onto an XML tree that it owns; unknown content is kept and written back. Text is UTF-8; lines of values end
// in CR LF in memory and in LF in files.
//
//    ZXFDF xfdf;
//    xfdf.SetPDFHRef(ZInetURL("form.pdf"));
//    xfdf.Fields()["name"].Value() = "Zoé";
//    const Chaine bytes = xfdf.AsChaine();
//
// References to fields, collections and session infos are valid until it is read, assigned to or destroyed. Values may
// be attached to buffers of the host; a copy of the document is not attached. One document is used by one thread at a
// time, even for const functions.
class ZFORMS_API ZXFDF {
 public:
  using Field = ZXFDFField;
  using FieldCollection = ZXFDFFieldCollection;
  using SessionInfos = ZXFDFSessionInfos;

  // The namespace of XFDF.
  static constexpr char kNamespace[] = "http://ns.adobe.com/xfdf/";
  // The reserved field by which the host recognizes its session.
  static constexpr char kSessionIDField[] = "ZOR.SessionID";

  ZXFDF();
  ZXFDF(const ZXFDF& other);
  ZXFDF(ZXFDF&& other) noexcept;
  ZXFDF& operator=(const ZXFDF& other);
  ZXFDF& operator=(ZXFDF&& other) noexcept;
  virtual ~ZXFDF();

  // The fields in the element "fields", which is created when it is absent.
  FieldCollection& Fields();
  const FieldCollection& Fields() const;
  bool HasFields() const;
  // The element "fields" itself, with the "field" elements that the collection does not list; null when it is absent.
  const ZXMLElement* FieldsElement() const;

  // The element "annots". The non-const form creates it when it is absent; the const form returns an empty element.
  ZXMLElement& Annots();
  const ZXMLElement& Annots() const;
  bool HasAnnots() const;
  void RemoveAnnots();

  // Sets the element "ids" to the two strings of the PDF's "/ID", in hexadecimal; removes it when both are empty.
  void SetIDS(const Chaine& original, const Chaine& modified);
  // The strings of the element "ids", in hexadecimal; empty when absent.
  Chaine IDSOriginal() const;
  Chaine IDSModified() const;
  bool HasIDS() const;
  // Copies the identifiers of a PDF; false when it cannot be read.
  bool SetIDSFromLocalPDF(const Chaine& path);

  // Sets the "href" of the element "f"; removes "f" when the URL is empty. For a readable local file also sets the
  // identifiers. The colon after a drive letter is written as "|".
  void SetPDFHRef(const ZInetURL& url);
  // The "href" of the element "f"; empty when absent. In a "file:" URL every "|" is read as ":".
  ZInetURL PDFHRef() const;
  bool HasPDFHRef() const;

  // The host's session data in the field kSessionIDField, which is created when it is absent.
  SessionInfos& SessionID();
  const SessionInfos& SessionID() const;
  // True when SessionID() was called, or the field has a value that is not empty.
  bool HasSessionID() const;

  // Adds the fields that the form exports, without values: those with a name and without named kids, unless the first
  // field of that full name is marked no-export. When no document is loaded or it cannot be decrypted, returns false
  // and changes nothing.
  bool CreateFieldsFromLocalPDF(const ZAcroForm& form);
  // Does the same with the form in a file; the password is UTF-8.
  bool CreateFieldsFromLocalPDF(const Chaine& path, const Chaine& password);

  // Attaches the value of a field to a buffer of the host, so that both have the same value; false when there is no
  // such field. The name stays attached: whenever a document with a value for that field is read, the value is written
  // to the buffer. Several values become one text, joined by CR LF. The buffer must outlive the document, or
  // DetachBuffers must be called before.
  bool AttachBuffer(const Chaine& name, const ZVariantBuffer& buffer);
  // Detaches all values, which keep their contents.
  void DetachBuffers();
  // The fields whose values did not fit their buffers when the document was last read (see ZVariantBuffer::Write).
  const PTableau<Chaine>& LastMisfits() const { return misfits_; }

  // Replaces the document by the contents of the source. Always returns true; when the source is not XML or cannot be
  // opened, the document is empty and LastError() has the reason.
  bool Read(ZInetIStream* in, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  bool Read(const Chaine& path, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  bool FromBlob(const sBlob* blob);
  bool FromChaine(const Chaine& text);
  // Writes the document; an empty document writes nothing. False when the destination fails, with the reason in
  // LastError().
  bool Save(ZInetOStream* out) const;
  bool Save(const Chaine& path) const;
  bool ToBlob(sBlob* blob) const;
  // Empty when writing fails.
  Chaine AsChaine() const;

  // Why the last Read gave an empty document or the last Save failed; empty after a success.
  const std::string& LastError() const { return last_error_; }
  // The number of characters in the last Save that XML does not allow; they are written as U+FFFD.
  size_t LastReplaced() const { return last_replaced_; }

 private:
  ZXMLElement& Root() const;
  const ZXMLElement* Child(std::string_view name) const;
  void RemoveChild(std::string_view name);
  void DropViews();
  void ReadIntoBuffers();

  // Mutable, because creating "fields" on demand does not change the meaning of the document.
  mutable ZXMLReader xml_;
  mutable std::unique_ptr<FieldCollection> fields_;
  mutable std::unique_ptr<SessionInfos> session_;
  FDictionnary<ZVariantBuffer> buffers_;  // by full name of the field
  PTableau<Chaine> misfits_;
  mutable std::string last_error_;
  mutable size_t last_replaced_ = 0;
};

}  // namespace zforms
