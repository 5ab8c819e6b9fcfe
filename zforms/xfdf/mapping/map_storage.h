#pragma once

#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/data/ini_file.h"

namespace zforms {

class ZAcroForm;

// ZXFDFMapStorage is the source from which a mapper reads its maps: pairs of the full name of an XFDF field and a
// reference "rubric.field" to the host's data. A rubric is the name of one of the host's sets of fields. One thread at
// a time.
class ZFORMS_API ZXFDFMapStorage {
 public:
  virtual ~ZXFDFMapStorage();

  // Goes back to the first entry.
  virtual void Reset() = 0;
  // Gets the next entry; false at the end.
  virtual bool Next(Chaine& xfdf_name, Chaine& reference) = 0;
};

// Entries of a dictionary, in its order.
class ZFORMS_API ZXFDFMapStorageDictionnary : public ZXFDFMapStorage {
 public:
  explicit ZXFDFMapStorageDictionnary(const FDictionnary<Chaine>& entries) : entries_(entries) {}
  ~ZXFDFMapStorageDictionnary() override;

  void Reset() override { next_ = 0; }
  bool Next(Chaine& xfdf_name, Chaine& reference) override;

 protected:
  ZXFDFMapStorageDictionnary() = default;
  FDictionnary<Chaine>& Entries() { return entries_; }

 private:
  FDictionnary<Chaine> entries_;
  size_t next_ = 0;
};

// One entry for each field that a form exports, in byte order of the full names; its reference is the mapping name
// "/TM", "rubric.field", or "field" for a field of the default rubric (set of fields). The reference is empty without a
// mapping name, and for "field" when there is no default rubric.
class ZFORMS_API ZXFDFMapStoragePDF : public ZXFDFMapStorageDictionnary {
 public:
  // Reads a file; the password is UTF-8. There are no entries when it cannot be loaded.
  ZXFDFMapStoragePDF(const Chaine& path, const Chaine& default_rubric, const Chaine& password);
  ZXFDFMapStoragePDF(const ZAcroForm& form, const Chaine& default_rubric);
  ~ZXFDFMapStoragePDF() override;

  // Why the form could not be loaded; empty when it was.
  const std::string& LastError() const { return last_error_; }

 private:
  void ReadForm(const ZAcroForm& form, const Chaine& default_rubric);

  std::string last_error_;
};

// One entry for each named line of a section of an INI file, in its order:
// "name=rubric.field", or "name=field" for a field of the default rubric (set of fields).
class ZFORMS_API ZXFDFMapStorageIni : public ZXFDFMapStorage {
 public:
  // There are no entries when the file or section does not exist.
  ZXFDFMapStorageIni(const Chaine& path, const Chaine& section, const Chaine& default_rubric);
  ~ZXFDFMapStorageIni() override;

  void Reset() override { next_ = 0; }
  bool Next(Chaine& xfdf_name, Chaine& reference) override;

  // Why there are no entries (the file or the section is missing); else empty.
  const std::string& LastError() const { return last_error_; }

 private:
  ZIniFileSection lines_;
  Chaine default_rubric_;
  size_t next_ = 0;
  std::string last_error_;
};

}  // namespace zforms
