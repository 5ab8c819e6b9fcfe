#include "tool/batch/batch_run.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <thread>
#include <utility>

#include "tool/base/files.h"
#include "tool/base/standard_streams.h"
#include "tool/batch/batch_folder.h"
#include "tool/batch/batch_job.h"
#include "tool/batch/stable_hash.h"
#include "tool/batch/tar_output.h"
#include "tool/data/data_file.h"
#include "tool/data/postgres_rows.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/filling/form_values.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms::tool {
namespace {

// The number of rows that a thread reads and fills as one group.
constexpr size_t kRowsAtOnce = 8;
constexpr unsigned kMostJobs = 256;
constexpr const char* kDefaultName = "{row}.pdf";
constexpr size_t kMostUnused = 1000;

bool IsNamed(const std::vector<std::string>& names) {
  return std::any_of(names.begin(), names.end(), [](const std::string& name) { return !name.empty(); });
}

bool HoldsValues(const Row& row) {
  for (size_t i = 0; i < row.cells.size(); i++) {
    if (!row.cells[i].is_null && !((*row.names)[i].empty() && row.cells[i].text.empty())) return true;
  }
  return false;
}

std::unique_ptr<BatchOutput> OutputOf(const BatchOptions& options) {
  if (options.folder == kStandardStream) {
    SetBinary(stdout);
    return std::make_unique<TarOutput>(stdout);
  }
  const BatchFolder::Mode mode = options.resume      ? BatchFolder::Mode::kResume
                                 : options.overwrite ? BatchFolder::Mode::kOverwrite
                                                     : BatchFolder::Mode::kNew;
  return std::make_unique<BatchFolder>(options.folder, mode, options.shard);
}

}  // namespace

BatchRun::BatchRun(const BatchOptions& options, Console& console, std::function<bool()> is_asked_to_stop)
    : options_(options),
      console_(console),
      is_asked_to_stop_(std::move(is_asked_to_stop)),
      match_(plan_),
      report_(console, options.HasDatabase()) {
  if (options.merged.empty()) {
    output_ = OutputOf(options);
  } else {
    auto merged = std::make_unique<MergedOutput>(options.merged);
    merged_ = merged.get();
    output_ = std::move(merged);
  }
  if (options.HasDatabase()) output_->NameRowsByNumber();
}

int BatchRun::StatusOfRefusal() const {
  if (report_.HasTrouble()) return kTrouble;
  return forbidden_ ? form_status_ : kFailed;
}

bool BatchRun::Prepare() {
  Console form_console(options_.file);
  if (options_.drawing.draw && !OpenFonts(options_.drawing, &fonts_.emplace())) return false;
  for (const std::string& output : {options_.report, options_.merged}) {
    if (!KeepsInputs(output, {options_.data, options_.file, options_.maps}, console_)) return false;
  }
  if (!OpenFormWithFields(options_.file, options_.password, form_, form_console, options_.recover)) return false;
  if (!Guard() || !MakeWhole(form_console)) return false;
  if (!plan_.Make(options_, form_, *guard_, form_console)) return false;
  std::string error;
  if (!pattern_.Parse(options_.name.empty() ? kDefaultName : options_.name, &error)) {
    console_.Fail("--name: " + error);
    return false;
  }
  if (!OpenData()) return false;
  // The warnings about the form are printed once, not for each row.
  form_console.WarnAll(form_.Diagnostics());
  form_status_ = std::max(form_status_, form_console.Finish());
  return OpenOutput();
}

bool BatchRun::OpenData() {
  PostgresRows::Fault fault;
  if (options_.HasDatabase()) {
    reader_ = PostgresRows::Open(options_.data, options_.query, is_asked_to_stop_, &fault);
  } else {
    reader_ = OpenTable(options_.data, &fault.what);
  }
  if (reader_ == nullptr) return Refuse({fault.what, fault.is_trouble});
  if (reader_->Header() != nullptr && IsNamed(*reader_->Header()) && !plan_.Feeds(*reader_->Header())) {
    console_.Fail(options_.maps.empty() ? "no column has the name of a field" : "the maps use none of the columns");
    return false;
  }
  return reader_->Header() == nullptr || HasNameColumns(*reader_->Header());
}

