#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;

namespace zforms::tool {

class Statement;

// A form that went out, and the lowest count that its next submission carries. The
// number of its transaction is the time at which it was opened (ZClock::Ticks).
struct OpenedForm {
  uint64_t transaction = 0;
  std::string code;
  std::string token;
  uint64_t folder = 0;
  uint32_t year = 0;
  uint64_t expected = 0;
};

// What was submitted to be saved.
struct Submission {
  int64_t id = 0;        // given by the store
  std::string received;  // UTC, "2025-01-31T12:00:00.000Z"
  std::string code;
  uint64_t transaction = 0;
  uint32_t count = 0;
  uint64_t folder = 0;
  uint32_t year = 0;
  std::string url;
  std::string xfdf;
  std::vector<std::pair<std::string, std::string>> fields;  // full names and values
  bool staged = false;                                      // see Store::Stage
};

struct SubmissionFilter {
  std::string code;       // all when empty
  int64_t id = 0;         // all when 0
  bool rejected = false;  // those that were not accepted instead
};

// Store keeps what the form server of an office knows, in one SQLite file,
// "zforms.db", of its data folder: forms that are out, submissions, and the rubrics
// that forms are filled from. One server at a time writes; others may read
// meanwhile. Each change is on the disk when its function returns, or says so. Any
// thread.
class Store {
 public:
  enum class Mode { kRead, kServe, kEdit };

  // Makes folder and file when they are missing, unless to read. Null, with a reason,
  // when that fails, or when another process serves from the folder.
  static std::unique_ptr<Store> Open(const std::string& folder, Mode mode, std::string* error);
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  ~Store();

  bool AddForm(const OpenedForm& form);
  std::vector<OpenedForm> Forms();
  // Removes the forms that were opened before that time and never saved, and says which
  // transactions these were. False when that fails.
  bool ExpireForms(uint64_t before, std::vector<uint64_t>* expired);
  // The financial year that was kept last; where none was, that of the newest form.
  std::optional<int32_t> Year();
  bool KeepYear(int32_t year);
  // Why it is not stored; null when it is.
  using Done = std::function<void(const char* failure)>;
  // Writes what is long of a submission beforehand, on the calling thread, in steps between
  // which others get at the store; AddSubmission has little left to write then. Texts that
  // are written leave the submission, which gets its id. Does nothing for a short one.
  // Why it failed, empty when it did not; nothing is kept then.
  std::string Stage(Submission* submission, bool accepted);
  // Takes what was submitted, whole and field by field, and raises the count of its
  // form, all or nothing; what was rejected is kept apart. It waits for Flush, so that
  // those that come together share the wait for the disk; `done` is told what
  // became of it, at the latest then, and must not call the store. True when it is the
  // first that waits.
  bool AddSubmission(const Submission& submission, bool accepted, Done done);
  void Flush();
  // The whole XFDF of the transaction's newest submission that was accepted; empty when
  // there is none.
  std::string LatestXFDF(uint64_t transaction);
  // When submissions of a form came in last; empty when none did.
  struct FormState {
    std::string accepted;
    std::string rejected;
  };
  FormState StateOf(const std::string& code);
  // Oldest first, until the visit returns false. False when reading fails.
  bool VisitSubmissions(const SubmissionFilter& filter, const std::function<bool(const Submission&)>& visit);

  using Rubrics = std::map<std::string, std::map<std::string, std::string>>;
  Rubrics ReadRubrics();
  bool SetRubric(const std::string& rubric, const std::string& field, const std::string& value);

  // Why the last function failed.
  std::string LastError() const;

 private:
  Store() = default;
  bool Connect(const std::string& folder, Mode mode, std::string* error);
  bool CheckVersion(std::string* error);
  bool IsReadOnly() const;
  bool Execute(const char* sql);
  bool Begin();
  std::string TextFor(Statement& query);
  bool InsertSubmission(const Submission& submission, bool accepted);
  int64_t Reserve(bool accepted);
  bool Finish(int64_t id, bool accepted);
  bool RunStep(const std::function<bool()>& step, std::string* failure);
  bool DropUnfinished(int64_t key);
  void DropAllUnfinished();
  void ReadPieces(int64_t key, Submission* submission);
  void EndBatch(const char* failure);
  void FlushLocked();

  mutable std::mutex mutex_;
  sqlite3* database_ = nullptr;
  // Held while this process serves; see Open.
  sqlite3* lock_ = nullptr;
  // Brings what was staged from the log into the database, beside those that write.
  sqlite3* checkpointer_ = nullptr;
  std::atomic<unsigned> steps_ = 0;
  int wait_ = 0;  // for others that hold the database, in milliseconds
  std::chrono::steady_clock::time_point busy_until_;
  // Of the submissions in the open transaction.
  std::vector<Done> batch_;
  // Prepared once, by their text.
  std::map<std::string, std::unique_ptr<Statement>, std::less<>> statements_;
  Statement& Get(const char* sql);
};

}  // namespace zforms::tool
