#pragma once

// The C interface of zforms (C99): open a form, list and set its fields, fill it from data, draw it, save and export
// it, fill it once for each row of a table, and serve forms to readers on this machine.
//
//   zforms_form* form = zforms_form_new();
//   if (zforms_open_file(form, "form.pdf", NULL, 0) != ZFORMS_OK ||
//       zforms_set_value(form, "person.name", "Zoé Łoś") != ZFORMS_OK ||
//       zforms_save_file(form, "filled.pdf", ZFORMS_UPDATE) != ZFORMS_OK) {
//     fprintf(stderr, "%s\n", zforms_last_error(form));
//   }
//   zforms_form_free(form);
//
// A handle is opaque; the function with `_free` deletes it. Texts and paths are UTF-8 and end with a zero byte. A
// function that returns a text writes it into a buffer of the caller: see ZFORMS_ERROR_LENGTH. No exception leaves the
// library, and nothing that it allocates has to be freed by the caller, apart from handles.
//
// A handle is used by one thread at a time; different handles are independent.

#include "zforms/zforms_batch.h"   // IWYU pragma: export
#include "zforms/zforms_form.h"    // IWYU pragma: export
#include "zforms/zforms_server.h"  // IWYU pragma: export
#include "zforms/zforms_types.h"   // IWYU pragma: export
#include "zforms/zforms_utf16.h"   // IWYU pragma: export
