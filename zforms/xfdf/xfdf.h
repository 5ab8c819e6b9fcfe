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

// ZXFDF is an XFDF document (ISO 19444-1): the values of a form's fields, with
// the PDF they belong to. It is a view onto an XML tree that it owns; what is
// read and not understood is written back. Text is UTF-8; the lines of values
// end in CR LF in memory and in LF outside.
//
// Fields, collections and session infos that it gave out end when it is read,
// assigned to or destroyed. Values may be attached to buffers of the host; copies
// of the document are not. One document is used by one thread at a time, const use included.
class ZFORMS_API ZXFDF {
 public:
  using Field = ZXFDFField;
  using FieldCollection = ZXFDFFieldCollection;
  using SessionInfos = ZXFDFSessionInfos;

  // The namespace of XFDF.
  static constexpr char kNamespace[] = "http://ns.adobe.com/xfdf/";
  // The field that carries what the host needs to know its session again.
  static constexpr char kSessionIDField[] = "ZOR.SessionID";

  ZXFDF();
  ZXFDF(const ZXFDF& other);
  ZXFDF(ZXFDF&& other) noexcept;
  ZXFDF& operator=(const ZXFDF& other);
  ZXFDF& operator=(ZXFDF&& other) noexcept;
  virtual ~ZXFDF();

  // The fields of "fields", which is made when it is absent.
  FieldCollection& Fields();
  const FieldCollection& Fields() const;
  bool HasFields() const;

  // The element "annots". The non-const form makes it when it is absent; the
  // const form is empty then.
  ZXMLElement& Annots();
  const ZXMLElement& Annots() const;
  bool HasAnnots() const;
  void RemoveAnnots();

  // Sets "ids" to the two strings of the PDF's "/ID", in hexadecimal; removes it
  // when both are empty.
  void SetIDS(const Chaine& original, const Chaine& modified);
  // As they stand in "ids", in hexadecimal; empty when absent.
  Chaine IDSOriginal() const;
  Chaine IDSModified() const;
  bool HasIDS() const;
  // Takes the identifiers from a PDF; false when it cannot be read.
  bool SetIDSFromLocalPDF(const Chaine& path);

  // Sets the "href" of "f"; removes "f" when the URL is empty. A local file's
  // identifiers are taken as well when it can be read, and the colon of its drive
  // is written "|".
  void SetPDFHRef(const ZInetURL& url);
  // Empty when absent; in a "file:" URL every "|" is read as ":".
  ZInetURL PDFHRef() const;
  bool HasPDFHRef() const;

  // What the host keeps in the field kSessionIDField, which is made when it is absent.
  SessionInfos& SessionID();
  const SessionInfos& SessionID() const;
  // Whether SessionID() was asked for, or the field has a value that is not empty.
  bool HasSessionID() const;

  // Adds the fields that the form exports, without values: those that have a name
  // and no named kids, unless the first of their full name is marked no-export.
  // False, changing nothing, when no document is loaded or it cannot be decrypted.
  bool CreateFieldsFromLocalPDF(const ZAcroForm& form);
  // The same from a file; the password is UTF-8.
  bool CreateFieldsFromLocalPDF(const Chaine& path, const Chaine& password);

  // Attaches the value of a field to a buffer of the host, whose value it has from
  // then on; false when there is no such field. The name stays attached: whenever the
  // document is read and gives a value to a field of that name, the value is written
  // to the buffer. Several values become one text, joined by CR LF. The buffer
  // outlives the document, or DetachBuffers is called before it ends.
  bool AttachBuffer(const Chaine& name, const ZVariantBuffer& buffer);
  // Values stay as they are, without their buffers.
  void DetachBuffers();
  // The fields whose values did not fit whole into their buffers when the document
  // was last read (see ZVariantBuffer::Write).
  const PTableau<Chaine>& LastMisfits() const { return misfits_; }

  // Replaces the document by what the source holds. Always true; when it is no
  // XML, or cannot be opened, the document is empty and LastError() says why.
  bool Read(ZInetIStream* in, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  bool Read(const Chaine& path, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  bool FromBlob(const sBlob* blob);
  bool FromChaine(const Chaine& text);
  // Writes the document; an empty document writes nothing. False when the
  // destination fails; LastError() says why.
  bool Save(ZInetOStream* out) const;
  bool Save(const Chaine& path) const;
  bool ToBlob(sBlob* blob) const;
  // Empty when writing fails.
  Chaine AsChaine() const;

  // Why the last Read gave an empty document or the last Save failed; empty when
  // it went well.
  const std::string& LastError() const { return last_error_; }
  // How many characters of the last Save XML has no place for, written as U+FFFD.
  size_t LastReplaced() const { return last_replaced_; }

 private:
  ZXMLElement& Root() const;
  const ZXMLElement* Child(std::string_view name) const;
  void RemoveChild(std::string_view name);
  void DropViews();
  void ReadIntoBuffers();

  // Filling "fields" in on demand does not change what the document says.
  mutable ZXMLReader xml_;
  mutable std::unique_ptr<FieldCollection> fields_;
  mutable std::unique_ptr<SessionInfos> session_;
  FDictionnary<ZVariantBuffer> buffers_;  // by full name
  PTableau<Chaine> misfits_;
  mutable std::string last_error_;
  mutable size_t last_replaced_ = 0;
};

}  // namespace zforms
