#pragma once

#include <cstdint>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/clock.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZXFDFFieldCollection;
class ZXMLReader;

// A folder of the host, and the financial year in it. The year is 32 bits, which the host may interpret as signed or
// unsigned.
struct ZFORMS_API ZXFDFFolderInfos {
  uint64_t id = 0;
  uint32_t exercice = 0;

  bool operator==(const ZXFDFFolderInfos&) const = default;
};

// A transaction, and the number of its accepted submissions.
struct ZFORMS_API ZXFDFTransactionInfos {
  uint64_t id = 0;
  uint32_t count = 0;

  bool operator==(const ZXFDFTransactionInfos&) const = default;
};

// ZXFDFSessionInfos contains the data by which the host recognizes its session when a form is submitted: named
// parameters, stored as XML text in the value of the reserved field ZXFDF::kSessionIDField. A view owned by its
// document; invalid after the document is read or assigned to. Text is UTF-8. A damaged text is read as an empty list;
// setting a parameter replaces the text. One thread at a time.
class ZFORMS_API ZXFDFSessionInfos {
 public:
  using FolderInfos = ZXFDFFolderInfos;
  using TransactionInfos = ZXFDFTransactionInfos;

  // Uses the fields of the document; adds the reserved field when it is absent.
  explicit ZXFDFSessionInfos(ZXFDFFieldCollection& fields);
  ZXFDFSessionInfos(const ZXFDFSessionInfos&) = delete;
  ZXFDFSessionInfos& operator=(const ZXFDFSessionInfos&) = delete;
  virtual ~ZXFDFSessionInfos();

  // The value of the first parameter of the name, ignoring the case of ASCII letters; empty when there is none.
  Chaine Param(const Chaine& name) const;
  bool HasParam(const Chaine& name) const;
  // Replaces the value of that parameter, or appends the parameter.
  void SetParam(const Chaine& name, const Chaine& value);

  // "Software.Shortname": the short name of the host application.
  Chaine Software() const;
  void SetSoftware(const Chaine& name);

  // "Folder.ID" (see CZORKey) and "Folder.Exercice"; 0 where absent.
  FolderInfos Folder() const;
  void SetFolder(uint64_t id, uint32_t exercice);
  void SetFolder(const FolderInfos& folder) { SetFolder(folder.id, folder.exercice); }

  // "Transaction.ID" and "Transaction.Count"; 0 where absent.
  TransactionInfos Transaction() const;
  // Sets the id, and the count to 0. An id of 0 means the current time of the clock. Returns the id that was set.
  uint64_t SetTransactionID(uint64_t id, const ZClock& clock = ZClock::System());
  // Adds 1 to the count, but never beyond the greatest number, and returns it.
  uint32_t IncTransactionCount();

 private:
  void InitXML(ZXMLReader* params) const;

  ZXFDFFieldCollection& fields_;
};

}  // namespace zforms
