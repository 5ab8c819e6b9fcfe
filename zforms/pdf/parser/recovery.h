#pragma once

#include "zforms/pdf/parser/file_scan.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFLocations;
class ZPDFParser;
struct ZPDFObjectLocation;

// Recovers a damaged file for its parser, which lives longer: corrects records that do not point to their object, or
// rebuilds the locations and the trailer from a scan of the file, and mends the page tree. Used once, right after the
// parser has analyzed the file.
class ZPDFRecovery {
 public:
  explicit ZPDFRecovery(ZPDFParser& parser) : parser_(parser) {}

  // `analyzed` is the result of the analysis. Returns whether the parser now has a document; its diagnostics say what
  // was done, or why it failed.
  bool Run(bool analyzed);

 private:
  Chaine Damage(bool analyzed) const;
  bool Rebuild(const Chaine& reason);
  bool SettleHeader(const Chaine& reason, Chaine* said);
  void AddFound(const ZPDFLocations& listed);
  void FindTrailer();
  void FindEncryption();
  void AddPackedObjects();
  void FindCatalog();
  void RepairLocations();
  bool SettleGeneration(ZPDFObjectLocation& location);

  ZPDFParser& parser_;
  ZPDFFileScan scan_;  // once the file was scanned
};

}  // namespace zforms
