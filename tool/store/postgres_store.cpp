#include "tool/store/postgres_store.h"

#include <charconv>
#include <utility>

#include "tool/store/postgres_schema.h"
#include "zforms/platform/base/hex.h"

namespace zforms::tool {
namespace {

using Clock = std::chrono::steady_clock;

// The number of connections of a server: as many as it has threads that answer requests.
constexpr size_t kConnections = 4;
// How long a request waits for a database that does not answer.
constexpr std::chrono::seconds kWait(2);
// How long a command waits for the database.
constexpr std::chrono::seconds kPatience(10);
// How long an upgrade may take: creating an index on many rows takes long.
constexpr std::chrono::hours kUpgradeTime(12);
// How long data from the store is cached at most, since a server may have died before it announced a change.
constexpr std::chrono::seconds kLongestKept(5);
constexpr const char* kNoStore =
    "there is no store in this database: it has no tables of zforms, which \"zforms serve\" creates";

constexpr char kForm[] =
    R"(SELECT "transaction", code, token, folder, year, expected FROM forms WHERE "transaction" = $1::bigint)";
constexpr char kFormOfToken[] =
    R"(SELECT "transaction", code, token, folder, year, expected FROM forms WHERE token = $1::text)";
constexpr char kAddForm[] =
    R"(INSERT INTO forms("transaction", code, token, folder, year, expected)
       VALUES ($1::bigint, $2::bytea, $3::text, $4::bigint, $5::bigint, $6::bigint)
       ON CONFLICT ("transaction") DO NOTHING RETURNING true)";

}  // namespace

PostgresStore::PostgresStore(const Libpq& pq, const std::string& address, size_t connections,
                             std::unique_ptr<PostgresConnection> first)
    : pool_(pq, address, connections, std::move(first)) {}

PostgresStore::~PostgresStore() = default;

std::unique_ptr<PostgresStore> PostgresStore::Open(const std::string& address, Mode mode, std::string* error) {
  const Libpq* const pq = Libpq::Load(error);
  if (pq == nullptr) return nullptr;
  const Deadline deadline = Clock::now() + kPatience;
  std::unique_ptr<PostgresConnection> connection = ConnectToStore(*pq, address, deadline, error);
  int version = 0;
  if (connection == nullptr || !ReadPostgresVersion(*connection, deadline, &version, error)) return nullptr;
  if (version == 0 && mode == Mode::kRead) {
    *error = kNoStore;
    return nullptr;
  }
  if (version == 0 && (!UpgradePostgresTables(*connection, deadline, &version, error) ||
                       !ReadPostgresVersion(*connection, deadline, &version, error))) {
    return nullptr;
  }
  const size_t most = mode == Mode::kServe ? kConnections : 1;
  std::unique_ptr<PostgresStore> store(new PostgresStore(*pq, address, most, std::move(connection)));
  store->version_ = version;
  if (mode == Mode::kServe) store->listener_ = std::make_unique<PostgresListener>(*pq, address);
  return store;
}

bool PostgresStore::Upgrade(const std::string& address, int* before, std::string* error) {
  const Libpq* const pq = Libpq::Load(error);
  if (pq == nullptr) return false;
  const auto connection = ConnectToStore(*pq, address, Clock::now() + kPatience, error);
  if (connection == nullptr || !ReadPostgresVersion(*connection, Clock::now() + kPatience, before, error)) return false;
  if (*before == 0) {
    *error = kNoStore;
    return false;
  }
  return UpgradePostgresTables(*connection, Clock::now() + kUpgradeTime, before, error);
}

bool PostgresStore::Fail(const std::string& reason) {
  const std::lock_guard lock(mutex_);
  error_ = reason;
  return false;
}

std::string PostgresStore::LastError() const {
  const std::lock_guard lock(mutex_);
  return error_;
}

// Runs a statement, and runs it again when the connection is lost. So a repetition of the statement must do no harm.
bool PostgresStore::Ask(const char* sql, const PostgresParameters& parameters, PostgresResult* result) {
  std::string error;
  const Deadline deadline = Clock::now() + (listener_ == nullptr ? kPatience : kWait);
  const auto work = [&](PostgresConnection& connection) {
    *result = connection.Run(sql, parameters, Clock::now() + kPatience);
    if (!result->IsDone()) error = result->Error();
    return result->IsDone();
  };
  return pool_.Run(deadline, work, &error) || Fail(error);
}

void PostgresStore::Tell(PostgresListener::Kind kind) {
  if (listener_ != nullptr) listener_->Tell(kind);
}

// --- forms ---

SharedForms::Found PostgresStore::FindBy(const char* sql, const PostgresParameters& key, OpenedForm* form) {
  PostgresResult row;
  if (!Ask(sql, key, &row)) return Found::kFailure;
  if (row.Rows() == 0) return Found::kNo;
  *form = {
      row.Number(0, 0), row.Bytes(0, 1), row.Bytes(0, 2), row.Number(0, 3), static_cast<uint32_t>(row.Number(0, 4)),
      row.Number(0, 5)};
  return Found::kYes;
}

SharedForms::Found PostgresStore::FindForm(uint64_t transaction, OpenedForm* form) {
  return FindBy(kForm, PostgresParameters().Number(transaction), form);
}

