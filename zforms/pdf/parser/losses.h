#pragma once

#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZDiagnostics;
class ZPDFNode;
class ZPDFParser;

// Finds what a full save of a document would lose. A full save writes only the objects that are reached from the
// trailer; in the existing file, other readers or a scan may still find the rest.
class ZPDFLosses {
 public:
  // Checks the whole document. `notes`, if not null, gets a warning that counts and lists the objects that are
  // referenced but cannot be read, and one for each fault of the page tree and of the form's list of fields.
  explicit ZPDFLosses(ZPDFParser& parser, ZDiagnostics* notes = nullptr);
  // Makes the same checks when the references are known already: `missing` is the result of ReferencedObjects().
  ZPDFLosses(ZPDFParser& parser, PTableau<ZPDFObjectIdentifier> missing, ZDiagnostics* notes);

  // The identifiers that are referenced but cannot be read because of damage (see ZPDFParser::IsLost), in order.
  const PTableau<ZPDFObjectIdentifier>& Unreadable() const { return unreadable_; }
  // True when pages or the form are incomplete: they refer to an unreadable object, or a part of them cannot be found
  // because of a fault of the page tree or of the list of fields.
  bool ConcernContent() const { return concern_content_; }

 private:
  bool NeedsUnreadable(const ZPDFNode* node) const;
  bool CheckFields(ZPDFParser& parser, ZDiagnostics* notes) const;

  PTableau<ZPDFObjectIdentifier> unreadable_;
  bool concern_content_ = false;
};

}  // namespace zforms
