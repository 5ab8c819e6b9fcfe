#pragma once

// Forms in the C interface: see zforms/zforms.h.

#include "zforms/zforms_types.h"

// NOLINTBEGIN(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct zforms_form zforms_form;

// A form without a document; null when there is no memory. Freeing a null pointer does nothing.
ZFORMS_API zforms_form* zforms_form_new(void);
ZFORMS_API void zforms_form_free(zforms_form* form);

// Sets who gets the messages from now on; null for nobody.
ZFORMS_API zforms_status zforms_on_message(zforms_form* form, zforms_message_callback callback, void* user);

// Flags of opening, which can be added.
enum {
  ZFORMS_RECOVER = 1,   // read a damaged file by searching it for objects; it is then saved as a new file
  ZFORMS_KEEP_XFA = 2,  // leave an XFA form that holds the former values
  ZFORMS_FORCE = 4,     // make the changes that signatures forbid; these are then no longer valid
  ZFORMS_DRAW = 8,      // draw the fields that are filled in, instead of leaving that to viewers
  // Leave the scripts of the form. Otherwise those that are calls of the common functions are followed: fields are
  // computed from what is filled in, numbers out of range are refused, values are drawn in their formats.
  ZFORMS_NO_CALCULATION = 16
};

// Adds a font file (TrueType or OpenType) for characters that the form's own fonts lack; it precedes those that the
// system lists. Call it before the form is opened.
ZFORMS_API zforms_status zforms_add_font(zforms_form* form, const char* path);

// Open a document: a file, or bytes, which are copied. `password` may be null. After a failure, what was open before
// stays. A document without a form opens as well.
ZFORMS_API zforms_status zforms_open_file(zforms_form* form, const char* path, const char* password, unsigned flags);
ZFORMS_API zforms_status zforms_open_bytes(zforms_form* form, const void* bytes, size_t size, const char* password,
                                           unsigned flags);

typedef enum zforms_kind {
  ZFORMS_TEXT = 0,
  ZFORMS_CHECK_BOX = 1,
  ZFORMS_RADIO_BUTTON = 2,  // all buttons of one group
  ZFORMS_PUSH_BUTTON = 3,
  ZFORMS_COMBO_BOX = 4,
  ZFORMS_LIST_BOX = 5,
  ZFORMS_SIGNATURE = 6,
  ZFORMS_NO_KIND = 7  // the field has no type
} zforms_kind;

typedef struct zforms_field {
  size_t size;  // set it to sizeof(zforms_field) before the call
  zforms_kind kind;
  uint32_t flags;       // "/Ff", ISO 32000-1 tables 221, 226, 228 and 230: 1 read-only, 2 required, 4 not exported
  uint32_t page;        // the first page that shows the field, from 1; 0 when none does
  uint32_t max_length;  // in characters; 0 for any
  int is_exported;      // whether a reader that submits the form sends the field
  size_t value_count;   // several in a list box
  size_t default_count;
  size_t option_count;  // what a choice offers
  size_t state_count;   // the states of a button, without "Off"
  size_t widget_count;  // the places on pages where it is shown
} zforms_field;

// Where a page shows a field, in points from the lower left corner of the page's own coordinates.
typedef struct zforms_widget {
  uint32_t page;  // from 1; 0 when no page lists the widget
  double left, bottom, right, top;
} zforms_widget;

// The texts of a field.
typedef enum zforms_field_part {
  ZFORMS_FIELD_NAME = 0,          // the full name, parts joined by "."
  ZFORMS_FIELD_LABEL = 1,         // "/TU", what the field is called for users
  ZFORMS_FIELD_VALUE = 2,         // the value of number n, from 0
  ZFORMS_FIELD_DEFAULT = 3,       // the default value of number n
  ZFORMS_FIELD_OPTION_VALUE = 4,  // what the field holds when option n is chosen
  ZFORMS_FIELD_OPTION_TEXT = 5,   // what viewers show for it; empty when that is the value
  ZFORMS_FIELD_STATE = 6          // the state of number n
} zforms_field_part;

