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

// An open form, and the lowest count that its next submission may have. The number of its transaction is the time at
// which it was opened (ZClock::Ticks).
struct OpenedForm {
  uint64_t transaction = 0;
  std::string code;
  std::string token;
  uint64_t folder = 0;
  uint32_t year = 0;
  uint64_t expected = 0;
};

// A submission to be saved.
struct Submission {
  int64_t id = 0;        // assigned by the store
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
  bool rejected = false;  // only those that were not accepted
  bool latest = false;    // only the newest one of each transaction
  // Only those with the text in a value or in the code, in any letter case. Texts that are stored in pieces are not
  // searched.
  std::string search = {};
  int64_t before = 0;         // only those with a smaller number; all when 0
  bool newest_first = false;  // else the oldest
  bool brief = false;         // without the document and the texts that are stored in pieces
};

// Store keeps the data of an office's form server in the SQLite file "zforms.db" of its data folder: open forms,
// submissions, and the rubrics from which forms are filled. One server at a time writes; other processes may read
// meanwhile. When a function returns success, its change is on the disk, unless noted otherwise. Any thread may use it.
class Store {
 public:
  enum class Mode { kRead, kServe, kEdit };

  // Creates folder and file when they are missing, unless opened for reading. Null, with a reason, when that fails, or
  // when another server uses the folder.
  static std::unique_ptr<Store> Open(const std::string& folder, Mode mode, std::string* error);
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  ~Store();

  bool AddForm(const OpenedForm& form);
  std::vector<OpenedForm> Forms();
  // Removes the forms that were opened before that time and never saved; `expired` gets their transactions. False on
  // failure.
  bool ExpireForms(uint64_t before, std::vector<uint64_t>* expired);
  // The financial year that was stored last; else that of the newest form.
  std::optional<int32_t> Year();
  bool KeepYear(int32_t year);
  // Called with the reason why a submission is not stored, or with null when it is.
  using Done = std::function<void(const char* failure)>;
  // Stores the long parts of a submission in advance, on the calling thread, in short steps between which other threads
  // can use the store; AddSubmission has little left to write then. Texts that are stored are removed from the
  // submission, which gets its id. Does nothing for a short submission. Returns the reason of a failure, after which
  // nothing is kept, or an empty text.
  std::string Stage(Submission* submission, bool accepted);
  // Queues a submission to be stored, as a whole and field by field, together with the increased count of its form;
  // rejected submissions are kept apart. Flush writes the queue, so that submissions that arrive together wait for the
  // disk once. `done` is called with the result, at the latest by Flush, and must not call the store. True for the
  // first submission in the queue.
  bool AddSubmission(const Submission& submission, bool accepted, Done done);
  void Flush();
  // The XFDF of the transaction's newest accepted submission; empty when there is none.
  std::string LatestXFDF(uint64_t transaction);
  // The time of the last submission of a form; empty when there is none.
  struct FormState {
    std::string accepted;
    std::string rejected;
  };
  FormState StateOf(const std::string& code);
  // Visits the submissions until the visit returns false. False when reading fails.
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
  // Locked while this process serves; see Open.
  sqlite3* lock_ = nullptr;
  // A second connection, which checkpoints the write-ahead log beside the writers.
  sqlite3* checkpointer_ = nullptr;
  std::atomic<unsigned> steps_ = 0;
  int wait_ = 0;  // how long to wait for other processes, in milliseconds
  std::chrono::steady_clock::time_point busy_until_;
  // Of the submissions in the open transaction.
  std::vector<Done> batch_;
  // Prepared once; the key is the SQL text.
  std::map<std::string, std::unique_ptr<Statement>, std::less<>> statements_;
  Statement& Get(const char* sql);
};

}  // namespace zforms::tool
