#pragma once

// Batches in the C interface, which fill a form once for each row of a table: see zforms/zforms.h.
//
//   zforms_batch* batch = zforms_batch_new(form);
//   zforms_batch_open_file(batch, "people.csv");
//   zforms_batch_run(batch, "filled", "{id}-{name}.pdf", 0, NULL, NULL);
//   zforms_batch_free(batch);

#include "zforms/zforms_form.h"

// NOLINTBEGIN(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct zforms_batch zforms_batch;

// Makes a batch that fills copies of the form as it is now; the form may be changed or freed later. Messages are passed
// to the callback of the form. Null, with the reason in zforms_last_error(form), when the form cannot be filled.
ZFORMS_API zforms_batch* zforms_batch_new(zforms_form* form);
ZFORMS_API void zforms_batch_free(zforms_batch* batch);

// Open a table: CSV, or JSON with one object on each line. The bytes are copied. A column fills the field that has its
// name; a message lists each column that fills no field.
ZFORMS_API zforms_status zforms_batch_open_file(zforms_batch* batch, const char* path);
ZFORMS_API zforms_status zforms_batch_open_bytes(zforms_batch* batch, const void* data, size_t size);

// Reads the next row of the table and fills the form with it. ZFORMS_END after the last row. ZFORMS_ERROR_DATA when a
// field does not take its value, or when the row is malformed: the row is not filled, and the next call reads the next
// row. Also ZFORMS_ERROR_DATA, once, when the table cannot be read further: `number` and `line` keep their values, and
// the next call returns ZFORMS_END. `number` (from 1) and `line` (in the table, from 1) may be null.
ZFORMS_API zforms_status zforms_batch_next(zforms_batch* batch, uint64_t* number, uint64_t* line);
// Fill the form without a table: set the values of a row one by one, then fill the form with the values that were set
// since the last call of zforms_batch_fill.
ZFORMS_API zforms_status zforms_batch_set(zforms_batch* batch, const char* name, const char* value);
ZFORMS_API zforms_status zforms_batch_set_values(zforms_batch* batch, const char* name, const char* const* values,
                                                 size_t count);
ZFORMS_API zforms_status zforms_batch_fill(zforms_batch* batch);

// The value, or the first of several values, of a column of the row that was filled last. ZFORMS_ERROR_NOT_FOUND when
// the row has no such column.
ZFORMS_API zforms_status zforms_batch_cell(zforms_batch* batch, const char* column, char* buffer, size_t size,
                                           size_t* length);
// The form filled with the last row, as the bytes of a PDF file. No zero byte is added at the end.
ZFORMS_API zforms_status zforms_batch_bytes(zforms_batch* batch, void* buffer, size_t size, size_t* length);

enum { ZFORMS_OVERWRITE = 1 };

// Writes the form filled with the last row into a folder, which must exist. `pattern` makes the file name from the
// values of the row, such as "{id}-{name}.pdf"; "{row}" is the number of the row. Characters that file systems refuse
// in names become "_". ZFORMS_ERROR_DATA when another row of the batch has the same file name, or when the file exists
// and `flags` does not contain ZFORMS_OVERWRITE. zforms_batch_path then returns the path of the file, or an empty text
// when none was written.
ZFORMS_API zforms_status zforms_batch_write(zforms_batch* batch, const char* folder, const char* pattern,
                                            unsigned flags);
ZFORMS_API zforms_status zforms_batch_path(zforms_batch* batch, char* buffer, size_t size, size_t* length);

// A row of zforms_batch_run, valid until the callback returns.
typedef struct zforms_row {
  uint64_t number;       // from 1
  uint64_t line;         // the line in the table, from 1
  zforms_status status;  // ZFORMS_OK when the file was written
  const char* path;      // the path of the file; empty when none was written
  const char* error;     // why the file was not written; empty when it was written
  double share;          // how much of the table has been read, 0 to 1; 0 when its size is unknown
} zforms_row;

// Called after each row. `user` is the pointer that was passed with the callback. A result other than 0 stops the run.
typedef int (*zforms_row_callback)(void* user, const zforms_row* row);

// Fills and writes the form for all remaining rows of the table. A row that cannot be filled does not stop the run.
// ZFORMS_ERROR_DATA when the table cannot be read to its end, or when a row was not written; ZFORMS_ERROR_STOPPED when
// the callback stopped the run.
ZFORMS_API zforms_status zforms_batch_run(zforms_batch* batch, const char* folder, const char* pattern, unsigned flags,
                                          zforms_row_callback callback, void* user);

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
