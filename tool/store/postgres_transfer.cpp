#include <map>
#include <utility>

#include "tool/store/postgres_store.h"
#include "zforms/platform/text/letter_case.h"

// Reading of submissions, and copying of whole stores.
namespace zforms::tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kWait(10);
constexpr std::chrono::minutes kLoadTime(30);
// How many rows are read at a time: few when a row may have megabytes.
constexpr int kBriefRows = 100;
constexpr int kWholeRows = 8;
// The length in bytes above which texts are left out of brief lists.
constexpr char kLongText[] = "524288";
// Converts the clock's ticks, 100 ns each since 1601, to seconds since 1970.
constexpr char kOpened[] = "to_timestamp($1::bigint / 10000000.0 - 11644473600)";

std::string CursorOf(const SubmissionFilter& filter) {
  const std::string table = filter.rejected ? "rejected" : "submissions";
  const std::string shortened =
      std::string("CASE WHEN length(value) > ") + kLongText + " THEN ''::bytea ELSE value END";
  const auto array_of = [](const std::string& column) {
    return "ARRAY(SELECT " + column + " FROM fields WHERE submission = one.id ORDER BY name)";
  };
  std::string sql =
      "DECLARE found NO SCROLL CURSOR FOR SELECT id, received, code, \"transaction\", count, folder, year, ";
  sql += std::string("url, ") + (filter.brief ? "''::bytea" : "xfdf") + ", ";
  sql += filter.rejected ? "'{}'::bytea[], '{}'::bytea[]"
                         : array_of("name") + ", " + array_of(filter.brief ? shortened : "value");
  sql += " FROM " + table + " AS one WHERE ($1::bytea = ''::bytea OR code = $1::bytea) AND ";
  sql += "($2::bigint = 0 OR id = $2::bigint) AND ($3::bigint = 0 OR id < $3::bigint)";
  if (filter.latest) sql += " AND id IN (SELECT max(id) FROM " + table + " GROUP BY \"transaction\")";
  return sql + (filter.newest_first ? " ORDER BY id DESC" : " ORDER BY id");
}

Submission SubmissionOf(const PostgresResult& rows, int row) {
  Submission one{static_cast<int64_t>(rows.Number(row, 0)),
                 rows.Bytes(row, 1),
                 rows.Bytes(row, 2),
                 rows.Number(row, 3),
                 static_cast<uint32_t>(rows.Number(row, 4)),
                 rows.Number(row, 5),
                 static_cast<uint32_t>(rows.Number(row, 6)),
                 rows.Bytes(row, 7),
                 rows.Bytes(row, 8),
                 {}};
  std::vector<std::string> names = rows.ByteArray(row, 9);
  std::vector<std::string> values = rows.ByteArray(row, 10);
  for (size_t i = 0; i < names.size() && i < values.size(); i++) {
    one.fields.emplace_back(std::move(names[i]), std::move(values[i]));
  }
  return one;
}

// True when a value or the code of the submission contains the text `wanted`, which is case-folded already. This is not
// done by the database, because its rules for letter case depend on its installation.
bool HasText(const Submission& one, std::string_view wanted, bool rejected) {
  constexpr size_t kSearched = size_t{512} << 10;
  const auto holds = [wanted](std::string_view text) {
    return text.size() <= kSearched && FoldCase(text).View().find(wanted) != std::string_view::npos;
  };
  if (wanted.empty() || holds(one.code) || (rejected && holds(one.xfdf))) return true;
  for (const auto& [name, value] : one.fields) {
    if (holds(value)) return true;
  }
  return false;
}

}  // namespace

// Fills the store within the open transaction of a connection.
class PostgresStore::Sink : public StoreSink {
 public:
  explicit Sink(PostgresConnection* connection) : connection_(connection) {}

