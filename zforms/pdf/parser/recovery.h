#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "zforms/pdf/parser/file_scan.h"
#include "zforms/pdf/parser/locations.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFParser;

// Recovers a damaged file for its parser, which must outlive it: corrects records that do not point to their object, or
// rebuilds the locations and the trailer from a scan of the file, and repairs the page tree. Used once, right after the
// parser has analyzed the file.
class ZPDFRecovery {
 public:
  explicit ZPDFRecovery(ZPDFParser& parser);
  ~ZPDFRecovery();

  // `analyzed` is the result of the analysis. Returns whether the parser now has a document; its diagnostics say what
  // was done, or why it failed.
  bool Run(bool analyzed);

 private:
  // A trailer that the scan found: after the word "trailer", or in a cross-reference stream.
  struct Trailer {
    uint32_t offset;
    bool in_stream;
    std::unique_ptr<ZPDFNodeDictionary> dictionary;
  };

  Chaine Damage(bool analyzed) const;
  bool Rebuild(const Chaine& reason);
  bool SettleHeader(const Chaine& reason, Chaine* said);
  void FindTrailers();
  uint32_t SectionOf(const Trailer& trailer) const;
  void ReadSections();
  bool IsBehindSections(uint32_t offset) const { return offset >= last_section_; }
  bool IsBehindSections(const ZPDFObjectLocation& location) const;
  void AddFound(const ZPDFLocations& listed);
  void MergeTrailers();
  void FindEncryption();
  bool IsOlder(const ZPDFObjectLocation& location, const ZPDFFileScan::Object& stream) const;
  void AddPackedObjects();
  void FindCatalog();
  void RepairLocations();
  bool SettleGeneration(ZPDFObjectLocation& location);

  ZPDFParser& parser_;
  ZPDFFileScan scan_;              // empty until the file is scanned
  std::vector<Trailer> trailers_;  // in file order, the last one first
  // The records of the newest cross-reference section that can be read, and of those that it leads to. They decide
  // which of several versions of an object is the newest, because some writers put older versions later in the file.
  ZPDFLocations sections_;
  uint32_t last_section_ = 0;  // where the last section in the file begins; objects after it are newer than all records
};

}  // namespace zforms
