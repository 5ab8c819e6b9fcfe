#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/text/dictionary_no_case.h"
#include "zforms/xfdf/mapping/map_storage.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

class ZAcroForm;
class ZField;
class ZFieldSet;
class ZInetURL;

// The data field for an XFDF field: the name of one of the host's sets of fields (its rubric), and the name of a field
// in this set. Both are empty for an XFDF field that is declared without data.
struct ZFORMS_API ZXFDFMapperDataFieldRef {
  Chaine rubric;
  Chaine field;

  bool IsMapped() const { return !rubric.IsEmpty() || !field.IsEmpty(); }
  bool operator==(const ZXFDFMapperDataFieldRef&) const = default;
};

// ZXFDFMapper connects the fields of XFDF documents to the fields of the host's sets. Each set is registered under a
// name, called its rubric; letter case is ignored. Sets are not owned: they must outlive the mapper. Maps are stored by
// the exact full name of the XFDF field. Text is UTF-8. Copies have the same sets and maps. A mapper, its sets and its
// documents are used by one thread at a time.
class ZFORMS_API ZXFDFMapper {
 public:
  using DataFieldRef = ZXFDFMapperDataFieldRef;
  using MapStorage = ZXFDFMapStorage;
  using MapStorageDictionnary = ZXFDFMapStorageDictionnary;
  using MapStoragePDF = ZXFDFMapStoragePDF;
  using MapStorageIni = ZXFDFMapStorageIni;

  ZXFDFMapper();
  ZXFDFMapper(const ZXFDFMapper&);
  ZXFDFMapper& operator=(const ZXFDFMapper&);
  virtual ~ZXFDFMapper();

  // Registers the set under this name, and replaces an earlier set of the same name.
  void AddRubric(const Chaine& name, const ZFieldSet* fields);
  // The set registered under this name, or null.
  const ZFieldSet* Rubric(const Chaine& name) const;

  // Maps the XFDF field to a data field; declares it unmapped when no set is registered under the rubric.
  void DeclareMap(const Chaine& xfdf_name, const Chaine& rubric, const Chaine& field);
  // Does the same with a reference "rubric.field", where the rubric ends at the first "."; declares the field unmapped
  // when there is no ".".
  void DeclareMap(const Chaine& xfdf_name, const Chaine& reference);
  // Declares a field without data.
  void DeclareUnmapped(const Chaine& xfdf_name);
  // All maps, in byte order of the XFDF names.
  const FDictionnary<DataFieldRef>& Maps() const { return maps_; }

  // Declares every entry of the storage; with `known_rubrics_only`, only the entries whose set is registered. When
  // there are no entries, the storage has the reason.
  void ReadMaps(MapStorage& storage, bool known_rubrics_only);
  void ReadMapsIni(const Chaine& ini_path, const Chaine& section, const Chaine& default_rubric,
                   bool known_rubrics_only);
  void ReadMapsPDF(const Chaine& pdf_path, const Chaine& default_rubric, const Chaine& password,
                   bool known_rubrics_only);
  void ReadMapsPDF(const ZAcroForm& form, const Chaine& default_rubric, bool known_rubrics_only);

  // Makes the document's fields match the maps: adds missing fields, unmapped ones included, and removes all others,
  // except the fields above them and ZXFDF::kSessionIDField.
  void SyncFieldListOf(ZXFDF& xfdf) const;
  // Copies the data into the values of the document's fields; with `sync`, calls SyncFieldListOf first. Removes the
  // rich text of a changed value.
  void ExtractTo(ZXFDF& xfdf, bool sync) const;
  // Copies the values of the document's fields into the data. Fields without a value change nothing; several values
  // become one text, joined by CR LF. Returns the number of data fields that stored their value completely; `misfits`,
  // which may be null, gets the XFDF names of the others (see ZVariantBuffer::Write).
  size_t ImportFrom(const ZXFDF& xfdf, PTableau<Chaine>* misfits = nullptr) const;
  // Attaches the values of the document's fields to the buffers of their data fields (see ZXFDF::AttachBuffer), so that
  // both always have the same value.
  void AttachBuffersOf(ZXFDF& xfdf) const;
  // A document for the PDF with the fields of the maps and their values. `id1` and `id2` are the bytes of the PDF's
  // identifiers; when both are empty, the identifiers found by ZXFDF::SetPDFHRef are used.
  ZXFDF CreateXFDF(const ZInetURL& pdf_href, const Chaine& id1, const Chaine& id2) const;

 private:
  const ZField* GetDataFieldFor(const Chaine& xfdf_name) const;
  const ZField* DataFieldOf(const DataFieldRef& reference) const;

  FDictionnaryNoCase<const ZFieldSet*> rubrics_;
  FDictionnary<DataFieldRef> maps_;
};

}  // namespace zforms
