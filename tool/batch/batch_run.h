#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tool/base/console.h"
#include "tool/batch/batch_options.h"
#include "tool/batch/batch_output.h"
#include "tool/batch/batch_plan.h"
#include "tool/batch/batch_report.h"
#include "tool/batch/merged_output.h"
#include "tool/batch/row_filler.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/appearance/drawing_fonts.h"
#include "zforms/filling/file_name.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/filling/row_reader.h"

namespace zforms::tool {

// One run of a batch: it fills the form once for each row of a table, with several threads, which share the reader, the
// output and the report.
class BatchRun {
 public:
  // When `is_asked_to_stop` returns true, no further row is started. Any thread may call it. The arguments must outlive
  // the run.
  BatchRun(const BatchOptions& options, Console& console, std::function<bool()> is_asked_to_stop);

  bool Prepare();
  // Fills the rows and returns the exit status.
  int Run();
  // The exit status when Prepare has returned false: 75 after a temporary failure, the status for a form that forbids
  // filling, else 2.
  int StatusOfRefusal() const;

 private:
  // A row to be filled, and its place in the output.
  struct Task {
    Row row;
    BatchOutput::Seat seat;
  };
  struct Filled {
    Chaine bytes;
    std::optional<RowPages> pages;  // the pages, when all rows go into one file
    ZFormMessages messages;
  };

  bool HasNameColumns(const std::vector<std::string>& names);
  bool MakeWhole(Console& console);
  bool Guard();
  bool OpenData();
  bool OpenOutput();
  bool Refuse(const BatchFault& fault);
  void CheckColumns(const Row& row);
  void CheckNameless(const Row& row);
  void Work(unsigned number, RowFiller& filler);
  void WorkInOrder(size_t count, uint64_t turn, std::vector<Task>* tasks, unsigned number, RowFiller& filler);
  size_t TakeTasks(std::vector<Task>* tasks, uint64_t* turn);
  bool Place(Task* task);
  bool Check(const Row& row);
  Filled Fill(const Task& task, RowFiller& filler) const;
  bool Put(const Task& task, const Filled& filled, unsigned number, BatchFault* fault);
  void Write(const Task& task, const Filled& filled, unsigned number);
  void Fail(const Row& row, const std::string& field, const std::string& file, const std::string& what);
  void Fail(const Task& task, const BatchFault& fault);
  // True when no further row may be started.
  bool IsStopping() const { return ends_at_bad_row_ || IsInterrupted(); }
  bool IsInterrupted() const { return report_.HasTrouble() || is_asked_to_stop_(); }
  int FinishStatus();
  // True when the report must contain a hash of all rows: the shards of a query must read the same rows in the same
  // order, which MergeShardReports checks.
  bool NotesResult() const { return options_.shard.IsPart() && options_.HasDatabase(); }

  const BatchOptions& options_;
  Console& console_;
  const std::function<bool()> is_asked_to_stop_;
  ZAcroForm form_;
  std::unique_ptr<FillingGuard> guard_;
  std::optional<ZDrawingFonts> fonts_;  // absent when viewers draw
  int form_status_ = kDone;
  bool forbidden_ = false;
  BatchPlan plan_;
  BatchPlan::Match match_;
  FileNamePattern pattern_;
  std::unique_ptr<BatchOutput> output_;
  MergedOutput* merged_ = nullptr;  // the output, if it is one merged file; else null
  BatchReport report_;
  std::mutex reading_;
  std::unique_ptr<RowReader> reader_;
  RowNames checked_names_;
  std::set<std::string> unused_;
  std::vector<size_t> nameless_;  // the indices of the columns with empty names
  bool said_nameless_ = false;
  std::atomic<bool> ends_at_bad_row_ = false;
  std::atomic<bool> leaves_rows_ = false;  // some rows that were read could not be filled; a later run may fill them
  bool ended_ = false;                     // all rows are read
  bool has_values_ = false;
  uint64_t result_ = 0;  // for a shard of a query: a hash of all rows in their order
  // For an output that is written in the order of the rows: `turns_` counts the groups of rows that were read, and the
  // group with the number `turn_` is written next.
  std::mutex writing_;
  std::condition_variable turn_changed_;
  uint64_t turns_ = 0;
  uint64_t turn_ = 0;
};

}  // namespace zforms::tool