bool BatchRun::Refuse(const BatchFault& fault) {
  if (fault.is_trouble) {
    report_.Trouble(fault.what);
  } else {
    console_.Fail(fault.what);
  }
  return false;
}

bool BatchRun::OpenOutput() {
  BatchFault fault;
  if (!output_->Take(&fault)) return Refuse(fault);
  if (std::string error; !options_.report.empty() && !report_.Open(options_.report, &error)) {
    return Refuse({"the report " + options_.report + " cannot be written: " + error, true});
  }
  if (merged_ != nullptr) merged_->SetForm(form_);
  return output_->Open(JobOf(options_, form_, plan_), &fault) || Refuse(fault);
}

// False, with a message, when the pattern of file names uses a column that does not exist.
bool BatchRun::HasNameColumns(const std::vector<std::string>& names) {
  for (const std::string& key : pattern_.Keys()) {
    if (key == FileNamePattern::kRowKey || std::find(names.begin(), names.end(), key) != names.end()) continue;
    console_.Fail("--name: there is no column \"" + key + "\"");
    return false;
  }
  return true;
}

// Saves a recovered form as a whole new file, once, so that the values of each row can be appended to it.
bool BatchRun::MakeWhole(Console& console) {
  if (!form_.SavesAnew()) return true;
  Chaine whole;
  ZFormMessages messages;
  if (SaveForm(form_, SaveOptions{true, options_.guard.force}, &whole, &messages)) return true;
  console.WarnAll(form_.Diagnostics());
  Say(messages, console);
  return false;
}

// Checks whether the form may be filled. Prints the messages about it here, once, and not for each row.
bool BatchRun::Guard() {
  Console console(options_.file);
  guard_ = std::make_unique<FillingGuard>(form_, options_.guard);
  ZFormMessages messages;
  forbidden_ = !guard_->AllowsFilling(&messages);
  if (!forbidden_) guard_->SayWhatGoes(&messages);
  Say(messages, console);
  form_status_ = console.Finish();
  return !forbidden_;
}

// Prints a warning when the row has a value in a column without a name, for the first such row only.
void BatchRun::CheckNameless(const Row& row) {
  const auto is_lost = [&row](size_t i) { return !row.cells[i].text.empty(); };
  if (said_nameless_ || std::none_of(nameless_.begin(), nameless_.end(), is_lost)) return;
  said_nameless_ = true;
  console_.Warn("line " + std::to_string(row.line) +
                ": a value has no field name and is left out; "
                "such values in later rows are left out without a message");
}

// Prints a warning about each column that matches no field, once for each name.
void BatchRun::CheckColumns(const Row& row) {
  if (row.names == checked_names_) return;
  checked_names_ = row.names;
  nameless_.clear();
  for (size_t i = 0; i < row.names->size(); i++) {
    if ((*row.names)[i].empty()) nameless_.push_back(i);
  }
  for (const std::string& name : plan_.Unused(*row.names)) {
    if (std::find(pattern_.Keys().begin(), pattern_.Keys().end(), name) != pattern_.Keys().end()) continue;
    if (unused_.size() >= kMostUnused || !unused_.insert(name).second) continue;
    console_.Warn(plan_.WhyUnused(name));
  }
}

void BatchRun::Fail(const Row& row, const std::string& field, const std::string& file, const std::string& what) {
  report_.Failed(row, field, file, what);
  if (options_.stop_on_error) ends_at_bad_row_ = true;
}

void BatchRun::Fail(const Task& task, const BatchFault& fault) {
  if (!fault.is_trouble) return Fail(task.row, {}, task.seat.name, fault.what);
  report_.Trouble((options_.HasDatabase() ? "row " : "line ") + std::to_string(task.row.line) + ": " + fault.what);
  leaves_rows_ = true;
}

