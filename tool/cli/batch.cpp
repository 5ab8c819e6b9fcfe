// Fills a form once for each row of a table, with several threads.

#include <algorithm>
#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "tool/base/files.h"
#include "tool/batch/batch_folder.h"
#include "tool/batch/batch_plan.h"
#include "tool/batch/batch_report.h"
#include "tool/batch/row_filler.h"
#include "tool/batch/stable_hash.h"
#include "tool/cli/commands.h"
#include "tool/data/data_file.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/filling/file_name.h"
#include "zforms/filling/form_values.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms::tool {
namespace {

// How many rows a thread takes at a time.
constexpr size_t kRowsAtOnce = 8;
constexpr unsigned kMostJobs = 256;
constexpr const char* kDefaultName = "{row}.pdf";
constexpr size_t kMostUnused = 1000;

uint64_t HashOf(const Row& row) {
  uint64_t hash = 0;
  for (size_t i = 0; i < row.cells.size(); i++) {
    const Cell& cell = row.cells[i];
    hash = StableHash((*row.names)[i], hash);
    hash = StableHash(cell.text, hash + (cell.is_null ? 1 : 0));
    for (const std::string& more : cell.more) hash = StableHash(more, hash + 2);
  }
  return hash;
}

bool IsNamed(const std::vector<std::string>& names) {
  return std::any_of(names.begin(), names.end(), [](const std::string& name) { return !name.empty(); });
}

bool HoldsValues(const Row& row) {
  for (size_t i = 0; i < row.cells.size(); i++) {
    if (!row.cells[i].is_null && !((*row.names)[i].empty() && row.cells[i].text.empty())) return true;
  }
  return false;
}

// A row to be filled, and the path of its output.
struct Task {
  Row row;
  BatchFolder::Seat seat;
};

// One run of a batch; the threads share the reader, the folder and the report.
class BatchRun {
 public:
  BatchRun(const BatchOptions& options, Console& console)
      : options_(options), console_(console), match_(plan_), report_(console) {}

  bool Prepare();
  // The exit status.
  int Run();
  // The exit status after Prepare returned false: what the form forbids is a warning.
  int StatusOfRefusal() const { return forbidden_ ? form_status_ : kFailed; }

 private:
  bool HasNameColumns(const std::vector<std::string>& names);
  bool MakeWhole(Console& console);
  bool Guard();
  bool PrepareFolder();
  void CheckColumns(const Row& row);
  void CheckNameless(const Row& row);
  void Work(unsigned number, RowFiller& filler);
  size_t TakeTasks(std::vector<Task>* tasks);
  bool Place(Task* task);
  bool Check(const Row& row);
  void Fill(const Task& task, RowFiller& filler, unsigned number);
  void Fail(const Row& row, const std::string& field, const std::string& file, const std::string& what);

