#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zforms::tool {

// An open form, and the lowest count that its next submission may have. The number of its transaction is near the time
// at which it was opened (ZClock::Ticks).
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
  bool staged = false;                                      // see SubmissionQueue::Stage
};

struct SubmissionFilter {
  std::string code;       // all when empty
  int64_t id = 0;         // all when 0
  bool rejected = false;  // only submissions that were not accepted
  bool latest = false;    // only the newest one of each transaction
  // Only those with the text in a value or in the code, in any letter case. Texts above 512 KiB are not searched.
  std::string search = {};
  int64_t before = 0;         // only those with a smaller number; all when 0
  bool newest_first = false;  // else the oldest
  bool brief = false;         // without the document and the texts above 512 KiB
};

// Receives the content of a store, for example to fill another store. A function returns false on failure.
class StoreSink {
 public:
  virtual ~StoreSink();
  virtual bool AddForm(const OpenedForm& form) = 0;
  // The submission keeps its number.
  virtual bool AddSubmission(const Submission& submission, bool accepted) = 0;
  virtual bool SetRubric(const std::string& rubric, const std::string& field, const std::string& value) = 0;
  virtual bool KeepYear(int32_t year) = 0;
};

// How submissions are stored where one server has the store for itself: the server decides which ones it accepts.
class SubmissionQueue {
 public:
  virtual ~SubmissionQueue();
  virtual std::vector<OpenedForm> Forms() = 0;
  // The type of a callback that gets the reason why a submission is not stored, or null when it is stored.
  using Done = std::function<void(const char* failure)>;
  // Stores the long texts of a submission in advance, so that Add has little left to write. Works on the calling
  // thread, in short steps between which other threads can use the store. Removes the stored texts from the submission
  // and sets its id. Does nothing for a short submission. Returns an empty text, or the reason of a failure, after
  // which nothing remains stored.
  virtual std::string Stage(Submission* submission, bool accepted) = 0;
  // Queues a submission to be stored, as a whole and field by field, together with the increased count of its form;
  // rejected submissions are kept apart. Flush writes the queue, so that submissions that arrive together wait for the
  // disk once. `done` is called with the result, at the latest by Flush, and must not call the store. True for the
  // first submission in the queue.
  virtual bool Add(const Submission& submission, bool accepted, Done done) = 0;
  virtual void Flush() = 0;
};

// How submissions are stored where several servers share the store: the store decides which ones are accepted.
class SharedForms {
 public:
  virtual ~SharedForms();
  enum class Found : uint8_t { kYes, kNo, kFailure };
  virtual Found FindForm(uint64_t transaction, OpenedForm* form) = 0;
  virtual Found FindFormOf(const std::string& token, OpenedForm* form) = 0;
  // kStale: the form was saved with that count or a later one, so the submission is kept with the rejected ones. kGone:
  // the form is not open. After kFailure the submission may have been stored nevertheless, when the reply was lost: the
  // same submission, given again, is then found and not stored twice.
  enum class Verdict : uint8_t { kAccepted, kStale, kGone, kFailure };
  virtual Verdict Submit(const Submission& submission, std::string* failure) = 0;
};

// Store keeps the data of an office's form server: open forms, submissions, and the values from which forms are filled,
// in named groups (rubrics). When a function returns success, its change is safe on the disk, unless noted otherwise;
// the others return false or kFailure, and LastError has the reason. Any thread may use it.
class Store {
 public:
  enum class Mode : uint8_t { kRead, kServe, kEdit };
  virtual ~Store();

  // For a store that was opened to serve, exactly one of these is not null. The store owns it.
  virtual SubmissionQueue* Queue() { return nullptr; }
  virtual SharedForms* Shared() { return nullptr; }

  enum class Added : uint8_t { kAdded, kTaken, kFailure };
  // kTaken when the store has a form with this transaction.
  virtual Added AddForm(const OpenedForm& form) = 0;
  // Removes the forms that were opened more than `days` days ago and never saved; `expired` gets their transactions.
  virtual bool ExpireForms(uint32_t days, std::vector<uint64_t>* expired) = 0;
  // The financial year that was stored last; else the year of the newest form, if there is one.
  virtual bool Year(std::optional<int32_t>* year) = 0;
  virtual bool KeepYear(int32_t year) = 0;

  // The XFDF of the transaction's newest accepted submission; empty when there is none.
  virtual bool LatestXFDF(uint64_t transaction, std::string* xfdf) = 0;
  // The times of the last accepted and the last rejected submission of a form; empty when there is none.
  struct FormState {
    std::string accepted;
    std::string rejected;
  };
  virtual bool StateOf(const std::string& code, FormState* state) = 0;
  // Visits the submissions until the visit returns false. False when reading fails.
  virtual bool VisitSubmissions(const SubmissionFilter& filter,
                                const std::function<bool(const Submission&)>& visit) = 0;

  using Rubrics = std::map<std::string, std::map<std::string, std::string>>;
  virtual bool ReadRubrics(Rubrics* rubrics) = 0;
  virtual bool SetRubric(const std::string& rubric, const std::string& field, const std::string& value) = 0;

  // Passes all data to the sink, as it is at one moment.
  virtual bool VisitAll(StoreSink& sink) = 0;
  // Calls `fill` with a sink that fills this store, in one transaction: when `fill` returns false, nothing is changed.
  // Fails when the store is not empty.
  virtual bool Load(const std::function<bool(StoreSink& sink)>& fill) = 0;

  // The version of the store's tables; see kStoreVersion.
  virtual int Version() const = 0;
  // Why the last function failed.
  virtual std::string LastError() const = 0;
};

// The version of the tables of a new store, and the oldest version that this program can use without an upgrade.
inline constexpr int kStoreVersion = 2;
inline constexpr int kOldestStoreVersion = 1;

}  // namespace zforms::tool
