#pragma once

// Types and functions that all parts of the C interface use: see zforms/zforms.h.

#include <stddef.h>  // NOLINT(modernize-deprecated-headers): this is C
#include <stdint.h>  // NOLINT(modernize-deprecated-headers)

#include "zforms/platform/base/export.h"

// NOLINTBEGIN(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
#ifdef __cplusplus
extern "C" {
#endif

// The result of a function. zforms_last_error gives the reason of an error.
typedef enum zforms_status {
  ZFORMS_OK = 0,
  ZFORMS_END = 1,              // there is no further row
  ZFORMS_ERROR_ARGUMENT = 2,   // a null pointer, an unknown constant, or a call in the wrong order
  ZFORMS_ERROR_LENGTH = 3,     // the buffer is too short; its text is empty, and `length` says what is needed
  ZFORMS_ERROR_FORM = 4,       // the document cannot be read, changed or written
  ZFORMS_ERROR_DATA = 5,       // the data cannot be read, or a value is not accepted
  ZFORMS_ERROR_NOT_FOUND = 6,  // no such field, column or form
  ZFORMS_ERROR_SERVER = 7,     // the server cannot start
  ZFORMS_ERROR_STOPPED = 8,    // a callback asked to stop
  ZFORMS_ERROR_MEMORY = 9,     // there is not enough memory; the handle can only be freed
  ZFORMS_ERROR_INTERNAL = 10   // an internal error of the library; the handle can only be freed
} zforms_status;

// A function that reads a text takes `buffer`, the size of the buffer in bytes, and `length`. It writes the text and a
// zero byte into the buffer, and the length of the text in bytes, without the zero byte, to `length`, which may be
// null. Call it with a null buffer of size 0 to get only the length; the status is then ZFORMS_OK.

// The version of the loaded library: as a text, such as "0.1.0", and as a number, such as 100 for 0.1.0 (major * 10000
// + minor * 100 + patch).
ZFORMS_API const char* zforms_version(void);
ZFORMS_API int zforms_version_number(void);

// A short English text for a status, such as "the buffer is too short".
ZFORMS_API const char* zforms_status_text(zforms_status status);

// Why the last call with this handle failed; empty when it succeeded. Takes a handle of any kind. The text belongs to
// the handle and is valid until the next call with it.
ZFORMS_API const char* zforms_last_error(const void* handle);

typedef enum zforms_severity {
  ZFORMS_NOTE = 0,     // information; nothing is wrong
  ZFORMS_WARNING = 1,  // done, but not all of it or not as it should be
  ZFORMS_FAILURE = 2   // not done
} zforms_severity;

typedef enum zforms_about {
  ZFORMS_ABOUT_FORM = 0,
  ZFORMS_ABOUT_DATA = 1,   // the values to fill in; the text names the field
  ZFORMS_ABOUT_FILE = 2,   // something odd in the file of the form
  ZFORMS_ABOUT_SERVER = 3  // a request to the server
} zforms_about;

// A message, which is valid until the callback returns.
typedef struct zforms_message {
  zforms_severity severity;
  zforms_about about;
  const char* text;
} zforms_message;

// Called for each message. `user` is the pointer that was passed with the callback. The callback must not call the
// library with the handle for which it was set. A callback of a server is called by a thread of the server.
typedef void (*zforms_message_callback)(void* user, const zforms_message* message);

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