// The fields in the order of the form's tree, those that only pages show at the end. An index is valid until the form
// is opened again or flattened.
ZFORMS_API zforms_status zforms_field_count(zforms_form* form, size_t* count);
// The first field of that full name.
ZFORMS_API zforms_status zforms_find_field(zforms_form* form, const char* name, size_t* index);
// Describes the field of that index. Its texts are read with zforms_field_text, its places with zforms_get_widget.
ZFORMS_API zforms_status zforms_get_field(zforms_form* form, size_t index, zforms_field* field);
// A text of the field of that index; `n` is ignored for a name and a label. ZFORMS_ERROR_NOT_FOUND when the field has
// no text of that number.
ZFORMS_API zforms_status zforms_field_text(zforms_form* form, size_t index, zforms_field_part part, size_t n,
                                           char* buffer, size_t size, size_t* length);
// The place of number n, from 0, where a page shows the field of that index.
ZFORMS_API zforms_status zforms_get_widget(zforms_form* form, size_t index, size_t n, zforms_widget* widget);

// The first value of the field of that full name; empty without a value.
ZFORMS_API zforms_status zforms_get_value(zforms_form* form, const char* name, char* buffer, size_t size,
                                          size_t* length);
// Set all fields of that full name. A choice takes its value or the text that viewers show for it; a check box "yes",
// "no" and the like too. Several values are for a list box. ZFORMS_ERROR_DATA when a value is not taken: the field then
// keeps what it holds. ZFORMS_ERROR_NOT_FOUND when there is no such field.
ZFORMS_API zforms_status zforms_set_value(zforms_form* form, const char* name, const char* value);
ZFORMS_API zforms_status zforms_set_values(zforms_form* form, const char* name, const char* const* values,
                                           size_t count);

// Fill from XFDF, FDF, one JSON object, or CSV with one row below the names. The first characters of the data say
// which, else the ending of `name`, that of the data's file, which may be null. Each value that is not taken is a
// warning; the others are written.
ZFORMS_API zforms_status zforms_fill_file(zforms_form* form, const char* path);
ZFORMS_API zforms_status zforms_fill_bytes(zforms_form* form, const void* data, size_t size, const char* name);

// Draws all fields, so that every viewer shows their values without drawing them itself. ZFORMS_ERROR_FORM when the
// document forbids it, or a field could not be drawn completely; the others are drawn then.
ZFORMS_API zforms_status zforms_draw(zforms_form* form);

// Makes the fields of these full names, and those below them, part of the pages; all fields when `count` is 0. The
// fields are gone then, and indexes of others change. ZFORMS_ERROR_FORM when nothing was flattened; a signed form needs
// ZFORMS_FORCE.
ZFORMS_API zforms_status zforms_flatten(zforms_form* form, const char* const* names, size_t count);

typedef enum zforms_save_mode {
  ZFORMS_UPDATE = 0,   // what changed is appended to the bytes read; a recovered document is written as new
  ZFORMS_NEW_FILE = 1  // all objects in use are written; signatures are no longer valid
} zforms_save_mode;

// Save to a file, or to bytes. What was saved is then the base of the next save. The saved bytes are kept until a call
// has a buffer for all of them, or another call changes the form; no zero byte is written behind them.
ZFORMS_API zforms_status zforms_save_file(zforms_form* form, const char* path, zforms_save_mode mode);
ZFORMS_API zforms_status zforms_save_bytes(zforms_form* form, zforms_save_mode mode, void* buffer, size_t size,
                                           size_t* length);

typedef enum zforms_format {
  ZFORMS_XFDF = 0,
  ZFORMS_FDF = 1,
  ZFORMS_JSON = 2,
  ZFORMS_JSON_LINES = 3,
  ZFORMS_CSV = 4
} zforms_format;

// The values of the fields. `all` also takes those that the form marks as not to be exported.
ZFORMS_API zforms_status zforms_export(zforms_form* form, zforms_format format, int all, char* buffer, size_t size,
                                       size_t* length);

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-use-using, readability-identifier-naming, modernize-redundant-void-arg)
