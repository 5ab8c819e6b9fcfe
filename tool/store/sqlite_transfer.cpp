#include <sqlite3.h>

#include "tool/base/statement.h"
#include "tool/store/sqlite_store.h"

// Copying of whole stores: passing all data of a store to a sink, and a sink that fills a store.
namespace zforms::tool {

// Fills the store within its open transaction. Long texts are stored in one step, since no other thread waits for the
// store.
class SqliteStore::Sink : public StoreSink {
 public:
  explicit Sink(SqliteStore* store) : store_(store) {}

  bool AddForm(const OpenedForm& form) override { return store_->InsertForm(form); }
  bool AddSubmission(const Submission& submission, bool accepted) override {
    return store_->InsertSubmission(submission, accepted);
  }
  bool SetRubric(const std::string& rubric, const std::string& field, const std::string& value) override {
    return store_->Get("INSERT INTO rubrics VALUES(?, ?, ?)").Bind(rubric).Bind(field).Bind(value).Run();
  }
  bool KeepYear(int32_t year) override {
    return store_->Get("INSERT INTO settings VALUES('year', ?)").Bind(std::to_string(year)).Run();
  }

 private:
  SqliteStore* store_;
};

bool SqliteStore::VisitAll(StoreSink& sink) {
  const std::lock_guard lock(mutex_);
  if (!Execute("BEGIN")) return false;
  const bool done = VisitAllLocked(sink);
  Execute("ROLLBACK");
  return done;
}

bool SqliteStore::VisitAllLocked(StoreSink& sink) {
  for (const OpenedForm& form : FormsLocked()) {
    if (!sink.AddForm(form)) return false;
  }
  bool done = true;
  for (const bool accepted : {true, false}) {
    SubmissionFilter filter;
    filter.rejected = !accepted;
    const auto add = [&](const Submission& one) { return done = sink.AddSubmission(one, accepted); };
    if (!VisitLocked(filter, add) || !done) return false;
  }
  Rubrics rubrics;
  std::optional<int32_t> year;
  if (!ReadRubricsLocked(&rubrics) || !ReadYear("SELECT value FROM settings WHERE name = 'year'", &year)) return false;
  for (const auto& [rubric, fields] : rubrics) {
    for (const auto& [field, value] : fields) {
      if (!sink.SetRubric(rubric, field, value)) return false;
    }
  }
  return !year || sink.KeepYear(*year);
}

bool SqliteStore::IsEmpty() {
  constexpr char kAny[] =
      "SELECT EXISTS (SELECT 1 FROM forms) OR EXISTS (SELECT 1 FROM submissions) OR EXISTS (SELECT 1 FROM rejected) OR "
      "EXISTS (SELECT 1 FROM rubrics) OR EXISTS (SELECT 1 FROM settings)";
  std::string text;
  return TextFor(Get(kAny), &text) && text == "0";
}

bool SqliteStore::Load(const std::function<bool(StoreSink& sink)>& fill) {
  const std::lock_guard lock(mutex_);
  FlushLocked();
  reason_.clear();
  if (!Begin()) return false;
  Sink sink(this);
  const bool is_empty = IsEmpty();
  if (is_empty && fill(sink) && Execute("COMMIT")) return true;
  reason_ = is_empty ? sqlite3_errmsg(database_) : "the store is not empty: copy to a new or empty one";
  if (sqlite3_get_autocommit(database_) == 0) Execute("ROLLBACK");
  return false;
}

}  // namespace zforms::tool
