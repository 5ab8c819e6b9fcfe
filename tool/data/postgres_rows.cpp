#include "tool/data/postgres_rows.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <utility>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/text/characters.h"

namespace zforms::tool {
namespace {

using Clock = std::chrono::steady_clock;

// How long connecting may take, and each statement before the query.
constexpr std::chrono::seconds kPatience(10);
// How long it takes at most to notice a request to stop.
constexpr std::chrono::milliseconds kPause(200);

// The numbers of types. They are the same in every database (pg_type.dat of PostgreSQL).
constexpr uint32_t kBoolean = 16;
constexpr uint32_t kBytea = 17;
constexpr uint32_t kCharacter = 1042;

// Turns off the time limits that a database sets by default: a query lasts until its last row is read, and rows are
// read only as fast as forms are filled. Keeps limits that the address sets. While a query runs, the server checks
// every 5 s that its client is still connected.
constexpr char kSession[] =
    "SELECT set_config(name, CASE name WHEN 'client_connection_check_interval' THEN '5s' ELSE '0' END, false)"
    " FROM pg_settings WHERE source <> 'client' AND name IN ('statement_timeout', 'transaction_timeout',"
    " 'idle_in_transaction_session_timeout', 'client_connection_check_interval')";

bool IsWordCharacter(char c) { return IsLetterASCII(c) || IsDigitASCII(c) || c == '_'; }

}  // namespace

bool OrdersRows(std::string_view query) {
  std::string_view before;
  for (size_t at = 0; at < query.size();) {
    size_t length = 0;
    while (at + length < query.size() && IsWordCharacter(query[at + length])) length++;
    const std::string_view word = query.substr(at, length);
    if (SameIgnoringASCIICase(before, "order") && SameIgnoringASCIICase(word, "by")) return true;
    if (length > 0) before = word;
    at += std::max<size_t>(length, 1);
  }
  return false;
}

PostgresRows::PostgresRows(std::unique_ptr<PostgresConnection> connection, const std::string& query,
                           std::function<bool()> stop)
    : RowReader(ByteSource()), connection_(std::move(connection)), query_(query), is_asked_to_stop_(std::move(stop)) {}

std::unique_ptr<PostgresRows> PostgresRows::Open(const std::string& address, const std::string& query,
                                                 std::function<bool()> is_asked_to_stop, Fault* fault) {
  const Libpq* const pq = Libpq::Load(&fault->what);
  if (pq == nullptr) return nullptr;
  auto connection = PostgresConnection::Open(*pq, address, Clock::now() + kPatience, &fault->what, &fault->is_trouble);
  if (connection == nullptr) return nullptr;
  std::unique_ptr<PostgresRows> rows(new PostgresRows(std::move(connection), query, std::move(is_asked_to_stop)));
  rows->Start();
  if (rows->failure_.empty()) return rows;
  *fault = {rows->failure_, rows->has_trouble_};
  return nullptr;
}

bool PostgresRows::Fail(const std::string& what, bool is_trouble) {
  failure_ = what;
  has_trouble_ = is_trouble;
  return false;
}

// For a query of several lines, the message also says in which line the server found the error.
bool PostgresRows::FailQuery() {
  const std::string state = next_.State();
  if (state.empty() && connection_->IsLost()) return Fail(connection_->Error(), true);
  // Without an error, the statement was one that returns no rows.
  if (state.empty()) return Fail("the query returns no rows: it must be a SELECT", false);
  size_t position = next_.Position();
  size_t line = 1;
  for (std::string_view rest = query_; position > 1 && !rest.empty(); position--) {
    if (rest.front() == '\n') line++;
    TakeCharacter(&rest);
  }
  const std::string where = line > 1 ? "line " + std::to_string(line) + " of the query: " : "";
  return Fail(where + next_.Error(), MayPass(state));
}

void PostgresRows::Start() {
  connection_->Run(std::string(kSession), Clock::now() + kPatience);
  const PostgresResult begun = connection_->Run("BEGIN READ ONLY", Clock::now() + kPatience);
  if (!begun.IsDone()) {
    Fail(begun.IsEnd() ? connection_->Error() : begun.Error(), true);
    return;
  }
  if (!connection_->StartRows(query_)) {
    Fail(connection_->Error(), true);
    return;
  }
  Fetch();
  if (failure_.empty()) ReadHeader();
}

// Gets the next row.
void PostgresRows::Fetch() {
  PostgresConnection::Step step = PostgresConnection::Step::kNotYet;
  while (step == PostgresConnection::Step::kNotYet) {
    if (is_asked_to_stop_()) {
      Fail("stopped by a signal", true);
      return;
    }
    step = connection_->NextRow(Clock::now() + kPause, &next_);
  }
  if (step == PostgresConnection::Step::kError) FailQuery();
}

bool PostgresRows::ReadHeader() {
  auto names = std::make_shared<std::vector<std::string>>();
  std::set<std::string> known;
  for (int i = 0; i < next_.Columns(); i++) {
    names->push_back(next_.NameOf(i));
    types_.push_back(next_.TypeOf(i));
    const std::string quoted = "\"" + names->back() + "\"";
    if (!known.insert(names->back()).second) return Fail("two columns are named " + quoted, false);
    if (types_.back() == kBytea) {
      return Fail("column " + quoted +
                      " has the type bytea, which is not text: leave it out or convert it, for example with encode()",
                  false);
    }
  }
  if (names->empty()) return Fail("the query has no columns", false);
  header_ = std::move(names);
  return true;
}

// Reads a value as PostgreSQL casts it to text: boolean as "true" or "false", character(n) without its padding.
void PostgresRows::ReadCell(int column, Row* row) const {
  Cell& cell = row->cells[static_cast<size_t>(column)];
  const std::string_view text = next_.View(0, column);
  const uint32_t type = types_[static_cast<size_t>(column)];
  cell.is_null = next_.IsNull(0, column);
  if (type == kBoolean && !cell.is_null) {
    cell.text = text == "t" ? "true" : "false";
    return;
  }
  cell.text = type == kCharacter ? text.substr(0, text.find_last_not_of(' ') + 1) : text;
}

bool PostgresRows::Next(Row* row) {
  row->fault.clear();
  if (count_ > 0 && next_.Rows() > 0) Fetch();
  if (!failure_.empty() || next_.Rows() == 0) return false;
  row->number = row->line = ++count_;
  row->names = header_;
  row->cells.resize(header_->size());
  size_t size = 0;
  for (int i = 0; i < next_.Columns(); i++) size += next_.View(0, i).size();
  if (size > kMaxRow) {
    row->fault = "the row is longer than 16 MB";
    return true;
  }
  for (int i = 0; i < next_.Columns(); i++) ReadCell(i, row);
  return true;
}

}  // namespace zforms::tool