// True when the fields accept the values of the row. Rows are checked before they get a file name, so that a bad row
// does not take the name of a later one.
bool BatchRun::Check(const Row& row) {
  constexpr size_t kMostNamed = 20;
  std::string faults;
  std::string first;  // the field of the first fault
  size_t count = 0;
  for (size_t i = 0; i < plan_.Fields().size(); i++) {
    const BatchField& field = plan_.Fields()[i];
    const Cell* value = field.is_constant ? nullptr : match_.ValueOf(row, i);
    if (value == nullptr) continue;
    for (const Chaine& fault : field.rule->Judge(TextsOf(*value)).faults) {
      if (count++ == 0) first = field.name;
      if (count > kMostNamed) continue;
      const std::string where = field.name == first ? "" : "field \"" + field.name + "\": ";
      faults += (faults.empty() ? "" : "; ") + where + fault.ToString();
    }
  }
  if (count > kMostNamed) faults += "; and " + std::to_string(count - kMostNamed) + " more";
  if (count > 0) Fail(row, first, {}, faults);
  return count == 0;
}

// Chooses the path of a row's file; false when there is nothing to fill.
bool BatchRun::Place(Task* task) {
  const Row& row = task->row;
  task->seat = {};
  BatchFault fault{row.fault};
  if (fault.what.empty() && !Check(row)) return false;
  if (fault.what.empty()) task->seat.name = pattern_.MakeFor(row, &fault.what);
  if (fault.what.empty()) {
    task->seat.content = HashOf(row);
    task->seat.line = row.line;
    task->seat.row = row.number;
    output_->Enter(&task->seat, &fault);
  }
  if (!fault.what.empty()) {
    Fail(*task, fault);
    return false;
  }
  if (task->seat.place == BatchOutput::Place::kWritten) report_.Found();
  return task->seat.place != BatchOutput::Place::kWritten;
}

// Reads a group of rows and reserves their file names; one thread at a time, in the order of the rows. So the first of
// two rows with the same file name gets it, with any number of threads. `turn` gets the number of the group.
size_t BatchRun::TakeTasks(std::vector<Task>* tasks, uint64_t* turn) {
  const std::lock_guard<std::mutex> lock(reading_);
  size_t count = 0;
  while (count < tasks->size() && !ended_ && !IsStopping()) {
    Task& task = (*tasks)[count];
    if (!reader_->Next(&task.row)) {
      ended_ = true;
      break;
    }
    const bool is_whole = task.row.fault.empty();
    if (NotesResult()) result_ = StableHash(task.row.fault, result_ + (is_whole ? HashOf(task.row) : 0));
    if (!options_.shard.Takes(task.row.number)) continue;
    if (task.row.fault.empty()) {
      CheckColumns(task.row);
      CheckNameless(task.row);
    }
    has_values_ = has_values_ || !task.row.fault.empty() || HoldsValues(task.row);
    if (Place(&task)) count++;
  }
  const ByteSource& source = reader_->Source();
  if (source.Size() > 0) report_.ReadSoFar(static_cast<double>(source.Position()) / static_cast<double>(source.Size()));
  if (count > 0) *turn = turns_++;
  return count;
}

BatchRun::Filled BatchRun::Fill(const Task& task, RowFiller& filler) const {
  Filled filled;
  if (merged_ == nullptr) {
    filled.bytes = filler.Fill(task.row, &filled.messages);
  } else if (const auto form = filler.FillFlat(task.row, &filled.messages)) {
    filled.pages = merged_->PagesOf(*form);
  }
  return filled;
}

bool BatchRun::Put(const Task& task, const Filled& filled, unsigned number, BatchFault* fault) {
  if (filled.pages) return merged_->WritePages(task.seat, *filled.pages, fault);
  return !filled.bytes.IsEmpty() && output_->Write(task.seat, number, filled.bytes, fault);
}

