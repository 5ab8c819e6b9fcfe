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
#include <vector>

#include "tool/store/store.h"

struct sqlite3;

namespace zforms::tool {

class Statement;

// SqliteStore is a store in the file "zforms.db" of a data folder. One server at a time writes; other processes may
// read meanwhile. Any thread may use it.
class SqliteStore : public Store, public SubmissionQueue {
 public:
  // Creates folder and file when they are missing, unless opened for reading. Null, with a reason, when that fails, or
  // when another server uses the folder.
  static std::unique_ptr<SqliteStore> Open(const std::string& folder, Mode mode, std::string* error);
  // See UpgradeStore.
  static bool Upgrade(const std::string& folder, int* before, std::string* error);
  SqliteStore(const SqliteStore&) = delete;
  SqliteStore& operator=(const SqliteStore&) = delete;
  ~SqliteStore() override;

  SubmissionQueue* Queue() override { return this; }
  std::vector<OpenedForm> Forms() override;
  std::string Stage(Submission* submission, bool accepted) override;
  bool Add(const Submission& submission, bool accepted, Done done) override;
  void Flush() override;

  Added AddForm(const OpenedForm& form) override;
  bool ExpireForms(uint32_t days, std::vector<uint64_t>* expired) override;
  bool Year(std::optional<int32_t>* year) override;
  bool KeepYear(int32_t year) override;
  bool LatestXFDF(uint64_t transaction, std::string* xfdf) override;
  bool StateOf(const std::string& code, FormState* state) override;
  bool VisitSubmissions(const SubmissionFilter& filter, const std::function<bool(const Submission&)>& visit) override;
  bool ReadRubrics(Rubrics* rubrics) override;
  bool SetRubric(const std::string& rubric, const std::string& field, const std::string& value) override;
  bool VisitAll(StoreSink& sink) override;
  bool Load(const std::function<bool(StoreSink& sink)>& fill) override;
  int Version() const override { return version_; }
  std::string LastError() const override;

 private:
  class Sink;
  SqliteStore() = default;
  bool LockFolder(const std::string& folder, std::string* error);
  bool Connect(const std::string& folder, Mode mode, std::string* error);
  bool OpenFile(const std::string& file, int flags, std::string* error);
  bool Execute(const char* sql);
  bool Begin();
  bool TextFor(Statement& query, std::string* text);
  std::vector<OpenedForm> FormsLocked();
  bool InsertForm(const OpenedForm& form);
  bool VisitLocked(const SubmissionFilter& filter, const std::function<bool(const Submission&)>& visit);
  bool VisitAllLocked(StoreSink& sink);
  bool ReadRubricsLocked(Rubrics* rubrics);
  bool ReadYear(const char* sql, std::optional<int32_t>* year);
  bool IsEmpty();
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
  int version_ = 0;
  std::string reason_;  // the reason of the last failure; empty when SQLite has it
  // The connection that locks the data folder while this process serves; see LockFolder.
  sqlite3* lock_ = nullptr;
  // A second connection, which makes checkpoints of the write-ahead log while other threads use the first one.
  sqlite3* checkpointer_ = nullptr;
  std::atomic<unsigned> steps_ = 0;
  int wait_ = 0;  // how long to wait for other processes, in milliseconds
  std::chrono::steady_clock::time_point busy_until_;
  // The callbacks of the submissions in the open transaction.
  std::vector<Done> batch_;
  // Prepared statements, by their SQL text.
  std::map<std::string, std::unique_ptr<Statement>, std::less<>> statements_;
  Statement& Get(const char* sql);
};

}  // namespace zforms::tool
