#pragma once

// A server of forms for readers on this machine, in the C interface: see zforms/zforms.h, and docs/server.md for the
// addresses, the modes and the security of the server.

#include "zforms/zforms_types.h"

// NOLINTBEGIN(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct zforms_server zforms_server;
typedef struct zforms_submission zforms_submission;

// Makes a server for the forms in a folder. Each form is a file CODE.pdf, and is served below
// http://localhost:PORT/APP/. With port 0, the start chooses a free port. `app` is a short name of letters and digits.
// Null when there is no memory, or an argument is missing.
ZFORMS_API zforms_server* zforms_server_new(const char* folder, const char* app, uint16_t port);
// Stops the server, then deletes the handle.
ZFORMS_API void zforms_server_free(zforms_server* server);

// Called for each valid submission. A submission is valid when this server opened the form, and no newer copy of the
// form was submitted before. Return a value other than 0 when the submission is stored: the reader then gets the form
// back, read-only. After 0 the reader gets an error and can submit again. The threads of the server call the callback
// one at a time, and answer the reader when it returns. It must not call the library with the server's handle. The
// submission is valid until the callback returns.
typedef int (*zforms_submission_callback)(void* user, const zforms_submission* submission);

// Set both callbacks before the start. Messages say which requests were refused, and with which status or reason.
ZFORMS_API zforms_status zforms_server_on_submission(zforms_server* server, zforms_submission_callback callback,
                                                     void* user);
ZFORMS_API zforms_status zforms_server_on_message(zforms_server* server, zforms_message_callback callback, void* user);

// Starts the server and its threads; needs a callback for submissions. ZFORMS_ERROR_SERVER when the port is not free.
ZFORMS_API zforms_status zforms_server_start(zforms_server* server);
// The port of the running server.
ZFORMS_API zforms_status zforms_server_port(zforms_server* server, uint16_t* port);
// Waits for the requests that are being answered, and ends the threads. The server can be started again.
ZFORMS_API zforms_status zforms_server_stop(zforms_server* server);

typedef enum zforms_opened {
  ZFORMS_OPENED_PDF = 0,  // the form itself; its buttons send to the server
  ZFORMS_OPENED_XFDF = 1  // an XFDF document, from which a reader opens the form on the server
} zforms_opened;

// Opens the form CODE.pdf, so that a user can submit it. `data` (XFDF, FDF, one JSON object, or CSV with one row) is
// filled in and may be null. Give the result to the reader. The server keeps the result until a call passes a buffer
// that is large enough; each further call opens the form again. ZFORMS_ERROR_NOT_FOUND when there is no such form.
ZFORMS_API zforms_status zforms_server_open(zforms_server* server, const char* code, const void* data, size_t data_size,
                                            zforms_opened what, void* buffer, size_t size, size_t* length);

// The parts of a submission: the code of the form; its fields that have a value, by number from 0; and the whole
// submission as XFDF. Several values of a field are the lines of one text.
ZFORMS_API zforms_status zforms_submission_code(const zforms_submission* submission, char* buffer, size_t size,
                                                size_t* length);
ZFORMS_API zforms_status zforms_submission_count(const zforms_submission* submission, size_t* count);
ZFORMS_API zforms_status zforms_submission_name(const zforms_submission* submission, size_t n, char* buffer,
                                                size_t size, size_t* length);
ZFORMS_API zforms_status zforms_submission_value(const zforms_submission* submission, size_t n, char* buffer,
                                                 size_t size, size_t* length);
ZFORMS_API zforms_status zforms_submission_xfdf(const zforms_submission* submission, char* buffer, size_t size,
                                                size_t* length);

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
