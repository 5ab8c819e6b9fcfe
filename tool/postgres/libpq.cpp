#include "tool/postgres/libpq.h"

#include <optional>

namespace zforms::tool {
namespace {

// Finds functions by name, and remembers the first one that is missing.
class Finder {
 public:
  explicit Finder(void* library) : library_(library) {}

  template <class Function>
  void Find(const char* name, Function* function) {
    *function = reinterpret_cast<Function>(FindInLibrary(library_, name));
    if (*function == nullptr && missing_.empty()) missing_ = name;
  }
  const std::string& Missing() const { return missing_; }

 private:
  void* library_;
  std::string missing_;
};

std::string FindAll(void* library, Libpq* pq) {
  Finder finder(library);
  finder.Find("PQconnectStartParams", &pq->connect_start);
  finder.Find("PQconnectPoll", &pq->connect_poll);
  finder.Find("PQstatus", &pq->status);
  finder.Find("PQsocket", &pq->socket);
  finder.Find("PQerrorMessage", &pq->error_message);
  finder.Find("PQfinish", &pq->finish);
  finder.Find("PQsetnonblocking", &pq->set_nonblocking);
  finder.Find("PQsetErrorVerbosity", &pq->set_error_verbosity);
  finder.Find("PQconnectionNeedsPassword", &pq->needs_password);
  finder.Find("PQsetNoticeProcessor", &pq->set_notice_processor);
  finder.Find("PQsendQuery", &pq->send_query);
  finder.Find("PQsendQueryParams", &pq->send_query_params);
  finder.Find("PQsendPrepare", &pq->send_prepare);
  finder.Find("PQsendQueryPrepared", &pq->send_query_prepared);
  finder.Find("PQsetSingleRowMode", &pq->set_single_row_mode);
  finder.Find("PQflush", &pq->flush);
  finder.Find("PQconsumeInput", &pq->consume_input);
  finder.Find("PQisBusy", &pq->is_busy);
  finder.Find("PQgetResult", &pq->get_result);
  finder.Find("PQnotifies", &pq->notifies);
  finder.Find("PQfreemem", &pq->freemem);
  finder.Find("PQresultStatus", &pq->result_status);
  finder.Find("PQresultErrorField", &pq->result_error_field);
  finder.Find("PQntuples", &pq->ntuples);
  finder.Find("PQnfields", &pq->nfields);
  finder.Find("PQfname", &pq->fname);
  finder.Find("PQftype", &pq->ftype);
  finder.Find("PQgetvalue", &pq->getvalue);
  finder.Find("PQgetlength", &pq->getlength);
  finder.Find("PQgetisnull", &pq->getisnull);
  finder.Find("PQclear", &pq->clear);
  finder.Find("PQconninfoParse", &pq->conninfo_parse);
  finder.Find("PQconninfoFree", &pq->conninfo_free);
  return finder.Missing();
}

}  // namespace

const Libpq* Libpq::Load(std::string* error) {
  struct Loaded {
    Libpq functions{};
    std::string error;
  };
  static const Loaded loaded = [] {
    Loaded result;
    void* const library = LoadLibpq(&result.error);
    if (library == nullptr) return result;
    const std::string missing = FindAll(library, &result.functions);
    if (!missing.empty()) {
      result.error = "the library libpq lacks the function " + missing + ": install a newer version of it";
    }
    return result;
  }();
  if (!loaded.error.empty()) *error = loaded.error;
  return loaded.error.empty() ? &loaded.functions : nullptr;
}

}  // namespace zforms::tool