SharedForms::Found PostgresStore::FindFormOf(const std::string& token, OpenedForm* form) {
  // Tokens are hexadecimal. Other texts are refused here, because PostgreSQL fails for NUL and invalid UTF-8.
  if (token.find_first_not_of(kLowerHexDigits) != std::string::npos) return Found::kNo;
  return FindBy(kFormOfToken, PostgresParameters().Text(token), form);
}

Store::Added PostgresStore::AddForm(const OpenedForm& form) {
  PostgresParameters values;
  values.Number(form.transaction).Bytes(form.code).Text(form.token).Number(form.folder).Number(form.year);
  PostgresResult added;
  if (!Ask(kAddForm, values.Number(form.expected), &added)) return Added::kFailure;
  if (added.Rows() > 0) return Added::kAdded;
  // The form exists already. It may have been added by an earlier attempt of this call, whose reply was lost.
  OpenedForm found;
  const Found known = FindForm(form.transaction, &found);
  if (known == Found::kFailure) return Added::kFailure;
  return known == Found::kYes && found.token == form.token ? Added::kAdded : Added::kTaken;
}

// Uses the clock of the database, since the clocks of the servers may differ.
bool PostgresStore::ExpireForms(uint32_t days, std::vector<uint64_t>* expired) {
  constexpr char kExpire[] =
      R"(DELETE FROM forms WHERE expected = 0 AND
         opened < clock_timestamp() - least($1::bigint, 1000000) * interval '1 day' RETURNING "transaction")";
  PostgresResult rows;
  if (!Ask(kExpire, PostgresParameters().Number(days), &rows)) return false;
  for (int row = 0; row < rows.Rows(); row++) expired->push_back(rows.Number(row, 0));
  return true;
}

bool PostgresStore::Year(std::optional<int32_t>* year) {
  constexpr char kYear[] =
      R"(SELECT coalesce((SELECT value FROM settings WHERE name = 'year'),
                         (SELECT year::text FROM forms ORDER BY opened DESC LIMIT 1)))";
  PostgresResult row;
  if (!Ask(kYear, {}, &row)) return false;
  const std::string text = row.Bytes(0, 0);
  int64_t number = 0;
  const bool is_number = std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
  // Session infos store the year as 32 bits without sign.
  if (is_number) *year = static_cast<int32_t>(static_cast<uint32_t>(number));
  return true;
}

bool PostgresStore::KeepYear(int32_t year) {
  constexpr char kKeep[] =
      "INSERT INTO settings VALUES ('year', $1::text) ON CONFLICT (name) DO UPDATE SET value = excluded.value";
  PostgresResult done;
  return Ask(kKeep, PostgresParameters().Text(std::to_string(year)), &done);
}

// --- lists ---

bool PostgresStore::StateOf(const std::string& code, FormState* state) {
  constexpr char kState[] =
      "SELECT (SELECT received FROM submissions WHERE code = $1::bytea ORDER BY id DESC LIMIT 1), "
      "(SELECT received FROM rejected WHERE code = $1::bytea ORDER BY id DESC LIMIT 1)";
  const uint64_t news = News(PostgresListener::kStates);
  {
    const std::lock_guard lock(mutex_);
    if (news == 0 || states_.news != news || Clock::now() > states_.until) {
      states_ = {news, Clock::now() + kLongestKept, {}};
    }
    const auto kept = states_.states.find(code);
    if (kept != states_.states.end()) {
      *state = kept->second;
      return true;
    }
  }
  PostgresResult row;
  if (!Ask(kState, PostgresParameters().Bytes(code), &row)) return false;
  *state = {row.Bytes(0, 0), row.Bytes(0, 1)};
  const std::lock_guard lock(mutex_);
  if (news != 0 && states_.news == news) states_.states[code] = *state;
  return true;
}

bool PostgresStore::ReadRubrics(Rubrics* rubrics) {
  const uint64_t news = News(PostgresListener::kRubrics);
  {
    const std::lock_guard lock(mutex_);
    if (news != 0 && rubrics_.news == news && Clock::now() < rubrics_.until) {
      *rubrics = rubrics_.rubrics;
      return true;
    }
  }
  PostgresResult rows;
  if (!Ask("SELECT rubric, field, value FROM rubrics", {}, &rows)) return false;
  for (int row = 0; row < rows.Rows(); row++) (*rubrics)[rows.Bytes(row, 0)][rows.Bytes(row, 1)] = rows.Bytes(row, 2);
  const std::lock_guard lock(mutex_);
  rubrics_ = {news, Clock::now() + kLongestKept, *rubrics};
  return true;
}

bool PostgresStore::SetRubric(const std::string& rubric, const std::string& field, const std::string& value) {
  constexpr char kSet[] =
      "WITH told AS (SELECT pg_notify('zforms', 'rubrics')) INSERT INTO rubrics "
      "SELECT $1::bytea, $2::bytea, $3::bytea FROM told "
      "ON CONFLICT (rubric, field) DO UPDATE SET value = excluded.value";
  PostgresResult done;
  return Ask(kSet, PostgresParameters().Bytes(rubric).Bytes(field).Bytes(value), &done);
}

}  // namespace zforms::tool
