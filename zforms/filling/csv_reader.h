#pragma once

#include <string>
#include <vector>

#include "zforms/filling/row_reader.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// CsvReader reads comma-separated values (RFC 4180) whose first record names the columns. A line such as "sep=;" before
// that record gives the separator; else the separator is ",", ";" or a tab, whichever is most frequent in the first
// record. Lines end in CR LF, LF or CR; empty lines are skipped. Text is UTF-8, with or without byte order mark, or
// windows-1252 when the first text that is not ASCII is not valid UTF-8.
class ZFORMS_API CsvReader : public RowReader {
 public:
  // Reads the first record; see Failure().
  explicit CsvReader(ByteSource&& source);

  bool Next(Row* row) override;
  RowNames Header() const override { return header_; }

 private:
  enum class Stop { kSeparator, kLine, kEnd };
  enum class Encoding { kUnknown, kUTF8, kWindows1252 };

  void ReadHeader();
  void Sniff();
  bool SkipEmptyLines();
  void ReadRecord(std::vector<Cell>* cells, std::string* fault);
  Stop ReadCell(std::string* text, std::string* fault);
  Stop ReadPlain(std::string* text);
  void ReadQuoted(std::string* text, std::string* fault);
  Stop TakeStop();
  bool Grow(std::string* text, std::string_view more);
  bool ToUTF8(std::string* text);
  void CheckCells(Row* row);

  RowNames header_;
  char separator_ = ',';
  Encoding encoding_ = Encoding::kUnknown;
  uint64_t line_ = 1;
  uint64_t count_ = 0;
  size_t record_size_ = 0;
};

}  // namespace zforms
