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

// What feeds an XFDF field: a field of the set that is registered under the rubric.
// Both empty for a field that is known and fed by nothing.
struct ZFORMS_API ZXFDFMapperDataFieldRef {
  Chaine rubric;
  Chaine field;

  bool IsMapped() const { return !rubric.IsEmpty() || !field.IsEmpty(); }
  bool operator==(const ZXFDFMapperDataFieldRef&) const = default;
};

// ZXFDFMapper ties the fields of XFDF documents to the fields of the host's sets.
// Sets are registered under a rubric, whose letter case does not matter, and are not
// owned: they outlive the mapper. Maps are kept by the exact full name of the XFDF
// field. Text is UTF-8. Copies have the same sets and maps. A mapper, its sets and
// the documents that it is given belong to one thread at a time.
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

  // Registers the set, in place of an earlier one of that name.
  void AddRubric(const Chaine& name, const ZFieldSet* fields);
  // The set of the rubric, or null.
  const ZFieldSet* Rubric(const Chaine& name) const;

  // Maps the XFDF field; unmapped when no such rubric is registered.
  void DeclareMap(const Chaine& xfdf_name, const Chaine& rubric, const Chaine& field);
  // The same by a reference, whose rubric ends at its first "."; unmapped without one.
  void DeclareMap(const Chaine& xfdf_name, const Chaine& reference);
  // The field is known and fed by nothing.
  void DeclareUnmapped(const Chaine& xfdf_name);
  // In byte order of the XFDF names.
  const FDictionnary<DataFieldRef>& Maps() const { return maps_; }

  // Declares every entry of the storage; with `known_rubrics_only` those alone whose
  // rubric is registered. Storages tell why they have none.
  void ReadMaps(MapStorage& storage, bool known_rubrics_only);
  void ReadMapsIni(const Chaine& ini_path, const Chaine& section, const Chaine& default_rubric,
                   bool known_rubrics_only);
  void ReadMapsPDF(const Chaine& pdf_path, const Chaine& default_rubric, const Chaine& password,
                   bool known_rubrics_only);
  void ReadMapsPDF(const ZAcroForm& form, const Chaine& default_rubric, bool known_rubrics_only);

  // Gives the document the fields that have a map, unmapped ones included, and no
  // others but those that lead to them and ZXFDF::kSessionIDField.
  void SyncFieldListOf(ZXFDF& xfdf) const;
  // Copies the data into the values of the document's fields; with `sync`,
  // SyncFieldListOf goes before. A rich text of another value goes.
  void ExtractTo(ZXFDF& xfdf, bool sync) const;
  // The other way: copies the values of the document's fields into the data. Fields
  // without a value change nothing; several values become one text, joined by CR LF.
  // Returns how many data fields took their value whole; `misfits` takes the XFDF
  // names of the others (see ZVariantBuffer::Write) and may be null.
  size_t ImportFrom(const ZXFDF& xfdf, PTableau<Chaine>* misfits = nullptr) const;
  // Attaches the values of the document's fields to the buffers of their data fields
  // (see ZXFDF::AttachBuffer), so that both have the same value from then on.
  void AttachBuffersOf(ZXFDF& xfdf) const;
  // A document for the PDF with the fields of the maps and their values. `id1` and
  // `id2` are the bytes of the PDF's identifiers; when both are empty, those that
  // ZXFDF::SetPDFHRef finds stay.
  ZXFDF CreateXFDF(const ZInetURL& pdf_href, const Chaine& id1, const Chaine& id2) const;

 private:
  const ZField* GetDataFieldFor(const Chaine& xfdf_name) const;
  const ZField* DataFieldOf(const DataFieldRef& reference) const;

  FDictionnaryNoCase<const ZFieldSet*> rubrics_;
  FDictionnary<DataFieldRef> maps_;
};

}  // namespace zforms