  bool AddForm(const OpenedForm& form) override {
    static const std::string sql = std::string("INSERT INTO forms VALUES ($1::bigint, $2::bytea, $3::text, ") +
                                   "$4::bigint, $5::bigint, $6::bigint, " + kOpened + ")";
    PostgresParameters values;
    values.Number(form.transaction).Bytes(form.code).Text(form.token).Number(form.folder).Number(form.year);
    return Run(sql.c_str(), values.Number(form.expected));
  }
  bool AddSubmission(const Submission& one, bool accepted) override {
    constexpr char kAccepted[] =
        R"(WITH added AS (
             INSERT INTO submissions(id, received, code, "transaction", count, folder, year, url, xfdf) VALUES
             ($1::bigint, $2::text, $3::bytea, $4::bigint, $5::bigint, $6::bigint, $7::bigint, $8::bytea, $9::bytea))
           INSERT INTO fields
           SELECT $1::bigint, name, value FROM unnest($10::bytea[], $11::bytea[]) AS field(name, value))";
    constexpr char kRejected[] =
        R"(INSERT INTO rejected(id, received, code, "transaction", count, folder, year, url, xfdf) VALUES
           ($1::bigint, $2::text, $3::bytea, $4::bigint, $5::bigint, $6::bigint, $7::bigint, $8::bytea, $9::bytea))";
    PostgresParameters values;
    values.Number(static_cast<uint64_t>(one.id)).Text(one.received).Bytes(one.code).Number(one.transaction);
    values.Number(one.count).Number(one.folder).Number(one.year).Bytes(one.url).Bytes(one.xfdf);
    if (!accepted) return Run(kRejected, values);
    std::vector<std::string_view> names, texts;
    for (const auto& [name, value] : one.fields) {
      names.push_back(name);
      texts.push_back(value);
    }
    return Run(kAccepted, values.ByteArray(names).ByteArray(texts));
  }
  bool SetRubric(const std::string& rubric, const std::string& field, const std::string& value) override {
    return Run("INSERT INTO rubrics VALUES ($1::bytea, $2::bytea, $3::bytea)",
               PostgresParameters().Bytes(rubric).Bytes(field).Bytes(value));
  }
  bool KeepYear(int32_t year) override {
    return Run("INSERT INTO settings VALUES ('year', $1::text)", PostgresParameters().Text(std::to_string(year)));
  }
  const std::string& Failure() const { return failure_; }

 private:
  bool Run(const char* sql, const PostgresParameters& values) {
    const PostgresResult result = connection_->Run(sql, values, Clock::now() + kLoadTime);
    if (!result.IsDone()) failure_ = connection_->IsLost() ? connection_->Error() : result.Error();
    return result.IsDone();
  }

  PostgresConnection* connection_;
  std::string failure_;
};

// Visits the submissions in the open transaction of the connection. Sets `visited` when any was visited.
bool PostgresStore::Visit(PostgresConnection& connection, const SubmissionFilter& filter,
                          const std::function<bool(const Submission&)>& visit, bool* visited) {
  PostgresParameters values;
  values.Bytes(filter.code).Number(static_cast<uint64_t>(filter.id)).Number(static_cast<uint64_t>(filter.before));
  PostgresResult rows = connection.Run(CursorOf(filter).c_str(), values, Clock::now() + kWait, false);
  const std::string fetch = "FETCH " + std::to_string(filter.brief ? kBriefRows : kWholeRows) + " FROM found";
  const std::string wanted = FoldCase(filter.search).ToString();
  bool goes_on = true;
  while (rows.IsDone() && goes_on) {
    rows = connection.Run(fetch.c_str(), {}, Clock::now() + kLoadTime, false);
    if (!rows.IsDone() || rows.Rows() == 0) break;
    for (int row = 0; row < rows.Rows() && goes_on; row++) {
      const Submission one = SubmissionOf(rows, row);
      if (!HasText(one, wanted, filter.rejected)) continue;
      *visited = true;
      goes_on = visit(one);
    }
  }
  if (!rows.IsDone()) return Fail(connection.IsLost() ? connection.Error() : rows.Error());
  return connection.Run(std::string("CLOSE found"), Clock::now() + kWait).IsDone();
}

bool PostgresStore::VisitSubmissions(const SubmissionFilter& filter,
                                     const std::function<bool(const Submission&)>& visit) {
  std::string error;
  bool visited = false;
  bool done = false;
  const auto work = [&](PostgresConnection& connection) {
    done = connection.Run(std::string("BEGIN READ ONLY"), Clock::now() + kWait).IsDone() &&
           Visit(connection, filter, visit, &visited);
    if (!connection.IsLost()) connection.Run(std::string("ROLLBACK"), Clock::now() + kWait);
    // Returns true after a visit, also on failure, so that the pool does not repeat the work: no submission may be
    // visited twice.
    return done || visited;
  };
  return (pool_.Run(Clock::now() + kWait, work, &error) && done) || Fail(error.empty() ? LastError() : error);
}

bool PostgresStore::LatestXFDF(uint64_t transaction, std::string* xfdf) {
  constexpr char kLatest[] =
      R"(SELECT xfdf FROM submissions WHERE "transaction" = $1::bigint ORDER BY count DESC LIMIT 1)";
  PostgresResult row;
  if (!Ask(kLatest, PostgresParameters().Number(transaction), &row)) return false;
  *xfdf = row.Rows() == 0 ? std::string() : row.Bytes(0, 0);
  return true;
}

