#include "tool/postgres/postgres_connection.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "tool/postgres/postgres_address.h"
#include "zforms/platform/base/ascii.h"

namespace zforms::tool {
namespace {

// Values of libpq's enumerations.
constexpr int kConnectionOk = 0;
constexpr int kPollingReading = 1;
constexpr int kPollingOk = 3;
constexpr int kCommandOk = 1;
constexpr int kTuplesOk = 2;
constexpr int kSingleTuple = 9;
constexpr int kDefaultVerbosity = 1;
constexpr int kVerbose = 2;
constexpr int kDiagState = 'C';
constexpr int kDiagMessage = 'M';
constexpr int kDiagHint = 'H';
constexpr int kDiagPosition = 'P';
constexpr int kText = 0;
constexpr int kBinary = 1;
// The number of the type bytea. It is the same in every database.
constexpr uint32_t kBytea = 17;

int MillisecondsTo(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
  return static_cast<int>(std::clamp<int64_t>(left, 0, 60'000));
}

void Ignore(void*, const char*) {}

// Joins the lines of a text to one line.
std::string OneLine(std::string_view text) {
  std::string line;
  for (const char c : text) line += c == '\n' || c == '\t' ? ' ' : c;
  while (line.ends_with(' ')) line.pop_back();
  return line;
}

bool IsState(std::string_view text) {
  return text.size() == 5 &&
         std::all_of(text.begin(), text.end(), [](char c) { return IsDigitASCII(c) || (c >= 'A' && c <= 'Z'); });
}

// Makes one line of a verbose message, "...: FATAL:  28P01: what is wrong\nLOCATION:  ...", and removes the error codes
// and the place in the server's sources. Returns the last code, empty when there is none.
std::string TakeState(std::string_view verbose, std::string* message) {
  constexpr std::string_view kMark = ":  ";
  constexpr size_t kCode = 5;
  std::string state;
  while (!verbose.empty()) {
    std::string line(verbose.substr(0, verbose.find('\n')));
    verbose.remove_prefix(std::min(verbose.size(), line.size() + 1));
    if (line.starts_with("LOCATION:")) continue;
    for (size_t at = line.find(kMark); at != std::string::npos; at = line.find(kMark, at + 1)) {
      const std::string_view code = std::string_view(line).substr(at + kMark.size(), kCode);
      if (!IsState(code) || line.compare(at + kMark.size() + kCode, 2, ": ") != 0) continue;
      state = code;
      line.erase(at + kMark.size(), kCode + 2);
    }
    *message += line + "\n";
  }
  *message = OneLine(*message);
  return state;
}

void AppendBigEndian(std::string* bytes, uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) *bytes += static_cast<char>(number >> shift);
}

uint64_t BigEndian(std::string_view bytes) {
  uint64_t number = 0;
  for (const char c : bytes) number = number << 8 | static_cast<uint8_t>(c);
  return number;
}

}  // namespace

// --- parameters ---

PostgresParameters& PostgresParameters::Add(std::string value, int format) {
  values_.push_back(std::move(value));
  formats_.push_back(format);
  return *this;
}

PostgresParameters& PostgresParameters::Number(uint64_t number) {
  return Add(std::to_string(static_cast<int64_t>(number)), kText);
}

PostgresParameters& PostgresParameters::Text(std::string_view text) { return Add(std::string(text), kText); }

PostgresParameters& PostgresParameters::Bytes(std::string_view bytes) { return Add(std::string(bytes), kBinary); }

// The binary format of an array: the number of dimensions, whether it has nulls, the type of its items; the size and
// the first index of each dimension; each item after its length.
PostgresParameters& PostgresParameters::ByteArray(const std::vector<std::string_view>& items) {
  std::string bytes;
  for (const uint32_t number : {items.empty() ? 0U : 1U, 0U, kBytea}) AppendBigEndian(&bytes, number);
  if (!items.empty()) {
    AppendBigEndian(&bytes, static_cast<uint32_t>(items.size()));
    AppendBigEndian(&bytes, 1);
  }
  for (const std::string_view item : items) {
    AppendBigEndian(&bytes, static_cast<uint32_t>(item.size()));
    bytes += item;
  }
  return Add(std::move(bytes), kBinary);
}

// --- results ---

PostgresResult::PostgresResult(PostgresResult&& other) noexcept
    : pq_(other.pq_), result_(std::exchange(other.result_, nullptr)) {}

PostgresResult& PostgresResult::operator=(PostgresResult&& other) noexcept {
  std::swap(pq_, other.pq_);
  std::swap(result_, other.result_);
  return *this;
}

PostgresResult::~PostgresResult() {
  if (result_ != nullptr) pq_->clear(result_);
}

bool MayPass(std::string_view state) {
  // A query with a parameter that has no value, such as $1, fails with 08P01. Another try would fail too.
  if (state == "08P01") return false;
  constexpr std::string_view kClasses[] = {"08", "40", "53", "57", "58", "55P03", "25P03", "25P04"};
  return std::any_of(std::begin(kClasses), std::end(kClasses), [&](auto start) { return state.starts_with(start); });
}

bool PostgresResult::IsDone() const {
  if (result_ == nullptr) return false;
  const int status = pq_->result_status(result_);
  return status == kCommandOk || status == kTuplesOk;
}

std::string PostgresResult::State() const { return Field(kDiagState); }

std::string PostgresResult::Field(int which) const {
  const char* const text = result_ == nullptr ? nullptr : pq_->result_error_field(result_, which);
  return text == nullptr ? "" : text;
}

// Leaves out the detail of the message, because it contains values of rows.
std::string PostgresResult::Error() const {
  const std::string hint = Field(kDiagHint);
  return OneLine(Field(kDiagMessage)) + (hint.empty() ? "" : " (" + OneLine(hint) + ")");
}

size_t PostgresResult::Position() const { return std::strtoul(Field(kDiagPosition).c_str(), nullptr, 10); }

bool PostgresResult::IsTable() const {
  const int status = result_ == nullptr ? kCommandOk : pq_->result_status(result_);
  return status == kTuplesOk || status == kSingleTuple;
}

int PostgresResult::Rows() const { return result_ == nullptr ? 0 : pq_->ntuples(result_); }

int PostgresResult::Columns() const { return pq_->nfields(result_); }

std::string PostgresResult::NameOf(int column) const { return pq_->fname(result_, column); }

uint32_t PostgresResult::TypeOf(int column) const { return pq_->ftype(result_, column); }

bool PostgresResult::IsNull(int row, int column) const { return pq_->getisnull(result_, row, column) == 1; }

std::string_view PostgresResult::View(int row, int column) const {
  return {pq_->getvalue(result_, row, column), static_cast<size_t>(pq_->getlength(result_, row, column))};
}

uint64_t PostgresResult::Number(int row, int column) const { return BigEndian(View(row, column)); }

std::string PostgresResult::Bytes(int row, int column) const { return std::string(View(row, column)); }

std::vector<std::string> PostgresResult::ByteArray(int row, int column) const {
  constexpr size_t kHeader = 20;
  std::vector<std::string> items;
  std::string_view bytes = View(row, column);
  if (bytes.size() < kHeader) return items;
  bytes.remove_prefix(kHeader);
  while (bytes.size() >= 4) {
    const auto length = static_cast<size_t>(BigEndian(bytes.substr(0, 4)));
    items.emplace_back(bytes.substr(4, length));
    bytes.remove_prefix(std::min(bytes.size(), 4 + length));
  }
  return items;
}

// --- connections ---

std::unique_ptr<PostgresConnection> PostgresConnection::Open(const Libpq& pq, const std::string& address,
                                                             Deadline deadline, std::string* error, bool* is_trouble) {
  // Ignores the message of libpq about an invalid address, because it may show a part of a password.
  char* fault = nullptr;
  void* const options = IsUnambiguous(address) ? pq.conninfo_parse(address.c_str(), &fault) : nullptr;
  if (fault != nullptr) pq.freemem(fault);
  if (options == nullptr) {
    *error =
        "the address of the database is not valid; \"@\", \"/\", \":\" and \"%\" in a user, password or path are "
        "written as %40, %2F, %3A and %25";
    return nullptr;
  }
  pq.conninfo_free(options);
  // The keepalive values come before the address, so that the address can override them.
  const char* const keywords[] = {"keepalives_idle",
                                  "keepalives_interval",
                                  "keepalives_count",
                                  "dbname",
                                  "client_encoding",
                                  "fallback_application_name",
                                  nullptr};
  const char* const values[] = {"30", "10", "3", address.c_str(), "UTF8", "zforms", nullptr};
  std::unique_ptr<PostgresConnection> made(new PostgresConnection(&pq, pq.connect_start(keywords, values, 1)));
  if (made->connection_ == nullptr || !made->Connect(deadline)) {
    const bool may_pass = made->connection_ == nullptr || made->ExplainFailure(error);
    if (made->connection_ == nullptr) *error = "not enough memory for a connection";
    if (is_trouble != nullptr) *is_trouble = may_pass;
    return nullptr;
  }
  return made;
}

// Sets why no connection was made, and returns whether another try may succeed.
bool PostgresConnection::ExplainFailure(std::string* error) const {
  *error = timeout_;
  if (!timeout_.empty()) return true;
  const std::string state = TakeState(pq_->error_message(connection_), error);
  if (!state.empty()) return MayPass(state);
  // A message without these words means that libpq refused an option before it tried to connect.
  const bool has_tried = error->starts_with("connection to server") || error->starts_with("could not");
  return pq_->needs_password(connection_) == 0 && has_tried;
}

PostgresConnection::~PostgresConnection() { pq_->finish(connection_); }

bool PostgresConnection::Connect(Deadline deadline) {
  pq_->set_notice_processor(connection_, Ignore, nullptr);
  // A failure to connect has no result, which would contain the error code. So TakeState takes the code from the
  // message, which contains it only when messages are verbose.
  pq_->set_error_verbosity(connection_, kVerbose);
  if (pq_->status(connection_) == 1) return false;
  // Asks for the socket each time, because it may change when libpq tries the next address of the host.
  for (int state = 2; state != kPollingOk; state = pq_->connect_poll(connection_)) {
    if (state == 0) return false;
    const int left = MillisecondsTo(deadline);
    if (left == 0) {
      timeout_ = "the database does not answer";
      return false;
    }
    WaitForSocket(pq_->socket(connection_), state != kPollingReading, left);
  }
  pq_->set_nonblocking(connection_, 1);
  pq_->set_error_verbosity(connection_, kDefaultVerbosity);
  return pq_->status(connection_) == kConnectionOk;
}

std::string PostgresConnection::Error() const {
  return timeout_.empty() ? OneLine(pq_->error_message(connection_)) : timeout_;
}

// Sends pending data and reads replies, until a result is complete. False when the connection is lost.
bool PostgresConnection::Pump(Deadline deadline) {
  for (;;) {
    const int unsent = pq_->flush(connection_);
    // Uses the data received so far before it reads more, so that rows do not pile up.
    if (unsent == 0 && pq_->is_busy(connection_) == 0) return true;
    if (unsent < 0 || pq_->consume_input(connection_) == 0) return false;
    if (unsent == 0 && pq_->is_busy(connection_) == 0) return true;
    const int left = MillisecondsTo(deadline);
    if (left == 0) {
      timeout_ = "the database does not answer";
      return false;
    }
    WaitForSocket(pq_->socket(connection_), unsent == 1, left);
  }
}

// Waits for the result of a statement. The database sends its rows before the commit, and reports that it is ready for
// the next statement after the commit. If the connection ends between them, the statement may be undone, so the result
// is used only when the database is ready.
PostgresResult PostgresConnection::Await(bool is_sent, Deadline deadline) {
  PostgresResult last;
  bool is_ready = false;
  bool failed = false;
  while (is_sent && !is_ready && Pump(deadline)) {
    PostgresResult next(pq_, pq_->get_result(connection_));
    is_ready = next.IsEnd();
    // Keeps the first failure of several statements.
    if (is_ready || failed) continue;
    last = std::move(next);
    failed = !last.IsDone();
  }
  return NoteLoss(last, is_ready) ? PostgresResult() : std::move(last);
}

// Returns whether the connection is lost, and sets `is_lost_` and the message. The failure in the last result may show
// that, too.
bool PostgresConnection::NoteLoss(const PostgresResult& last, bool is_ready) {
  // 57P01 to 57P03: the database shuts down or starts. 08: failure of the connection. 25006: the database is read-only,
  // since it has become a standby.
  const std::string state = last.State();
  is_lost_ = !is_ready || pq_->status(connection_) != kConnectionOk || state.starts_with("57P0") ||
             state.starts_with("08") || state == "25006";
  if (!is_lost_) return false;
  if (timeout_.empty()) timeout_ = last.Error().empty() ? OneLine(pq_->error_message(connection_)) : last.Error();
  if (timeout_.empty()) timeout_ = "the connection to the database was lost";
  return true;
}

bool PostgresConnection::StartRows(const std::string& sql) {
  return pq_->send_query_params(connection_, sql.c_str(), 0, nullptr, nullptr, nullptr, nullptr, kText) == 1 &&
         pq_->set_single_row_mode(connection_) == 1;
}

PostgresConnection::Step PostgresConnection::NextRow(Deadline deadline, PostgresResult* row) {
  const bool has_come = Pump(deadline);
  if (!has_come && !timeout_.empty()) {
    timeout_.clear();
    return Step::kNotYet;
  }
  *row = has_come ? PostgresResult(pq_, pq_->get_result(connection_)) : PostgresResult();
  if (row->IsTable()) return row->Rows() > 0 ? Step::kRow : Step::kEnd;
  NoteLoss(*row, has_come);
  return Step::kError;
}

PostgresResult PostgresConnection::Run(const std::string& sql, Deadline deadline) {
  return Await(pq_->send_query(connection_, sql.c_str()) == 1, deadline);
}

// Prepares the statement at its first use, and returns its name; empty on failure. Statements are constants of the
// program, so the address of the text is the name.
std::string PostgresConnection::NameOf(const char* sql, int parameters, Deadline deadline) {
  const std::string name = "s" + std::to_string(reinterpret_cast<uintptr_t>(sql));
  if (prepared_.contains(sql)) return name;
  const bool is_sent = pq_->send_prepare(connection_, name.c_str(), sql, parameters, nullptr) == 1;
  if (!Await(is_sent, deadline).IsDone()) return {};
  prepared_.insert(sql);
  return name;
}

PostgresResult PostgresConnection::Run(const char* sql, const PostgresParameters& parameters, Deadline deadline,
                                       bool is_kept) {
  std::vector<const char*> values;
  std::vector<int> lengths;
  for (const std::string& value : parameters.values_) {
    values.push_back(value.c_str());
    lengths.push_back(static_cast<int>(value.size()));
  }
  const int count = static_cast<int>(values.size());
  const int* const formats = parameters.formats_.data();
  const std::string name = is_kept ? NameOf(sql, count, deadline) : std::string();
  if (is_lost_) return {};
  // A statement that cannot be prepared is run directly, to get the message of its failure.
  if (name.empty()) {
    return Await(
        pq_->send_query_params(connection_, sql, count, nullptr, values.data(), lengths.data(), formats, kBinary) == 1,
        deadline);
  }
  return Await(
      pq_->send_query_prepared(connection_, name.c_str(), count, values.data(), lengths.data(), formats, kBinary) == 1,
      deadline);
}

// An idle connection has nothing to read, unless the database has ended the session.
bool PostgresConnection::IsAlive() const { return !WaitForSocket(pq_->socket(connection_), false, 0); }

bool PostgresConnection::ReadNotifications(int milliseconds, std::vector<std::string>* payloads) {
  WaitForSocket(pq_->socket(connection_), false, milliseconds);
  is_lost_ = pq_->consume_input(connection_) == 0 || pq_->status(connection_) != kConnectionOk;
  while (PGnotify* const one = pq_->notifies(connection_)) {
    payloads->emplace_back(one->payload);
    pq_->freemem(one);
  }
  return !is_lost_;
}

}  // namespace zforms::tool
