#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "tool/base/console.h"
#include "zforms/filling/row.h"
#include "zforms/platform/files/replacing_file.h"

namespace zforms::tool {

struct BatchOptions;

// BatchReport counts the results of the rows, prints the bad ones, shows the progress on a terminal and writes the
// report. Each failure is written at once, so that memory does not grow. Any thread may call it.
class BatchReport {
 public:
  // `console` prints the faults of the data. A message about a row gives the number of its line in the data or, with
  // `by_number`, the number of the row.
  BatchReport(Console& console, bool by_number);

  // Begins the report at standard output ("-") or in a temporary file beside `path`; false, with the reason, when it
  // cannot be written.
  bool Open(const std::string& path, std::string* error);

  void Filled();
  // Prints a warning about a row that is filled.
  void Warned(const Row& row, const std::string& file, const std::string& what);
  // Counts a row that was filled in an earlier run.
  void Found();
  void Failed(const Row& row, const std::string& field, const std::string& file, const std::string& what);
  // Prints why the batch cannot continue. When it is called again, nothing more is printed.
  void Trouble(const std::string& what);
  bool HasTrouble() const { return has_trouble_; }
  // Sets how much of the data was read, from 0 to 1; negative when unknown.
  void ReadSoFar(double part);

  struct Outcome {
    bool stopped;  // the batch ended before the last row
    unsigned jobs;
    int status;
    std::string result;  // for a shard of a query, a hash of all rows in their order; empty when not all were read
  };
  // Ends the progress line and the report. Prints how many rows failed. False when the report cannot be written.
  bool Finish(const BatchOptions& options, const Outcome& outcome);

 private:
  using Clock = std::chrono::steady_clock;

  // A warning about a row, for the report.
  struct Warning {
    uint64_t line, row;
    std::string file, what;
  };

  bool Put(std::string_view text);
  std::string PlaceOf(const Row& row) const { return unit_ + std::to_string(row.line) + ": "; }
  void ShowProgress();
  void ClearProgress();
  double Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

  std::mutex mutex_;
  Console& console_;
  const std::string unit_;
  const Clock::time_point start_ = Clock::now();
  Clock::time_point shown_;
  bool on_terminal_;
  bool progress_shown_ = false;
  double part_ = -1;
  uint64_t filled_ = 0;
  uint64_t found_ = 0;
  uint64_t failed_ = 0;
  uint64_t warned_ = 0;
  std::atomic<bool> has_trouble_ = false;
  std::vector<Warning> warnings_;
  bool has_report_ = false;
  std::string path_;
  ReplacingFile file_;
  std::string file_error_;  // why the report could not be written
};

}  // namespace zforms::tool
