#pragma once

#include <cstddef>
#include <string>

namespace zforms::tool {

// The two opaque types of libpq. The declarations below are those of its documented interface (PostgreSQL manual,
// "libpq - C Library"), which has been stable since its version 5; so building needs none of its headers.
struct PGconn;
struct PGresult;

// A notification, as PQnotifies returns it.
struct PGnotify {
  char* channel;
  int server_process;
  char* payload;
  PGnotify* next;
};

// The functions of libpq that zforms uses. The library is loaded when PostgreSQL is first used, so the program also
// runs on systems without it.
struct Libpq {
  // Null, with a reason that names the package, when the library is missing.
  static const Libpq* Load(std::string* error);

  PGconn* (*connect_start)(const char* const* keywords, const char* const* values, int expand_dbname);
  int (*connect_poll)(PGconn*);
  int (*status)(const PGconn*);
  int (*socket)(const PGconn*);
  char* (*error_message)(const PGconn*);
  void (*finish)(PGconn*);
  int (*set_nonblocking)(PGconn*, int);
  int (*set_error_verbosity)(PGconn*, int);
  int (*needs_password)(const PGconn*);
  void (*(*set_notice_processor)(PGconn*, void (*)(void*, const char*), void*))(void*, const char*);
  int (*send_query)(PGconn*, const char*);
  int (*send_query_params)(PGconn*, const char*, int count, const unsigned* types, const char* const* values,
                           const int* lengths, const int* formats, int result_format);
  int (*send_prepare)(PGconn*, const char* name, const char* sql, int count, const unsigned* types);
  int (*send_query_prepared)(PGconn*, const char* name, int count, const char* const* values, const int* lengths,
                             const int* formats, int result_format);
  int (*set_single_row_mode)(PGconn*);
  int (*flush)(PGconn*);
  int (*consume_input)(PGconn*);
  int (*is_busy)(PGconn*);
  PGresult* (*get_result)(PGconn*);
  PGnotify* (*notifies)(PGconn*);
  void (*freemem)(void*);
  int (*result_status)(const PGresult*);
  char* (*result_error_field)(const PGresult*, int);
  int (*ntuples)(const PGresult*);
  int (*nfields)(const PGresult*);
  char* (*fname)(const PGresult*, int column);
  unsigned (*ftype)(const PGresult*, int column);
  char* (*getvalue)(const PGresult*, int row, int column);
  int (*getlength)(const PGresult*, int row, int column);
  int (*getisnull)(const PGresult*, int row, int column);
  void (*clear)(PGresult*);
  void* (*conninfo_parse)(const char*, char** error);
  void (*conninfo_free)(void*);
};

// --- what differs between systems ---

// The library, which stays loaded; null, with a reason that names the package, when it is missing.
void* LoadLibpq(std::string* error);
// A function of the library; null when it has none with this name.
void* FindInLibrary(void* library, const char* function);
// Waits until the socket can be read, or with `or_write` read or written. False when the time ends first.
bool WaitForSocket(int socket, bool or_write, int milliseconds);

}  // namespace zforms::tool
