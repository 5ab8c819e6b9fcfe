#include <chrono>
#include <map>
#include <string_view>

#include "tool/store/postgres_store.h"
#include "zforms/platform/crypto/random_token.h"

// Storing of submissions. One statement, which is one transaction, increases the count of the form and adds the
// submission with its fields. It locks the row of the form. So when two servers save the same step, one is first, and
// the other finds the increased count.
//
// When the connection is lost before the reply, it is unknown whether the statement was executed. So each submission
// has a random key. The next attempt first locks the row of the form, and so waits until the lost attempt has ended.
// Then it looks for the key before it stores anything.
namespace zforms::tool {
namespace {

using Clock = std::chrono::steady_clock;

// How long a submission waits for a database that does not answer; kDoubtTime when a reply was lost, since then only
// the database knows the outcome.
constexpr std::chrono::seconds kWait(2);
constexpr std::chrono::seconds kDoubtTime(10);
constexpr std::chrono::seconds kStatementTime(20);
// The largest total size in bytes of the documents of submissions whose outcome is unknown.
constexpr size_t kMostDoubt = size_t{32} << 20;

constexpr char kAccept[] = R"(
WITH raised AS (
  UPDATE forms SET expected = $3::bigint + 1 WHERE "transaction" = $2::bigint AND expected <= $3::bigint
  RETURNING code),
added AS (
  INSERT INTO submissions(key, code, "transaction", count, folder, year, url, xfdf)
  SELECT $1::text, code, $2::bigint, $3::bigint, $4::bigint, $5::bigint, $6::bytea, $7::bytea FROM raised
  RETURNING id),
listed AS (
  INSERT INTO fields(submission, name, value)
  SELECT added.id, field.name, field.value FROM added, unnest($8::bytea[], $9::bytea[]) AS field(name, value))
SELECT id FROM added)";
constexpr char kReject[] = R"(
INSERT INTO rejected(key, code, "transaction", count, folder, year, url, xfdf)
SELECT $1::text, code, $2::bigint, $3::bigint, $4::bigint, $5::bigint, $6::bytea, $7::bytea
FROM forms WHERE "transaction" = $2::bigint
ON CONFLICT (key) DO NOTHING RETURNING id)";
constexpr char kLock[] = R"(SELECT true FROM forms WHERE "transaction" = $1::bigint FOR UPDATE)";
constexpr char kIsStored[] = "SELECT EXISTS (SELECT 1 FROM submissions WHERE key = $1::text)";
constexpr char kIsRejected[] = "SELECT EXISTS (SELECT 1 FROM rejected WHERE key = $1::text)";

std::string NameOf(const Submission& submission) {
  return std::to_string(submission.transaction) + " " + std::to_string(submission.count) + " " + submission.xfdf;
}

}  // namespace

// Stores one submission, over several connections if some are lost.
class PostgresStore::Save {
 public:
  // `key` is empty, except when an earlier attempt with that key may have stored the submission.
  Save(const Submission& submission, const std::string& key)
      : submission_(submission), key_(key.empty() ? RandomToken() : key), in_doubt_(!key.empty()) {
    // When a name is repeated, its last value is used.
    std::map<std::string_view, std::string_view> fields;
    for (const auto& [name, value] : submission.fields) fields[name] = value;
    for (const auto& [name, value] : fields) {
      names_.push_back(name);
      values_.push_back(value);
    }
  }

  const std::string& Key() const { return key_; }
  bool IsInDoubt() const { return in_doubt_; }
  Verdict Result() const { return verdict_; }
  const std::string& Failure() const { return failure_; }

  // False on failure. If the connection is lost, Run may be called again with another one.
  bool Run(PostgresConnection& connection) {
    if (in_doubt_) {
      bool ignored = false;
      if (!Holds(connection, kLock, PostgresParameters().Number(submission_.transaction), &ignored)) return false;
      if (!FindKey(connection)) return false;
      if (verdict_ == Verdict::kAccepted) return true;
    }
    PostgresParameters values = Values();
    values.ByteArray(names_).ByteArray(values_);
    const PostgresResult added = connection.Run(kAccept, values, Until());
    if (!added.IsDone()) return Lose(connection, added);
    if (added.Rows() > 0) {
      verdict_ = Verdict::kAccepted;
      return true;
    }
    if (in_doubt_ && (!FindKey(connection) || verdict_ == Verdict::kAccepted)) return verdict_ == Verdict::kAccepted;
    return Reject(connection);
  }

 private:
  static Deadline Until() { return Clock::now() + kStatementTime; }

  PostgresParameters Values() const {
    PostgresParameters values;
    values.Text(key_).Number(submission_.transaction).Number(submission_.count).Number(submission_.folder);
    values.Number(submission_.year).Bytes(submission_.url).Bytes(submission_.xfdf);
    return values;
  }

  bool Reject(PostgresConnection& connection) {
    const PostgresResult added = connection.Run(kReject, Values(), Until());
    if (!added.IsDone()) return Lose(connection, added);
    bool is_kept = added.Rows() > 0;
    if (!is_kept && !Holds(connection, kIsRejected, PostgresParameters().Text(key_), &is_kept)) return false;
    verdict_ = is_kept ? Verdict::kStale : Verdict::kGone;
    return true;
  }

  bool FindKey(PostgresConnection& connection) {
    bool is_stored = false;
    if (!Holds(connection, kIsStored, PostgresParameters().Text(key_), &is_stored)) return false;
    if (is_stored) verdict_ = Verdict::kAccepted;
    return true;
  }

  bool Holds(PostgresConnection& connection, const char* sql, const PostgresParameters& key, bool* holds) {
    const PostgresResult row = connection.Run(sql, key, Until());
    if (!row.IsDone()) return Lose(connection, row);
    *holds = row.Rows() > 0 && row.Number(0, 0) != 0;
    return true;
  }

  bool Lose(const PostgresConnection& connection, const PostgresResult& result) {
    in_doubt_ = in_doubt_ || connection.IsLost();
    failure_ = connection.IsLost() ? connection.Error() : result.Error();
    return false;
  }

  const Submission& submission_;
  const std::string key_;
  std::vector<std::string_view> names_;
  std::vector<std::string_view> values_;
  bool in_doubt_;
  Verdict verdict_ = Verdict::kFailure;
  std::string failure_;
};

SharedForms::Verdict PostgresStore::Submit(const Submission& submission, std::string* failure) {
  const std::string name = NameOf(submission);
  std::string key;
  {
    const std::lock_guard lock(mutex_);
    const auto known = doubts_.find(name);
    if (known != doubts_.end()) key = known->second;
  }
  Save save(submission, key);
  const Deadline start = Clock::now();
  bool done = false;
  do {
    const Deadline deadline = start + (save.IsInDoubt() && key.empty() ? kDoubtTime : kWait);
    std::unique_ptr<PostgresConnection> connection = pool_.Take(deadline, failure);
    if (connection == nullptr) break;
    done = save.Run(*connection);
    const bool is_lost = connection->IsLost();
    pool_.Give(std::move(connection));
    if (!done) *failure = save.Failure();
    if (!done && !is_lost) break;
  } while (!done && Clock::now() < start + kDoubtTime);
  if (done) Tell(PostgresListener::kStates);
  const std::lock_guard lock(mutex_);
  if (done && doubts_.erase(name) != 0) doubt_size_ -= name.size();
  const bool keeps = !done && save.IsInDoubt() && doubt_size_ + name.size() <= kMostDoubt;
  if (keeps && doubts_.emplace(name, save.Key()).second) doubt_size_ += name.size();
  return save.Result();
}

}  // namespace zforms::tool
