#include "zforms/xfdf/transaction.h"

#include <algorithm>
#include <iterator>

#include "zforms/xfdf/session_infos.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

ZXFDFTransaction::ZXFDFTransaction(const ZClock& clock) : clock_(clock) {}

ZXFDFTransaction::~ZXFDFTransaction() = default;

bool ZXFDFTransaction::StartTransactionFor(ZXFDF& xfdf) {
  const CSingleLock lock(section_);
  // 0 is not a valid id.
  const uint64_t id = NextFree(std::max<uint64_t>(clock_.Ticks(), 1));
  Take(id);
  expected_[id] = 0;
  xfdf.SessionID().SetTransactionID(id);
  return true;
}

bool ZXFDFTransaction::IsAcceptable(const ZXFDF& xfdf) const {
  const CSingleLock lock(section_);
  if (!xfdf.HasSessionID()) return false;
  const ZXFDFTransactionInfos transaction = xfdf.SessionID().Transaction();
  const auto expected = expected_.find(transaction.id);
  return expected != expected_.end() && transaction.count >= expected->second;
}

bool ZXFDFTransaction::IncTransactionIn(ZXFDF& xfdf) {
  const CSingleLock lock(section_);
  if (!IsAcceptable(xfdf)) return false;
  const ZXFDFTransactionInfos transaction = xfdf.SessionID().Transaction();
  xfdf.SessionID().IncTransactionCount();
  expected_[transaction.id] = uint64_t{transaction.count} + 1;
  return true;
}

void ZXFDFTransaction::Restore(uint64_t id, uint64_t expected) {
  const CSingleLock lock(section_);
  if (!expected_.contains(id)) Take(id);
  expected_[id] = expected;
}

// The first unused id from `id` on. One lookup finds the end of a run of used ids, whatever its length. After the
// greatest number the search continues from 1.
uint64_t ZXFDFTransaction::NextFree(uint64_t id) const {
  const auto after = runs_.upper_bound(id);
  if (after == runs_.begin()) return id;
  const uint64_t last = std::prev(after)->second;
  if (last < id) return id;
  return last == UINT64_MAX ? NextFree(1) : last + 1;
}

// Adds the id and joins it with adjacent runs.
void ZXFDFTransaction::Take(uint64_t id) {
  uint64_t first = id;
  uint64_t last = id;
  auto after = runs_.upper_bound(id);
  if (after != runs_.end() && after->first == id + 1) {
    last = after->second;
    after = runs_.erase(after);
  }
  if (after != runs_.begin() && std::prev(after)->second == id - 1) first = std::prev(after)->first;
  runs_[first] = last;
}

}  // namespace zforms
