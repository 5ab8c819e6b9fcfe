#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tool/postgres/postgres_connection.h"
#include "tool/store/postgres_listener.h"
#include "tool/store/postgres_pool.h"
#include "tool/store/store.h"

namespace zforms::tool {

// PostgresStore is a store in a database of PostgreSQL, in its schema "zforms", which several servers may share. When
// the database cannot be reached, functions fail after two seconds; when it is back, they succeed again. Any thread may
// use it.
class PostgresStore : public Store, public SharedForms {
 public:
  // Creates the tables when they are missing, unless opened for reading. Null, with a reason, when that fails.
  static std::unique_ptr<PostgresStore> Open(const std::string& address, Mode mode, std::string* error);
  // See UpgradeStore.
  static bool Upgrade(const std::string& address, int* before, std::string* error);
  ~PostgresStore() override;

  SharedForms* Shared() override { return this; }
  Found FindForm(uint64_t transaction, OpenedForm* form) override;
  Found FindFormOf(const std::string& token, OpenedForm* form) override;
  Verdict Submit(const Submission& submission, std::string* failure) override;

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
  class Save;
  PostgresStore(const Libpq& pq, const std::string& address, size_t connections,
                std::unique_ptr<PostgresConnection> first);
  bool Fail(const std::string& reason);
  bool Ask(const char* sql, const PostgresParameters& parameters, PostgresResult* result);
  Found FindBy(const char* sql, const PostgresParameters& key, OpenedForm* form);
  bool Visit(PostgresConnection& connection, const SubmissionFilter& filter,
             const std::function<bool(const Submission&)>& visit, bool* visited);
  bool VisitAllBy(PostgresConnection& connection, StoreSink& sink);
  uint64_t News(PostgresListener::Kind kind) const { return listener_ == nullptr ? 0 : listener_->News(kind); }
  void Tell(PostgresListener::Kind kind);

  PostgresPool pool_;
  std::unique_ptr<PostgresListener> listener_;  // null unless the store was opened to serve
  int version_ = 0;
  mutable std::mutex mutex_;
  std::string error_;
  // The keys of submissions that may have been stored although no reply arrived. Indexed by transaction, count and
  // document.
  std::map<std::string, std::string> doubts_;
  size_t doubt_size_ = 0;
  // Data that was read when News returned `news`. It may be used until News changes, at most until `until`.
  struct {
    uint64_t news = 0;
    Deadline until;
    std::map<std::string, FormState> states;
  } states_;
  struct {
    uint64_t news = 0;
    Deadline until;
    Rubrics rubrics;
  } rubrics_;
};

}  // namespace zforms::tool
