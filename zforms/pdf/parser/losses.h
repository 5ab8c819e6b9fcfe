#pragma once

#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZDiagnostics;
class ZPDFNode;
class ZPDFParser;

// What would be gone for good if a document were written anew of the objects to which its
// trailer leads: while the file is as it is, other readers or a scan may still find it.
class ZPDFLosses {
 public:
  // Goes through all of the document. `notes`, if not null, take a warning that counts and
  // names the objects that are referenced and cannot be read, and one for each fault of the
  // page tree and of the form's list of fields.
  explicit ZPDFLosses(ZPDFParser& parser, ZDiagnostics* notes = nullptr);
  // The same for who has gone through the document: `missing` as ReferencedObjects() gives.
  ZPDFLosses(ZPDFParser& parser, PTableau<ZPDFObjectIdentifier> missing, ZDiagnostics* notes);

  // The identifiers that are referenced and cannot be read because of damage (see
  // ZPDFParser::IsLost), in order.
  const PTableau<ZPDFObjectIdentifier>& Unreadable() const { return unreadable_; }
  // Whether pages or form lose something: they lead to what cannot be read, or a fault of
  // the page tree or of the list of fields hides what belongs to them.
  bool ConcernContent() const { return concern_content_; }

 private:
  bool NeedsUnreadable(const ZPDFNode* node) const;
  bool CheckFields(ZPDFParser& parser, ZDiagnostics* notes) const;

  PTableau<ZPDFObjectIdentifier> unreadable_;
  bool concern_content_ = false;
};

}  // namespace zforms
