#pragma once

#include <string>

#include "zforms/filling/byte_source.h"
#include "zforms/filling/row.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// RowReader gives the rows of a table one after the other and holds no more than
// one at a time. One thread at a time.
class ZFORMS_API RowReader {
 public:
  virtual ~RowReader();
  RowReader(const RowReader&) = delete;
  RowReader& operator=(const RowReader&) = delete;

  // False at the end, and when what follows cannot be read: see Failure().
  virtual bool Next(Row* row) = 0;
  // The columns that every row has; null when each row names its own.
  virtual RowNames Header() const { return nullptr; }

  // Why reading ended early; empty when it did not.
  const std::string& Failure() const { return failure_.empty() ? source_.Failure() : failure_; }
  const ByteSource& Source() const { return source_; }

 protected:
  explicit RowReader(ByteSource&& source) : source_(std::move(source)) {}

  // A row, quoted line ends included, may be so long.
  static constexpr size_t kMaxRow = 16 << 20;

  ByteSource source_;
  std::string failure_;
};

}  // namespace zforms
