#pragma once

#include <string>

#include "zforms/filling/byte_source.h"
#include "zforms/filling/row.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// RowReader reads the rows of a table one after the other and keeps only one in memory. One thread at a time.
class ZFORMS_API RowReader {
 public:
  virtual ~RowReader();
  RowReader(const RowReader&) = delete;
  RowReader& operator=(const RowReader&) = delete;

  // False at the end, or when reading fails: see Failure().
  virtual bool Next(Row* row) = 0;
  // The columns of all rows; null when each row has its own names.
  virtual RowNames Header() const { return nullptr; }

  // Why reading stopped early; empty otherwise.
  const std::string& Failure() const { return failure_.empty() ? source_.Failure() : failure_; }
  const ByteSource& Source() const { return source_; }

 protected:
  explicit RowReader(ByteSource&& source) : source_(std::move(source)) {}

  // The limit on the length of a row, including quoted line ends.
  static constexpr size_t kMaxRow = 16 << 20;

  ByteSource source_;
  std::string failure_;
};

}  // namespace zforms