  const BatchOptions& options_;
  Console& console_;
  ZAcroForm form_;
  std::unique_ptr<FillingGuard> guard_;
  std::optional<ZDrawingFonts> fonts_;  // absent when viewers draw
  int form_status_ = kDone;
  bool forbidden_ = false;
  BatchPlan plan_;
  BatchPlan::Match match_;
  FileNamePattern pattern_;
  BatchFolder folder_;
  BatchReport report_;
  std::mutex reading_;
  std::unique_ptr<RowReader> reader_;
  RowNames checked_names_;
  std::set<std::string> unused_;
  std::vector<size_t> nameless_;  // the places of empty names among the columns
  bool said_nameless_ = false;
  std::atomic<bool> stopped_ = false;
  bool ended_ = false;
  bool has_values_ = false;
};

bool BatchRun::Prepare() {
  Console form_console(options_.file);
  if (options_.drawing.draw && !OpenFonts(options_.drawing, &fonts_.emplace())) return false;
  if (!KeepsInputs(options_.report, {options_.data, options_.file, options_.maps}, console_)) return false;
  if (!OpenFormWithFields(options_.file, options_.password, form_, form_console, options_.recover)) return false;
  if (!Guard() || !MakeWhole(form_console)) return false;
  if (!plan_.Make(options_, form_, *guard_, form_console)) return false;
  std::string error;
  if (!pattern_.Parse(options_.name.empty() ? kDefaultName : options_.name, &error)) {
    console_.Fail("--name: " + error);
    return false;
  }
  reader_ = OpenTable(options_.data, &error);
  if (reader_ == nullptr) {
    console_.Fail(error);
    return false;
  }
  if (reader_->Header() != nullptr && IsNamed(*reader_->Header()) && !plan_.Feeds(*reader_->Header())) {
    console_.Fail("no column has the name of a field");
    return false;
  }
  if (reader_->Header() != nullptr && !HasNameColumns(*reader_->Header())) return false;
  // The warnings about the form are printed once, not for each row.
  form_console.WarnAll(form_.Diagnostics());
  form_status_ = std::max(form_status_, form_console.Finish());
  if (!folder_.Take(options_.folder, &error)) {
    console_.Fail(error);
    return false;
  }
  if (!options_.report.empty() && !report_.Open(options_.report)) return false;
  return PrepareFolder();
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

// Saves a recovered form as a whole once, so that each row can be appended to it.
bool BatchRun::MakeWhole(Console& console) {
  if (!form_.SavesAnew()) return true;
  Chaine whole;
  ZFormMessages messages;
  if (SaveForm(form_, SaveOptions{true, options_.guard.force}, &whole, &messages)) return true;
  console.WarnAll(form_.Diagnostics());
  Say(messages, console);
  return false;
}

// Prints what forbids filling once, not for each row.
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

bool BatchRun::PrepareFolder() {
  uint64_t job = StableHash(form_.RawData());
  job = StableHash(options_.name, job);
  if (options_.guard.keep_xfa) job = StableHash("--xfa keep", job);
  if (options_.guard.force) job = StableHash("--force", job);
  job = StableHash(options_.drawing.draw ? "drawn" : "--draw no", job);
  if (options_.flatten) job = StableHash("--flatten", job);
  if (!options_.calculate) job = StableHash("--calculate no", job);
  for (const std::string& font : options_.drawing.fonts) job = StableHash(font, job);
  for (const BatchField& field : plan_.Fields()) {
    job = StableHash(field.name + "\n" + field.full_column + "\n" + field.column + "\n" + field.constant.text, job);
  }
  const BatchFolder::Mode mode = options_.resume      ? BatchFolder::Mode::kResume
                                 : options_.overwrite ? BatchFolder::Mode::kOverwrite
                                                      : BatchFolder::Mode::kNew;
  std::string error;
  if (folder_.Open(mode, job, &error)) return true;
  console_.Fail(error);
  return false;
}

// Prints once that a value has no name.
void BatchRun::CheckNameless(const Row& row) {
  const auto is_lost = [&row](size_t i) { return !row.cells[i].text.empty(); };
  if (said_nameless_ || std::none_of(nameless_.begin(), nameless_.end(), is_lost)) return;
  said_nameless_ = true;
  console_.Warn("line " + std::to_string(row.line) + ": a value without a name feeds no field");
}

// Prints once for each column that it matches no field.
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
  if (options_.stop_on_error) stopped_ = true;
}

// True when the fields accept the values of the row. A bad row does not use up a file name.
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
  BatchFolder::Seat& seat = task->seat;
  seat.name.clear();
  std::string error = row.fault;
  if (error.empty() && !Check(row)) return false;
  if (error.empty()) seat.name = pattern_.MakeFor(row, &error);
  if (error.empty()) {
    seat.content = HashOf(row);
    folder_.Enter(&seat, row.line, &error);
  }
  if (!error.empty()) {
    Fail(row, {}, seat.name, error);
    return false;
  }
  if (seat.place == BatchFolder::Place::kWritten) report_.Found();
  return seat.place != BatchFolder::Place::kWritten;
}

// One thread at a time reads and names rows, in order. So the first of two rows with the same name gets it, with any
// number of threads.
size_t BatchRun::TakeTasks(std::vector<Task>* tasks) {
  const std::lock_guard<std::mutex> lock(reading_);
  size_t count = 0;
  while (count < tasks->size() && !ended_ && !stopped_) {
    Task& task = (*tasks)[count];
    if (!reader_->Next(&task.row)) {
      ended_ = true;
      break;
    }
    if (task.row.fault.empty()) {
      CheckColumns(task.row);
      CheckNameless(task.row);
    }
    has_values_ = has_values_ || !task.row.fault.empty() || HoldsValues(task.row);
    if (Place(&task)) count++;
  }
  const ByteSource& source = reader_->Source();
  if (source.Size() > 0) report_.ReadSoFar(static_cast<double>(source.Position()) / static_cast<double>(source.Size()));
  return count;
}

void BatchRun::Fill(const Task& task, RowFiller& filler, unsigned number) {
  std::string error = "the form cannot be filled";
  ZFormMessages messages;
  const Chaine bytes = filler.Fill(task.row, &messages);
  if (!bytes.IsEmpty() && folder_.Write(task.seat, number, bytes, &error)) {
    for (const ZFormMessage& message : messages) {
      if (message.severity == ZFormMessage::Severity::kNote) continue;
      report_.Warned(task.row, task.seat.name, message.text);
    }
    report_.Filled();
  } else {
    Fail(task.row, {}, task.seat.name, "its file \"" + task.seat.name + "\": " + error);
  }
}

void BatchRun::Work(unsigned number, RowFiller& filler) {
  std::vector<Task> tasks(kRowsAtOnce);
  while (const size_t count = TakeTasks(&tasks)) {
    for (size_t i = 0; i < count; i++) Fill(tasks[i], filler, number);
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
  report_.Finish(options_, stopped_, jobs);
  if (!reader_->Failure().empty()) {
    console_.Fail(reader_->Failure());
  } else if (!has_values_ && !stopped_) {
    console_.Note(kNoValues);
  }
  if (stopped_) return kFailed;
  const int status = console_.Finish();
  return status == kDone ? form_status_ : status;
}

}  // namespace

int RunBatch(const BatchOptions& options) {
  Console console(options.data);
  if (options.file == kStandardStream && options.data == kStandardStream) {
    console.Fail("the form and the data cannot both come from standard input");
    return kFailed;
  }
  BatchRun run(options, console);
  return run.Prepare() ? run.Run() : run.StatusOfRefusal();
}

}  // namespace zforms::tool