// --- whole stores ---

bool PostgresStore::VisitAllBy(PostgresConnection& connection, StoreSink& sink) {
  const auto run = [&](const char* sql) {
    PostgresResult rows = connection.Run(sql, {}, Clock::now() + kLoadTime, false);
    if (!rows.IsDone()) Fail(connection.IsLost() ? connection.Error() : rows.Error());
    return rows;
  };
  const PostgresResult forms = run(R"(SELECT "transaction", code, token, folder, year, expected FROM forms)");
  for (int row = 0; row < forms.Rows(); row++) {
    const OpenedForm form{forms.Number(row, 0),
                          forms.Bytes(row, 1),
                          forms.Bytes(row, 2),
                          forms.Number(row, 3),
                          static_cast<uint32_t>(forms.Number(row, 4)),
                          forms.Number(row, 5)};
    if (!sink.AddForm(form)) return false;
  }
  bool added = true;
  bool visited = false;
  for (const bool accepted : {true, false}) {
    SubmissionFilter filter;
    filter.rejected = !accepted;
    const auto add = [&](const Submission& one) { return added = sink.AddSubmission(one, accepted); };
    if (!Visit(connection, filter, add, &visited) || !added) return false;
  }
  const PostgresResult rubrics = run("SELECT rubric, field, value FROM rubrics");
  for (int row = 0; row < rubrics.Rows(); row++) {
    if (!sink.SetRubric(rubrics.Bytes(row, 0), rubrics.Bytes(row, 1), rubrics.Bytes(row, 2))) return false;
  }
  const PostgresResult year = run("SELECT value::bigint FROM settings WHERE name = 'year'");
  const bool done = forms.IsDone() && rubrics.IsDone() && year.IsDone();
  return done && (year.Rows() == 0 || sink.KeepYear(static_cast<int32_t>(year.Number(0, 0))));
}

bool PostgresStore::VisitAll(StoreSink& sink) {
  std::string error;
  const std::unique_ptr<PostgresConnection> connection = pool_.Take(Clock::now() + kWait, &error);
  if (connection == nullptr) return Fail(error);
  Fail({});
  const std::string begin = "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY";
  // Leaves the transaction open: the connection is not used again.
  return connection->Run(begin, Clock::now() + kWait).IsDone() && VisitAllBy(*connection, sink);
}

bool PostgresStore::Load(const std::function<bool(StoreSink& sink)>& fill) {
  constexpr char kBegin[] =
      "BEGIN; LOCK TABLE forms, submissions, rejected, rubrics, settings IN ACCESS EXCLUSIVE MODE";
  constexpr char kAny[] =
      "SELECT EXISTS (SELECT 1 FROM forms) OR EXISTS (SELECT 1 FROM submissions) OR EXISTS (SELECT 1 FROM rejected) OR "
      "EXISTS (SELECT 1 FROM rubrics) OR EXISTS (SELECT 1 FROM settings)";
  // Makes the numbers of new submissions follow the copied ones.
  constexpr char kEnd[] =
      "SELECT setval(pg_get_serial_sequence('submissions', 'id'), coalesce(max(id), 0) + 1, false) FROM submissions; "
      "SELECT setval(pg_get_serial_sequence('rejected', 'id'), coalesce(max(id), 0) + 1, false) FROM rejected; COMMIT";
  std::string error;
  const std::unique_ptr<PostgresConnection> connection = pool_.Take(Clock::now() + kWait, &error);
  if (connection == nullptr) return Fail(error);
  const auto failure = [&](const PostgresResult& result) {
    return Fail(connection->IsLost() ? connection->Error() : result.Error());
  };
  const PostgresResult begun = connection->Run(std::string(kBegin), Clock::now() + kWait);
  if (!begun.IsDone()) return failure(begun);
  const PostgresResult any = connection->Run(kAny, {}, Clock::now() + kWait);
  if (!any.IsDone()) return failure(any);
  if (any.Number(0, 0) != 0) return Fail("the store is not empty: copy to a new or empty one");
  Sink sink(connection.get());
  if (!fill(sink)) return Fail(sink.Failure());
  const PostgresResult ended = connection->Run(std::string(kEnd), Clock::now() + kLoadTime);
  return ended.IsDone() || failure(ended);
}

}  // namespace zforms::tool
