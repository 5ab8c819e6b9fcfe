#pragma once

#include <cstdint>

#include "zforms/platform/base/clock.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/critical_section.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZXFDF;

// ZXFDFTransaction guards a host against submissions that are stale or not its own.
// Each form that goes out is stamped with a transaction of its own; each submission
// that is accepted raises the count, here and in the document, so that the same
// submission is refused the second time. Transactions are kept as long as it lives.
//
// Any thread may call it; the documents passed in belong to the calling thread.
class ZFORMS_API ZXFDFTransaction {
 public:
  // The clock, from which ids are made, outlives it.
  explicit ZXFDFTransaction(const ZClock& clock = ZClock::System());
  ZXFDFTransaction(const ZXFDFTransaction&) = delete;
  ZXFDFTransaction& operator=(const ZXFDFTransaction&) = delete;
  virtual ~ZXFDFTransaction();

  // Stamps the document with a new transaction of count 0: the time of the clock,
  // or the next free number above it. No two get the same.
  bool StartTransactionFor(ZXFDF& xfdf);
  // Whether the document's transaction was started here, and its count is not below
  // the one that is expected next.
  bool IsAcceptable(const ZXFDF& xfdf) const;
  // If the document is acceptable, adds 1 to its count and expects no less from then
  // on; after the greatest count there is nothing acceptable left. False, changing
  // nothing, if it is not.
  bool IncTransactionIn(ZXFDF& xfdf);
  // Takes a transaction up that was started earlier, by another manager or this one: a
  // count below `expected` is not acceptable. For a host that keeps them, and for one
  // that could not store what it had accepted.
  void Restore(uint64_t id, uint64_t expected);

 private:
  uint64_t NextFree(uint64_t id) const;
  void Take(uint64_t id);

  const ZClock& clock_;
  mutable CCriticalSection section_;
  // The lowest count that is acceptable, by the id.
  FSortedMap<uint64_t, uint64_t> expected_;
  // The ids taken, as runs without a gap: the last by the first.
  FSortedMap<uint64_t, uint64_t> runs_;
};

}  // namespace zforms