void BatchRun::Write(const Task& task, const Filled& filled, unsigned number) {
  BatchFault fault{"the form cannot be filled"};
  for (const ZFormMessage& message : filled.messages) {
    const bool is_failure = message.severity == ZFormMessage::Severity::kFailure;
    if (is_failure) fault.what = WithRemedy(message.text, message.remedy);
  }
  if (Put(task, filled, number, &fault)) {
    for (const ZFormMessage& message : filled.messages) {
      if (message.severity == ZFormMessage::Severity::kNote) continue;
      report_.Warned(task.row, task.seat.name, message.text);
    }
    report_.Filled();
  } else {
    fault.what = "its file \"" + task.seat.name + "\": " + fault.what;
    Fail(task, fault);
  }
}

// Fills a group of rows, waits until the groups before it are written, and writes it. A group that was read is written
// even when the batch is asked to stop meanwhile.
void BatchRun::WorkInOrder(size_t count, uint64_t turn, std::vector<Task>* tasks, unsigned number, RowFiller& filler) {
  std::vector<Filled> filled;
  for (size_t i = 0; i < count; i++) filled.push_back(Fill((*tasks)[i], filler));
  std::unique_lock<std::mutex> lock(writing_);
  turn_changed_.wait(lock, [this, turn] { return turn_ == turn; });
  for (size_t i = 0; i < count; i++) {
    if (report_.HasTrouble()) {
      leaves_rows_ = true;
    } else {
      Write((*tasks)[i], filled[i], number);
    }
  }
  turn_++;
  turn_changed_.notify_all();
}

void BatchRun::Work(unsigned number, RowFiller& filler) {
  std::vector<Task> tasks(kRowsAtOnce);
  uint64_t turn = 0;
  while (const size_t count = TakeTasks(&tasks, &turn)) {
    if (output_->IsOrdered()) {
      WorkInOrder(count, turn, &tasks, number, filler);
      continue;
    }
    for (size_t i = 0; i < count; i++) {
      if (IsInterrupted()) {
        leaves_rows_ = true;
      } else {
        Write(tasks[i], Fill(tasks[i], filler), number);
      }
    }
  }
}

int BatchRun::Run() {
  const unsigned cores = std::max(1U, std::thread::hardware_concurrency());
  const unsigned jobs = std::min(options_.jobs == 0 ? cores : options_.jobs, kMostJobs);
  std::deque<RowFiller> fillers;
  if (fonts_) fonts_ = fonts_->ForCopiesOfOneForm();
  for (unsigned i = 0; i < jobs; i++) fillers.emplace_back(form_, plan_, *guard_, fonts_, options_);
  std::vector<std::thread> threads;
  for (unsigned i = 1; i < jobs; i++) threads.emplace_back([this, i, &fillers] { Work(i, fillers[i]); });
  Work(0, fillers[0]);
  for (std::thread& thread : threads) thread.join();
  const int status = FinishStatus();
  const bool stopped = status == kTrouble || ends_at_bad_row_ || !reader_->Failure().empty();
  const std::string result = NotesResult() && !stopped ? std::to_string(result_) : std::string();
  return report_.Finish(options_, {stopped, jobs, status, result}) ? status : kTrouble;
}

// Ends the output and computes the exit status.
int BatchRun::FinishStatus() {
  BatchFault fault;
  if (HasTrouble(*reader_)) {
    report_.Trouble(reader_->Failure());
  } else if (!reader_->Failure().empty()) {
    console_.Fail(reader_->Failure());
  } else if (ended_ && !leaves_rows_ && !output_->Finish(&fault)) {
    report_.Trouble(fault.what);
  }
  if (report_.HasTrouble()) return kTrouble;
  if (ends_at_bad_row_) return kFailed;
  if (!ended_ || leaves_rows_) {
    report_.Trouble("stopped by a signal");
    return kTrouble;
  }
  if (reader_->Failure().empty() && !has_values_ && !options_.shard.IsPart()) console_.Note(kNoValues);
  const int status = console_.Finish();
  return status == kDone ? form_status_ : status;
}

}  // namespace zforms::tool
