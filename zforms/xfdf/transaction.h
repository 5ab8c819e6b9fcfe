#pragma once

#include <cstdint>

#include "zforms/platform/base/clock.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/critical_section.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZXFDF;

// ZXFDFTransaction protects a host against submissions that are outdated or not its own. Each form that is sent out is
// stamped with a new transaction; each accepted submission increases its count, here and in the document, so that the
// same submission is refused the second time. Transactions are kept until this object is destroyed.
//
// Any thread may call it; the documents passed in belong to the calling thread.
class ZFORMS_API ZXFDFTransaction {
 public:
  // Ids are made from the clock, which must outlive this object.
  explicit ZXFDFTransaction(const ZClock& clock = ZClock::System());
  ZXFDFTransaction(const ZXFDFTransaction&) = delete;
  ZXFDFTransaction& operator=(const ZXFDFTransaction&) = delete;
  virtual ~ZXFDFTransaction();

  // Stamps the document with a new transaction of count 0; its id is the time of the clock, or the next free number
  // above it. Ids are unique.
  bool StartTransactionFor(ZXFDF& xfdf);
  // True when the document's transaction was started here and its count is at least the lowest
  // acceptable one.
  bool IsAcceptable(const ZXFDF& xfdf) const;
  // If the document is acceptable, adds 1 to its count; the new count is then the lowest acceptable one. After the
  // greatest count nothing is acceptable any more. If the document is not acceptable, returns false and changes
  // nothing.
  bool IncTransactionIn(ZXFDF& xfdf);
  // Registers a transaction that was started earlier, here or elsewhere: counts below `expected` are not acceptable. A
  // host that stores transactions needs this, and also a host that could not store an accepted submission.
  void Restore(uint64_t id, uint64_t expected);

 private:
  uint64_t NextFree(uint64_t id) const;
  void Take(uint64_t id);

  const ZClock& clock_;
  mutable CCriticalSection section_;
  // Maps each id to the lowest acceptable count.
  FSortedMap<uint64_t, uint64_t> expected_;
  // The used ids as runs without gaps: maps the first id of a run to the last.
  FSortedMap<uint64_t, uint64_t> runs_;
};

}  // namespace zforms
